// Shared helpers of the scene-file tests: the attribute host is loaded once for the whole run.
#pragma once

#include "host/scene/SceneReader.h"

#include <string>

namespace VexilHost::SceneTest {

/// Reads `text` as a scene file named "test.json".
SceneFile read(const std::string& text, const SceneReadOptions& options = {});

/// The message of the SceneFileError that reading `text` raises, or "no error".
std::string readError(const std::string& text, const SceneReadOptions& options = {});

} // namespace VexilHost::SceneTest
