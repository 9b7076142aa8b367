// The mathematics of the Scale and Reflection (mirror) constraints: free functions over Imath
// matrices and vectors (row vectors, translation in the last row), with no host types.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <cstdint>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

// ---- Scale ----

/// The world transform `base` with each of its first three rows (the images of the local x, y and z
/// axes) multiplied by (length of the same row of `target`) / (its own length); translation row and
/// last column kept. No guard: a zero-length base row gives infinite or NaN entries.
Imath::M44d scaleMatchedTransform(const Imath::M44d& base, const Imath::M44d& target);

/// The Scale result X = scaleMatchedTransform(base, target) · base⁻¹, so that X · base has the row
/// lengths of `target`. Throws std::invalid_argument "Cannot invert singular matrix." for a singular base.
Imath::M44d scaleConstraintMatrix(const Imath::M44d& base, const Imath::M44d& target);

// ---- Reflection ----

/// An orthonormal frame on the plane through three points, in the points' space: `e1` along p1 − p0,
/// `normal` = e1 × (p2 − p0) normalised, `inPlane` = normal × e1 normalised, origin p0. Coincident or
/// collinear points leave the affected axes zero (no error).
struct PlaneFrame {
    Imath::V3d origin;
    Imath::V3d e1;
    Imath::V3d normal;
    Imath::V3d inPlane;
};

/// The frame of the plane through `p0`, `p1`, `p2` (see PlaneFrame).
PlaneFrame planeFrame(const Imath::V3d& p0, const Imath::V3d& p1, const Imath::V3d& p2);

/// F: plane space to the points' space (rows e1, normal, inPlane; translation row origin).
Imath::M44d planeToSpace(const PlaneFrame& frame);

/// W: the points' space to plane space, built as the inverse of an orthonormal F (transposed axes,
/// translation −origin expressed on the axes); for a degenerate frame it is that formula, not an inverse.
Imath::M44d spaceToPlane(const PlaneFrame& frame);

/// The mirror across the plane through `p0`, `p1`, `p2` in those points' space: W · S · F with
/// S = diag(1, −1, 1, 1) flipping the coordinate along the normal.
Imath::M44d localMirror(const Imath::V3d& p0, const Imath::V3d& p1, const Imath::V3d& p2);

/// The local mirror of a target carried to world space by conjugation with the target's world
/// transform: target⁻¹ · mirror · target. For a target with non-uniform scale or shear this is an
/// oblique mirror. Throws std::invalid_argument "Cannot invert singular matrix." for a singular target.
Imath::M44d worldMirror(const Imath::M44d& localMirrorMatrix, const Imath::M44d& target);

/// The Reflection result X for the base world transform `base`, the target world transform `target`
/// and three plane points in the target's local space: the base's new world transform X · base equals
/// base · worldMirror. Throws std::invalid_argument "Cannot invert singular matrix." when `target` or
/// `base` is singular.
Imath::M44d reflectionConstraintMatrix(const Imath::M44d& base, const Imath::M44d& target,
                                       const Imath::V3d& p0, const Imath::V3d& p1, const Imath::V3d& p2);

/// The first three control points of a patch's flat position values with `tupleSize` values per point:
/// with 4 values they are homogeneous and divided by their weight, with 3 they are taken as they are,
/// any other layout gives none. Fewer than three points are returned when fewer are stored. Returns
/// false (with the points gathered before it) when a weight of those points is exactly zero.
bool controlPlanePoints(const std::vector<float>& values, int64_t tupleSize, std::vector<Imath::V3d>& points);

} // namespace Private
} // namespace Vexil3Constraints
