#include "constraints/resolvers/MirrorAndScaleMath.h"

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

Imath::V3d row(const Imath::M44d& m, int i) {
    return Imath::V3d(m[i][0], m[i][1], m[i][2]);
}

Imath::V3d normalised(Imath::V3d v) {
    // Imath's normalize leaves a zero vector zero, which the degenerate cases rely on.
    v.normalize();
    return v;
}

} // namespace

Imath::M44d scaleMatchedTransform(const Imath::M44d& base, const Imath::M44d& target) {
    Imath::M44d desired = base;
    for (int i = 0; i < 3; ++i) {
        // Deliberately unguarded: a zero base axis yields inf or NaN; the inverse of such a base
        // fails afterwards anyway.
        const double ratio = row(target, i).length() / row(base, i).length();
        for (int j = 0; j < 3; ++j) {
            desired[i][j] *= ratio;
        }
    }
    return desired;
}

Imath::M44d scaleConstraintMatrix(const Imath::M44d& base, const Imath::M44d& target) {
    return scaleMatchedTransform(base, target) * base.inverse(true);
}

PlaneFrame planeFrame(const Imath::V3d& p0, const Imath::V3d& p1, const Imath::V3d& p2) {
    PlaneFrame frame;
    frame.origin = p0;
    frame.e1 = normalised(p1 - p0);
    const Imath::V3d e2 = normalised(p2 - p0);
    frame.normal = normalised(frame.e1 % e2);
    frame.inPlane = normalised(frame.normal % frame.e1);
    return frame;
}

Imath::M44d planeToSpace(const PlaneFrame& f) {
    return Imath::M44d(f.e1.x, f.e1.y, f.e1.z, 0.0,             //
                       f.normal.x, f.normal.y, f.normal.z, 0.0, //
                       f.inPlane.x, f.inPlane.y, f.inPlane.z, 0.0, f.origin.x, f.origin.y, f.origin.z, 1.0);
}

Imath::M44d spaceToPlane(const PlaneFrame& f) {
    return Imath::M44d(f.e1.x, f.normal.x, f.inPlane.x, 0.0, //
                       f.e1.y, f.normal.y, f.inPlane.y, 0.0, //
                       f.e1.z, f.normal.z, f.inPlane.z, 0.0, //
                       -(f.origin ^ f.e1), -(f.origin ^ f.normal), -(f.origin ^ f.inPlane), 1.0);
}

Imath::M44d localMirror(const Imath::V3d& p0, const Imath::V3d& p1, const Imath::V3d& p2) {
    const PlaneFrame frame = planeFrame(p0, p1, p2);
    Imath::M44d flip;
    flip[1][1] = -1.0;
    return spaceToPlane(frame) * flip * planeToSpace(frame);
}

Imath::M44d worldMirror(const Imath::M44d& localMirrorMatrix, const Imath::M44d& target) {
    return target.inverse(true) * localMirrorMatrix * target;
}

Imath::M44d reflectionConstraintMatrix(const Imath::M44d& base, const Imath::M44d& target,
                                       const Imath::V3d& p0, const Imath::V3d& p1, const Imath::V3d& p2) {
    const Imath::M44d desired = base * worldMirror(localMirror(p0, p1, p2), target);
    return desired * base.inverse(true);
}

bool controlPlanePoints(const std::vector<float>& values, int64_t tupleSize,
                        std::vector<Imath::V3d>& points) {
    points.clear();
    if (tupleSize != 3 && tupleSize != 4) {
        return true;
    }
    const size_t stride = static_cast<size_t>(tupleSize);
    for (size_t start = 0; points.size() < 3 && start + stride <= values.size(); start += stride) {
        Imath::V3d p(values[start], values[start + 1], values[start + 2]);
        if (stride == 4) {
            const double w = values[start + 3];
            if (w == 0.0) {
                return false;
            }
            p /= w;
        }
        points.push_back(p);
    }
    return true;
}

} // namespace Private
} // namespace Vexil3Constraints
