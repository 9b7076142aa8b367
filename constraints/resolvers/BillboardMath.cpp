#include "constraints/resolvers/BillboardMath.h"

#include <Imath/ImathQuat.h>

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

Imath::V3d normalised(Imath::V3d v) {
    // Imath's normalize leaves a zero vector zero, which the degenerate cases rely on.
    v.normalize();
    return v;
}

} // namespace

Imath::V3d transformAffinePoint(const Imath::V3d& p, const Imath::M44d& m) {
    return Imath::V3d(p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0] + m[3][0],
                      p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1] + m[3][1],
                      p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2]);
}

Imath::M44d billboardRotation(const Imath::V3d& aimAxis, const Imath::V3d& rotateAxis,
                              const Imath::V3d& targetLocal) {
    const Imath::V3d zero(0.0, 0.0, 0.0);
    if (aimAxis == zero || rotateAxis == zero) {
        throw std::runtime_error("Base aim or rotate axis is zero.");
    }
    const Imath::V3d r = normalised(rotateAxis);
    // The aim axis is not normalised before the projection; only its direction matters afterwards.
    const Imath::V3d aimFlat = normalised(aimAxis - (aimAxis ^ r) * r);
    const Imath::V3d targetFlat = normalised(targetLocal - (targetLocal ^ r) * r);

    Imath::Quatd turn;
    turn.setRotation(aimFlat, targetFlat);
    // When the two directions are exactly opposite, Imath turns half-way round an axis of its own
    // choosing, which need not be the rotate axis; a half turn about the rotate axis is the same arc
    // length and keeps that axis where it is.
    if (aimFlat != zero && targetFlat != zero && (aimFlat ^ targetFlat) < 0.0) {
        const Imath::V3d halfway = normalised(aimFlat + targetFlat);
        if ((halfway ^ halfway) == 0.0) {
            turn = Imath::Quatd(0.0, r);
        }
    }
    return turn.toMatrix44();
}

Imath::M44d billboardConstraintMatrix(const Imath::M44d& base, const Imath::V3d& aimAxis,
                                      const Imath::V3d& rotateAxis, const Imath::V3d& targetWorld) {
    Imath::V3d targetLocal;
    // inverse() without exceptions gives the identity for a singular base.
    base.inverse().multVecMatrix(targetWorld, targetLocal);
    // The new world transform is Rq · base, so the matrix appended to the base is Rq itself.
    return billboardRotation(aimAxis, rotateAxis, targetLocal);
}

} // namespace Private
} // namespace Vexil3Constraints
