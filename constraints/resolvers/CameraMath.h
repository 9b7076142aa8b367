// Camera mathematics of the CameraScreenWindow, Clipping, Dolly, FOV and ScreenCoordinate resolvers:
// Imath in, Imath out, no host types. Matrices are row-vector (translation in row 3); a result X
// moves a base world transform B to X·B. Angles are in degrees where a name says so, else radians.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <array>
#include <optional>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// A camera's screen window: the image extent at unit distance in units of tan(fov / 2), so that a
/// camera-space point (x, y, -d) appears at screen (x / (d·k), y / (d·k)) with k = tan(fov / 2).
struct ScreenWindow {
    double left = -1.0;
    double right = 1.0;
    double bottom = -1.0;
    double top = 1.0;
};

/// The eight corners of `box` in the order (lo.x, lo.y, lo.z), (lo.x, lo.y, hi.z), (lo.x, hi.y, lo.z),
/// (lo.x, hi.y, hi.z), (hi.x, lo.y, lo.z), ... (hi.x, hi.y, hi.z): z varies fastest, x slowest.
std::array<Imath::V3d, 8> boxCorners(const Imath::Box3d& box);

/// `point` carried by `matrix` as a point, with the projective divide (Imath multVecMatrix).
Imath::V3d transformPoint(const Imath::M44d& matrix, const Imath::V3d& point);

/// The eight corners of `box` (local space) carried to world space by `matrix` as points, in the
/// order of boxCorners.
std::array<Imath::V3d, 8> worldBoxCorners(const Imath::Box3d& box, const Imath::M44d& matrix);

// ---- CameraScreenWindow ----

/// The world matrix of a unit card (centred at its origin, in its local XY plane, or XZ when `xzPlane`)
/// that exactly covers the screen window of the camera whose world transform is `camera`, at
/// `distance` in front of it; the camera's scale is dropped, its rotation and shear kept. `fovDegrees`
/// is the camera's field of view. Throws std::domain_error "Cannot remove zero scaling from matrix."
/// for a camera with a zero scale.
Imath::M44d screenWindowCardWorld(const Imath::M44d& camera, float distance, const ScreenWindow& window,
                                  double fovDegrees, bool xzPlane);

/// The matrix X (= card world · base⁻¹) that makes the base with world transform `base` that card.
/// Throws "Cannot remove zero scaling from matrix." for a zero-scale base (checked first) or camera,
/// and std::invalid_argument "Cannot invert singular matrix." for a singular base.
Imath::M44d cameraScreenWindowMatrix(const Imath::M44d& base, const Imath::M44d& camera, float distance,
                                     const ScreenWindow& window, double fovDegrees, bool xzPlane);

// ---- Clipping ----

/// Where a camera looks from and along: world position and unit world view direction (local -Z).
struct ViewRay {
    Imath::V3d position;
    Imath::V3d direction;
};

/// The view ray of the camera with world transform `camera`: direction = local -Z carried by the
/// transpose of the inverse and normalised, position = translation row / camera[3][3]. Throws
/// std::invalid_argument "Cannot invert singular matrix." for a singular camera.
ViewRay clippingViewRay(const Imath::M44d& camera);

/// The signed distance of the world point `point` in front of the camera along its view direction.
double viewDepth(const ViewRay& ray, const Imath::V3d& point);

/// The smallest and largest of a series of depths; the first depth sets both.
class DepthRange {
public:
    /// Takes one more depth into the range.
    void add(double depth);
    bool empty() const { return m_empty; }
    /// The smallest depth so far (0 while empty).
    double min() const { return m_min; }
    /// The largest depth so far (0 while empty).
    double max() const { return m_max; }

private:
    bool m_empty = true;
    double m_min = 0.0;
    double m_max = 0.0;
};

/// Near and far clipping distances.
struct ClippingPlanes {
    double nearDistance = 0.0;
    double farDistance = 0.0;
};

/// The smallest near clipping distance allowed: near and far are raised to it.
constexpr double kMinimumClippingDistance = 1e-05;

/// Near = minDepth − padNear % of the range, far = maxDepth + padFar % of the range (range = maxDepth −
/// minDepth), each raised to kMinimumClippingDistance when at or below it.
ClippingPlanes clippingPlanes(double minDepth, double maxDepth, double padNearPercent, double padFarPercent);

// ---- Dolly (and the camera frame shared with FOV) ----

/// A camera's world frame: unit view (local -Z), up (+Y) and right (+X) directions, each carried by
/// the transpose of the camera's inverse and normalised, and its position (the translation row).
struct CameraFrame {
    Imath::V3d view;
    Imath::V3d up;
    Imath::V3d right;
    Imath::V3d position;
};

/// The frame of the camera with world transform `camera` and the given inverse of it.
CameraFrame cameraFrame(const Imath::M44d& camera, const Imath::M44d& cameraInverse);

/// The four half-angles of a frustum, radians, measured from the view direction.
struct FrustumHalfAngles {
    double left = 0.0;
    double right = 0.0;
    double bottom = 0.0;
    double top = 0.0;
};

