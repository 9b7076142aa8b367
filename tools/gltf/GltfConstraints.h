// Constraints that travel in glTF nodes' extras, and the ops that install and resolve them.
#pragma once

#include "host/scene/SceneTypes.h"

#include <tiny_gltf.h>

#include <string>
#include <vector>

namespace VexilHost {
namespace Gltf {

/// The key of a node's extras that holds its constraints, read on import: an array of constraint
/// groups in the scene file's attribute encoding, in the order they apply.
constexpr const char* kConstraintsKey = "vexilConstraints";

/// The constraints of one location.
struct LocationConstraints {
    std::string path;
    std::vector<Qn::GroupAttribute> groups;
};

/// The constraint groups in the extras of node `index` (none when it has no constraints key).
/// Throws GltfFormatError naming the node and the place inside its extras for anything that is not
/// an array of groups in the attribute encoding.
std::vector<Qn::GroupAttribute> nodeConstraints(const tinygltf::Model& model, int index);

/// The op chain that installs `constraints` the way a ConstraintSetup op written in a scene file
/// would (each group added to its location's `xform`, each location listed) and then resolves them:
/// ConstraintSetup, then ConstraintResolve; empty without constraints. Locations are listed so that
/// every constrained location comes after the constrained locations its targets are at or below and
/// after its constrained ancestors, otherwise in the order given; a cycle keeps the order given, and
/// the resolver reports it.
std::vector<OpDescription> constraintOps(const std::vector<LocationConstraints>& constraints);

} // namespace Gltf
} // namespace VexilHost
