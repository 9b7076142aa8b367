// World transforms of a cooked scene, following the host's transform model.
#pragma once

#include "host/scene/SceneTypes.h"

#include <vector>

namespace VexilHost {

/// Sets attribute "world" on `root` and every location below it: its world transform as a double
/// attribute of tuple size 16 (row-major, row vectors), one sample per world-transform sample time.
/// `root` is "/root" unless `ancestorXforms` holds the `xform` attributes of its ancestors, "/root"
/// first (an invalid attribute for an ancestor without one).
void addWorldAttributes(SceneLocation& root, const std::vector<Qn::Attribute>& ancestorXforms = {});

} // namespace VexilHost
