// The errors of reading a scene file, shared by the readers of every input format.
#pragma once

#include <cstdint>
#include <stdexcept>

namespace VexilHost {

/// An unreadable scene file. `what()` is "<file>: <where>: <what is wrong>", where <where> is
/// "line L, column C" for malformed JSON, and "line L: <attribute path>" for bad content.
class SceneFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// An input larger than the size limit it was read with.
class InputTooLargeError : public SceneFileError {
public:
    using SceneFileError::SceneFileError;
};

/// The input size limit used when none is given: 1 GiB.
constexpr std::uint64_t kDefaultMaxInputBytes = std::uint64_t(1) << 30;

} // namespace VexilHost
