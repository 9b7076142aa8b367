// Writing scenes in the scene-file form, deterministically: attributes and children in their order,
// numbers in their shortest round-trip form.
#pragma once

#include "host/scene/AttributeEncoder.h"
#include "host/scene/SceneTypes.h"

#include <ostream>

namespace VexilHost {

/// Writes `{"scene": {...}}` for the tree below `root` (whose own name is not written), each
/// location as {"attrs": {...}, "children": {...}}. Throws SceneWriteError for an attribute the
/// form cannot express, naming the location path (the root counts as `rootPath`).
void writeScene(const SceneLocation& root, std::ostream& out, const std::string& rootPath = "/root");

/// Writes a whole scene file: "time", "variables" (when there are any), "scene" and "ops".
void writeSceneFile(const SceneFile& file, std::ostream& out);

} // namespace VexilHost
