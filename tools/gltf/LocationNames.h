// Location names and paths for a glTF shot's nodes: names made safe and unique among siblings, and
// the constraint target paths they are found by.
#pragma once

#include <string>
#include <vector>

namespace VexilHost {
namespace Gltf {

/// The location names of sibling nodes, in order: each node's name with every "/" and NUL made "_";
/// "node<index>" for a name that is then empty, "." or ".."; and a name that an earlier sibling
/// already has gets "_2", "_3", ... (the first free one). `nodes` are the siblings' node indices.
std::vector<std::string> siblingLocationNames(const std::vector<std::string>& names,
                                              const std::vector<int>& nodes);

} // namespace Gltf
} // namespace VexilHost
