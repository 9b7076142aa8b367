// Conversions between glTF's transforms and this host's: quaternions and axis-angle rotations, and a
// matrix split into translation, rotation and scale.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathQuat.h>
#include <Imath/ImathVec.h>

#include <array>

namespace VexilHost {
namespace Gltf {

/// A rotation as the `rotate` operation of an `xform` takes it: the angle in degrees, then the axis
/// (unit length; (0, 0, 1) for no rotation). `q` is a glTF quaternion (x, y, z, w), made unit first.
std::array<double, 4> axisAngleOfQuaternion(const std::array<double, 4>& q);

/// A matrix (row vectors, translation in the last row) as glTF's translation, rotation (x, y, z, w)
/// and scale, which rebuild it as scale, then rotate, then translate.
struct Trs {
    Imath::V3d translation{0.0, 0.0, 0.0};
    std::array<double, 4> rotation{0.0, 0.0, 0.0, 1.0};
    Imath::V3d scale{1.0, 1.0, 1.0};
    /// The largest cosine between two of the matrix's axes: zero without shear, which glTF's
    /// translation, rotation and scale cannot hold.
    double shear = 0.0;
};

/// Splits `m` into translation, rotation and scale. A mirroring matrix gets a negative x scale; the
/// axes are made perpendicular first when the matrix shears (the shear is lost, and reported in
/// `shear`). An axis of zero length gives a scale of zero on it and no rotation about the others.
Trs decompose(const Imath::M44d& m);

/// The matrix of glTF's translation, rotation (x, y, z, w) and scale, in this host's convention.
Imath::M44d composeTrs(const Imath::V3d& translation, const std::array<double, 4>& rotation,
                       const Imath::V3d& scale);

} // namespace Gltf
} // namespace VexilHost
