// Resident memory of this process, and its peak since the last reset, as the kernel reports them.
#pragma once

#include <cstdint>

namespace VexilBench {

/// Resident memory now, in bytes (0 when /proc cannot be read).
int64_t residentBytes();

/// The peak of resident memory since the last resetPeak() (or the start), in bytes.
int64_t peakResidentBytes();

/// Gives freed heap memory back to the system and restarts the peak at the current resident size;
/// false when the kernel refuses (then the peak keeps counting from the start of the process).
bool resetPeak();

} // namespace VexilBench
