// Reading scene files: JSON text into the in-memory SceneFile (time slice, variables, input scene
// and op chain).
#pragma once

#include "host/scene/SceneFileError.h"
#include "host/scene/SceneTypes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace VexilHost {

/// Choices of the reader.
struct SceneReadOptions {
    /// When set, every op's "type" must be one of these (a file naming another op is unreadable).
    std::optional<std::vector<std::string>> knownOpTypes;
    /// A file larger than this is refused before it is parsed (see readInputFile).
    std::uint64_t maxInputBytes = kDefaultMaxInputBytes;
};

/// Reads the scene file at `path` ("-": standard input); throws SceneFileError when it cannot be
/// opened or read, and InputTooLargeError when it holds more than `options.maxInputBytes`.
SceneFile readSceneFile(const std::string& path, const SceneReadOptions& options = {});

/// Reads scene-file text; `nameForMessages` stands for the file in error messages. Throws
/// SceneFileError, also when memory runs out while the text is parsed.
SceneFile readSceneText(const std::string& text, const std::string& nameForMessages,
                        const SceneReadOptions& options = {});

} // namespace VexilHost
