// A walk over a scene tree that keeps the flattened transform operations of every ancestor at hand,
// so that world transforms can be computed at any time for each location visited.
#pragma once

#include "host/scene/SceneTypes.h"
#include "host/xform/XformModel.h"

#include <functional>
#include <string>
#include <vector>

namespace VexilHost {

/// The transform operations of "/root" and of every location down to the visited one, "/root" first.
using TransformChain = std::vector<const XformModel::Operations*>;

/// Calls `visit` for `root` (whose path is "/root") and every location below it, parents before
/// children, children in order. Depth is not limited by the call stack.
void walkScene(const SceneLocation& root,
               const std::function<void(const std::string& path, const SceneLocation& location,
                                        const TransformChain& chain)>& visit);

/// The world transform samples of a location: its world-transform sample times and the matrix at
/// each (row vectors).
struct WorldSamples {
    std::vector<float> times;
    std::vector<Imath::M44d> matrices;
};

/// The world transform samples of the last location of `chain`.
WorldSamples worldSamples(const TransformChain& chain);

/// The world transform samples of the location at `path` in the tree rooted at `root` ("/root");
/// false when there is no such location.
bool worldSamplesOf(const SceneLocation& root, const std::string& path, WorldSamples& out);

} // namespace VexilHost
