// World transforms of a cooked scene, following the host's transform model.
#pragma once

#include "host/scene/SceneTypes.h"

namespace VexilHost {

/// Sets attribute "world" on every location of the tree below (and including) `root`, whose path
/// is `rootPath`: its world transform as a double attribute of tuple size 16, one sample per
/// world-transform sample time. `parentWorld` carries the transforms of the ancestors of `root`.
void addWorldAttributes(SceneLocation& root);

} // namespace VexilHost
