// Transform mathematics of the Point, Aim and Orient resolvers: Imath in, Imath out, no host types.
// Matrices are row-vector (translation in row 3); a result X moves a base world transform B to X·B.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <optional>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

// ---- Point ----

/// The translation (identity matrix with the offset in row 3) that moves the point `baseOrigin`
/// (base local space) onto `targetPoint` (world space), measured in the base's local frame of the
/// world transform `base` (a singular `base` counts as identity); a cleared flag zeroes that axis.
Imath::M44d pointConstraintMatrix(const Imath::M44d& base, const Imath::V3d& baseOrigin,
                                  const Imath::V3d& targetPoint, bool followX, bool followY, bool followZ);

// ---- Aim ----

/// The side vector used when an aim direction is parallel to the up vector `up`: (0,0,up.y) if
/// |up.y| > 1e-7, else (0,up.x,0) if |up.x| > 1e-7, else (0,0,up.y) if |up.z| > 1e-7 (kept as it is:
/// this third branch gives a zero or tiny vector), else (0,0,0). Not normalised.
Imath::V3d aimSideFallback(const Imath::V3d& up);

/// Throws std::runtime_error "Aim Axis or Up Axis is zero." when either axis is exactly (0,0,0).
void checkAimAndUpAxes(const Imath::V3d& aimAxis, const Imath::V3d& upAxis);

/// Throws std::runtime_error "Target Up Axis is zero." when `targetUpAxis` is exactly (0,0,0).
void checkTargetUpAxis(const Imath::V3d& targetUpAxis);

/// The matrix X that turns the base (world transform `base`) about its own position so that its local
/// `aimAxis` points at the world point `targetPoint` and its local `upAxis` turns towards the world
/// direction `targetUpAxis`; scale and position of `base` are kept. Throws std::runtime_error for a
/// zero axis (the two checks above) or "Base and target are at same location, nowhere to aim." when
/// the target point is exactly the base position.
Imath::M44d aimConstraintMatrix(const Imath::M44d& base, const Imath::V3d& targetPoint,
                                const Imath::V3d& aimAxis, const Imath::V3d& upAxis,
                                const Imath::V3d& targetUpAxis);

// ---- Orient ----

/// A transform's upper 3x3 split as S·H·R (row vectors): scale, shear (xy, xz, yz) and the XYZ Euler
/// angles in radians of the rotation.
struct ScaleShearRotation {
    Imath::V3d scale{1.0, 1.0, 1.0};
    Imath::V3d shear{0.0, 0.0, 0.0};
    Imath::V3d rotation{0.0, 0.0, 0.0};
};

/// Splits `m` into scale, shear and XYZ Euler angles; nullopt when a scale is zero (the case in which
/// the decomposition would throw "Cannot remove zero scaling from matrix.").
std::optional<ScaleShearRotation> decomposeScaleShearRotation(const Imath::M44d& m);

/// The rotation frame of a face from the first usable triple of its points:
/// rows m, e1, n where e1 and e2 are the unit edges from the first point, n = e1 × e2 and m = e1 × n,
/// all normalised. nullopt when the face has fewer than 3 points or no triple i < j < k has two
/// non-zero edges with a non-zero cross product.
std::optional<Imath::M44d> faceFrameMatrix(const std::vector<Imath::V3d>& points);

/// Each angle (radians) wrapped into (-pi, pi].
Imath::V3d wrapAngles(const Imath::V3d& angles);

/// XYZ Euler angles (radians) wrapped into (-pi, pi], replaced by the equivalent triple
/// (x + pi, pi - y, z + pi), also wrapped, when that one is strictly shorter as a 3-vector.
Imath::V3d normalizeEulerAngles(const Imath::V3d& angles);

/// The per-axis mix of two XYZ Euler triples: `target`'s angle where the flag is set, `base`'s elsewhere.
Imath::V3d mixEulerAngles(const Imath::V3d& base, const Imath::V3d& target, bool useX, bool useY, bool useZ);

/// The matrix X that gives the base (world transform `base`, decomposed as `baseParts`) the rotation of
/// the XYZ Euler angles `angles` (radians), keeping its scale, shear and translation: the desired
/// S·H·R·T times the inverse of `base`. Throws std::invalid_argument "Cannot invert singular
/// matrix." for a singular `base`.
Imath::M44d orientConstraintMatrix(const Imath::M44d& base, const ScaleShearRotation& baseParts,
                                   const Imath::V3d& angles);

} // namespace Private
} // namespace Vexil3Constraints
