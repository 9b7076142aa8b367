#include "bench/support/MemoryProbe.h"

#include <malloc.h>

#include <fstream>
#include <string>

namespace VexilBench {

namespace {

/// A "Name:   123 kB" line of /proc/self/status, in bytes.
int64_t statusBytes(const std::string& field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, field.size() + 1, field + ":") == 0) {
            return std::stoll(line.substr(field.size() + 1)) * 1024;
        }
    }
    return 0;
}

} // namespace

int64_t residentBytes() {
    return statusBytes("VmRSS");
}

int64_t peakResidentBytes() {
    return statusBytes("VmHWM");
}

bool resetPeak() {
    malloc_trim(0);
    // Writing 5 to clear_refs resets the peak resident size to the current one.
    std::ofstream clear("/proc/self/clear_refs");
    clear << "5";
    clear.flush();
    return static_cast<bool>(clear);
}

} // namespace VexilBench
