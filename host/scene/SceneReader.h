// Reading scene files: JSON text into the in-memory SceneFile (time slice, variables, input scene
// and op chain).
#pragma once

#include "host/scene/SceneTypes.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace VexilHost {

/// An unreadable scene file. `what()` is "<file>: <where>: <what is wrong>", where <where> is
/// "line L, column C" for malformed JSON, and "line L: <attribute path>" for bad content.
class SceneFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Choices of the reader.
struct SceneReadOptions {
    /// When set, every op's "type" must be one of these (a file naming another op is unreadable).
    std::optional<std::vector<std::string>> knownOpTypes;
};

/// Reads the scene file at `path`; throws SceneFileError when it cannot be opened or read.
SceneFile readSceneFile(const std::string& path, const SceneReadOptions& options = {});

/// Reads scene-file text; `nameForMessages` stands for the file in error messages. Throws
/// SceneFileError.
SceneFile readSceneText(const std::string& text, const std::string& nameForMessages,
                        const SceneReadOptions& options = {});

} // namespace VexilHost
