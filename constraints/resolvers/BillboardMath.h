// The mathematics of the Billboard constraint: free functions over Imath matrices and vectors (row
// vectors, translation in the last row), with no host types.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

namespace Vexil3Constraints {
namespace Private {

/// `point` transformed by the affine part of `m` (rows 0 to 2 and the translation row), without the
/// division by the homogeneous w that multVecMatrix does.
Imath::V3d transformAffinePoint(const Imath::V3d& point, const Imath::M44d& m);

/// The rotation (a pure 3x3 rotation held in an M44d) that turns the base about `rotateAxis` so that
/// `aimAxis` faces `targetLocal` as nearly as a turn about that axis allows; all three in the base's
/// local space, seen from its local origin. The aim axis need not be normalised. A target on the
/// rotate axis, or an aim axis along it, gives the identity. Throws std::runtime_error "Base aim or
/// rotate axis is zero." when either axis is exactly (0, 0, 0).
Imath::M44d billboardRotation(const Imath::V3d& aimAxis, const Imath::V3d& rotateAxis,
                              const Imath::V3d& targetLocal);

/// The Billboard result for the base world transform `base` and the world target point `targetWorld`:
/// X such that the base's new world transform X · base equals Rq · base, Rq being billboardRotation
/// of the target seen in the base's local space (a singular base counts as the identity there).
Imath::M44d billboardConstraintMatrix(const Imath::M44d& base, const Imath::V3d& aimAxis,
                                      const Imath::V3d& rotateAxis, const Imath::V3d& targetWorld);

} // namespace Private
} // namespace Vexil3Constraints
