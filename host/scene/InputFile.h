// Reading a whole input file (or standard input) into memory, within a size limit, so that an endless
// or oversized input ends with one clear message instead of exhausting memory.
#pragma once

#include "host/scene/SceneFileError.h"

#include <cstdint>
#include <string>

namespace VexilHost {

/// The name of an input path in messages: "standard input" for "-", else the path itself.
std::string inputName(const std::string& path);

/// The bytes of the file at `path` ("-": standard input), which may be a pipe or a device. Throws
/// SceneFileError naming the input when it cannot be opened or read ("<name>: cannot open: <why>",
/// "<name>: cannot read: it is a directory", "<name>: cannot read: out of memory after <n> bytes"),
/// and InputTooLargeError ("<name>: cannot read: larger than the input size limit of <size>") as soon
/// as more than `maxBytes` have been read.
std::string readInputFile(const std::string& path, std::uint64_t maxBytes = kDefaultMaxInputBytes);

/// A byte count as people write it: "1 GiB", "512 MiB", "64 KiB" when it is a whole number of those,
/// else "<n> bytes".
std::string byteSizeText(std::uint64_t bytes);

} // namespace VexilHost