/// The half-angles of the frustum of `window` at field of view `fovDegrees` narrowed by
/// `angleOffsetDegrees`. Throws std::runtime_error "Dolly constraint resolver: fov - angleOffset must
/// be greater than zero." unless fov − offset > 0, then "Dolly constraint resolver: Screen window must
/// include origin" unless left ≤ 0, right ≥ 0, bottom ≤ 0 and top ≥ 0.
FrustumHalfAngles dollyHalfAngles(const ScreenWindow& window, double fovDegrees, double angleOffsetDegrees);

/// The camera position moved back along the view direction so that no point lies behind it: position −
/// view · |min(0, every view depth)|.
Imath::V3d pullBack(const CameraFrame& frame, const std::vector<Imath::V3d>& points);

/// The signed move along the view direction, from `pulledBack`, after which the limiting point lies on
/// its frustum side and every other inside (negative = backwards); 0 for no points.
double dollyBoxMove(const CameraFrame& frame, const Imath::V3d& pulledBack, const FrustumHalfAngles& angles,
                    const std::vector<Imath::V3d>& points);

/// A bounding sphere: world centre and radius.
struct Sphere {
    Imath::V3d centre;
    double radius = 0.0;
};

/// The sphere centred at the mean of `corners` whose radius reaches the farthest corner.
Sphere cornerSphere(const std::array<Imath::V3d, 8>& corners);

/// The inward unit normals of the frustum's side planes in the order right, left, bottom, top: the view
/// direction turned about up by π/2 − right and left − π/2, about right by π/2 − bottom and top − π/2.
std::array<Imath::V3d, 4> frustumSideNormals(const CameraFrame& frame, const FrustumHalfAngles& angles);

/// The camera position on the view line through `pulledBack` at which every sphere lies inside the
/// frustum and the limiting one touches a side; the world origin when there are no spheres.
Imath::V3d dollySpherePosition(const CameraFrame& frame, const Imath::V3d& pulledBack,
                               const std::array<Imath::V3d, 4>& sideNormals,
                               const std::vector<Sphere>& spheres);

/// The matrix X that moves the base with world transform `base` (not turned) so that its position
/// becomes `newPosition`: B · translate(newPosition − position) · B⁻¹, the inverse taken without raising
/// (identity for a singular base).
Imath::M44d dollyMatrix(const Imath::M44d& base, const Imath::V3d& newPosition);

// ---- FOV ----

/// The tangent of the half field of view (k = tan(fov / 2)) at which the world point `point` appears
/// inside `window` for the camera `frame`; 0 for a point on the view axis; nullopt when the point
/// is not in front of the camera (view depth ≤ 0). `window` must contain the origin strictly.
std::optional<double> fovTangentForPoint(const CameraFrame& frame, const ScreenWindow& window,
                                         const Imath::V3d& point);

/// The tangent of the half field of view at which `sphere` lies wholly inside the frustum of `window`
/// for the camera `frame`; nullopt when no field of view below 180 degrees holds it (it reaches the
/// camera's plane or surrounds the camera). `window` must contain the origin strictly.
std::optional<double> fovTangentForSphere(const CameraFrame& frame, const ScreenWindow& window,
                                          const Sphere& sphere);

/// The field of view in degrees whose half-angle tangent is `tangent`: 2·atan(tangent)·180/π.
double fovDegreesFromTangent(double tangent);

// ---- ScreenCoordinate ----

/// How a camera maps screen-window coordinates to its local space.
struct ScreenMapping {
    ScreenWindow window;
    /// Field of view, degrees (perspective only).
    double fovDegrees = 0.0;
    bool orthographic = false;
    /// Scale uniformly from the horizontal extent instead of per axis.
    bool keepAspectRatio = true;
};

/// Why a base cannot be placed in screen-window coordinates.
enum class ScreenMappingProblem { None, ZeroWindow, BadFov, NotInFront };

/// Checks the mapping for `screenPosition` (x, y in screen-window coordinates, z the negative distance):
/// a window of zero width or height, then (perspective) a fov outside (0, 180) degrees, then
/// (perspective) a position not in front of the camera (z ≥ 0).
ScreenMappingProblem checkScreenMapping(const ScreenMapping& mapping, const Imath::V3d& screenPosition);

/// The camera-local placement of a base authored at `screenPosition`: x = -1 .. 1 spans the window
/// from left to right and y = -1 .. 1 from bottom to top; z is the camera-local z. The matrix scales
/// (per axis: half width, half height, 1; else the half width on every axis), multiplied by d·tan(fov/2)
/// for a perspective camera (d = -z), then translates to the point that appears at that spot.
/// Requires checkScreenMapping to give None.
Imath::M44d screenPlacement(const ScreenMapping& mapping, const Imath::V3d& screenPosition);

/// The matrix X that places the base whose authored world transform is `base` (its translation read
/// as screen-window coordinates, its upper 3x3 kept as its own rotation and scale) in front of the
/// camera with world transform `camera`: (base without translation) · placement · camera · base⁻¹.
/// Throws std::invalid_argument "Cannot invert singular matrix." for a singular base.
Imath::M44d screenCoordinateMatrix(const Imath::M44d& base, const Imath::M44d& camera,
                                   const ScreenMapping& mapping);

} // namespace Private
} // namespace Vexil3Constraints
