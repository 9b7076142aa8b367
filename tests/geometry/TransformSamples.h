// Transform samples for tests that call the resolve code directly, without a cooked scene.
#pragma once

#include "constraints/resolve/ConstraintTypes.h"

namespace GeometryTests {

/// A translation by (x, y, z).
inline Imath::M44d translation(double x, double y, double z) {
    Imath::M44d m;
    m.setTranslation(Imath::V3d(x, y, z));
    return m;
}

/// One transform sample at time 0.
inline Vexil3Constraints::Private::XformSamples at0(const Imath::M44d& m) {
    return Vexil3Constraints::Private::XformSamples{{0.0f, m}};
}

} // namespace GeometryTests
