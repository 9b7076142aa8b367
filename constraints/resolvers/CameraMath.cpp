#include "constraints/resolvers/CameraMath.h"

#include <Imath/ImathMatrixAlgo.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kHalfPi = 1.5707963267948966;

double degreesToRadians(double degrees) {
    return degrees * kPi / 180.0;
}

// acos of a dot product of unit vectors; rounding can push it a hair past ±1, which must not turn
// an on-axis point into NaN.
double clampedAcos(double cosine) {
    return std::acos(std::max(-1.0, std::min(1.0, cosine)));
}

Imath::V3d translationRow(const Imath::M44d& m) {
    return Imath::V3d(m[3][0], m[3][1], m[3][2]);
}

} // namespace

std::array<Imath::V3d, 8> boxCorners(const Imath::Box3d& box) {
    const Imath::V3d& lo = box.min;
    const Imath::V3d& hi = box.max;
    return {Imath::V3d(lo.x, lo.y, lo.z), Imath::V3d(lo.x, lo.y, hi.z), Imath::V3d(lo.x, hi.y, lo.z),
            Imath::V3d(lo.x, hi.y, hi.z), Imath::V3d(hi.x, lo.y, lo.z), Imath::V3d(hi.x, lo.y, hi.z),
            Imath::V3d(hi.x, hi.y, lo.z), Imath::V3d(hi.x, hi.y, hi.z)};
}

Imath::V3d transformPoint(const Imath::M44d& matrix, const Imath::V3d& point) {
    Imath::V3d result;
    matrix.multVecMatrix(point, result);
    return result;
}

std::array<Imath::V3d, 8> worldBoxCorners(const Imath::Box3d& box, const Imath::M44d& matrix) {
    std::array<Imath::V3d, 8> corners = boxCorners(box);
    for (Imath::V3d& corner : corners) {
        corner = transformPoint(matrix, corner);
    }
    return corners;
}

// ---- CameraScreenWindow ----

Imath::M44d screenWindowCardWorld(const Imath::M44d& camera, float distance, const ScreenWindow& window,
                                  double fovDegrees, bool xzPlane) {
    // The camera's scale is dropped; its rotation and shear carry over to the card.
    Imath::M44d cameraCopy(camera);
    Imath::V3d scale;
    Imath::V3d shear;
    Imath::V3d rotation;
    Imath::extractAndRemoveScalingAndShear(cameraCopy, scale, shear, true);
    Imath::extractEulerXYZ(cameraCopy, rotation);

    // Each in-place operation multiplies on the left, so each acts in the frame the earlier ones set up.
    Imath::M44d world;
    world[3][0] = camera[3][0];
    world[3][1] = camera[3][1];
    world[3][2] = camera[3][2];
    world.rotate(rotation);
    world.shear(shear);
    world.translate(Imath::V3d(0.0, 0.0, -static_cast<double>(distance)));

    const double k = static_cast<double>(distance) * std::tan((fovDegrees * kPi / 180.0) * 0.5);
    const double sx = (window.right - window.left) * k;
    const double cx = (window.right + window.left) * 0.5 * k;
    const double sh = (window.top - window.bottom) * k;
    const double cy = (window.top + window.bottom) * 0.5;

    Imath::V3d offset;
    Imath::V3d size;
    if (xzPlane) {
        world.rotate(Imath::V3d(kHalfPi, 0.0, 0.0));
        offset = Imath::V3d(cx, 0.0, -cy * k);
        size = Imath::V3d(sx, 1.0, sh);
    } else {
        offset = Imath::V3d(cx, cy * k, 0.0);
        size = Imath::V3d(sx, sh, 1.0);
    }
    world.translate(offset);
    world.scale(size);
    return world;
}

Imath::M44d cameraScreenWindowMatrix(const Imath::M44d& base, const Imath::M44d& camera, float distance,
                                     const ScreenWindow& window, double fovDegrees, bool xzPlane) {
    // The base's decomposition is only a check: a base with a zero scale fails here, before the camera.
    Imath::M44d baseCopy(base);
    Imath::V3d scale;
    Imath::V3d shear;
    Imath::V3d rotation;
    Imath::extractAndRemoveScalingAndShear(baseCopy, scale, shear, true);
    Imath::extractEulerXYZ(baseCopy, rotation);

    const Imath::M44d world = screenWindowCardWorld(camera, distance, window, fovDegrees, xzPlane);
    return world * base.inverse(true);
}

// ---- Clipping ----

ViewRay clippingViewRay(const Imath::M44d& camera) {
    const Imath::M44d inverse = camera.inverse(true);
    ViewRay ray;
    ray.direction = Imath::V3d(-inverse[0][2], -inverse[1][2], -inverse[2][2]);
    ray.direction.normalize();
    ray.position = translationRow(camera) / camera[3][3];
    return ray;
}

double viewDepth(const ViewRay& ray, const Imath::V3d& point) {
    return (point - ray.position).dot(ray.direction);
}

void DepthRange::add(double depth) {
    if (m_empty) {
        m_min = depth;
        m_max = depth;
        m_empty = false;
        return;
    }
    if (depth < m_min) {
        m_min = depth;
    }
    if (depth > m_max) {
        m_max = depth;
    }
}

ClippingPlanes clippingPlanes(double minDepth, double maxDepth, double padNearPercent, double padFarPercent) {
    const double range = maxDepth - minDepth;
    ClippingPlanes planes;
    planes.nearDistance = minDepth - padNearPercent * range * 0.01;
    planes.farDistance = maxDepth + padFarPercent * range * 0.01;
    if (planes.nearDistance <= kMinimumClippingDistance) {
        planes.nearDistance = kMinimumClippingDistance;
    }
    if (planes.farDistance <= kMinimumClippingDistance) {
        planes.farDistance = kMinimumClippingDistance;
    }
    return planes;
}

// ---- Dolly ----

CameraFrame cameraFrame(const Imath::M44d& camera, const Imath::M44d& cameraInverse) {
    const Imath::M44d& inv = cameraInverse;
    CameraFrame frame;
    frame.view = Imath::V3d(-inv[0][2], -inv[1][2], -inv[2][2]);
    frame.up = Imath::V3d(inv[0][1], inv[1][1], inv[2][1]);
    frame.right = Imath::V3d(inv[0][0], inv[1][0], inv[2][0]);
    frame.view.normalize();
    frame.up.normalize();
    frame.right.normalize();
    frame.position = translationRow(camera);
    return frame;
}

FrustumHalfAngles dollyHalfAngles(const ScreenWindow& window, double fovDegrees, double angleOffsetDegrees) {
    const double half = ((fovDegrees - angleOffsetDegrees) * kPi / 180.0) * 0.5;
    if (!(0.0 < half)) {
        throw std::runtime_error("Dolly constraint resolver: fov - angleOffset must be greater than zero.");
    }
    const double k = std::tan(half);
    if (!(window.left <= 0.0) || !(window.right >= 0.0) || !(window.bottom <= 0.0) || !(window.top >= 0.0)) {
        throw std::runtime_error("Dolly constraint resolver: Screen window must include origin");
    }
    FrustumHalfAngles angles;
    angles.left = std::atan(-window.left * k);
    angles.right = std::atan(window.right * k);
    angles.bottom = std::atan(-window.bottom * k);
    angles.top = std::atan(window.top * k);
    return angles;
}

Imath::V3d pullBack(const CameraFrame& frame, const std::vector<Imath::V3d>& points) {
    double nearest = 0.0;
    for (const Imath::V3d& p : points) {
        nearest = std::min(nearest, (p - frame.position).dot(frame.view));
    }
    return frame.position - frame.view * std::abs(nearest);
}

double dollyBoxMove(const CameraFrame& frame, const Imath::V3d& pulledBack, const FrustumHalfAngles& angles,
                    const std::vector<Imath::V3d>& points) {
    if (points.empty()) {
        return 0.0;
    }
    const Imath::V3d& V = frame.view;
    const Imath::V3d& U = frame.up;
    const Imath::V3d& R = frame.right;
    double move = std::numeric_limits<double>::max();
    for (const Imath::V3d& p : points) {
        const Imath::V3d v = p - pulledBack;
        const double ox = v.dot(R);
        const double oy = v.dot(U);
        const double oz = v.dot(V);
        // The point's offset split into its horizontal (right/view) and vertical (up/view) planes.
        const Imath::V3d horizontal = R * ox + V * oz;
        const Imath::V3d vertical = U * oy + V * oz;
        const double lh = horizontal.length();
        const double lw = vertical.length();
        const Imath::V3d hn = horizontal.normalized();
        const Imath::V3d wn = vertical.normalized();
        const double thetaH = clampedAcos(V.dot(hn));
        const double thetaW = clampedAcos(V.dot(wn));
        const double halfH = R.dot(hn) < 0.0 ? angles.left : angles.right;
        const double halfW = U.dot(wn) < 0.0 ? angles.bottom : angles.top;
        // The view depth at which the point would lie exactly on that side, and the move to get there.
        const double dh = std::sin(thetaH) * lh / std::tan(halfH);
        const double dv = std::sin(thetaW) * lw / std::tan(halfW);
        const double d = dv < dh ? dh - std::cos(thetaH) * lh : dv - std::cos(thetaW) * lw;
        move = std::min(move, -d);
    }
    return move;
}

Sphere cornerSphere(const std::array<Imath::V3d, 8>& corners) {
    Sphere sphere;
    Imath::V3d sum(0.0, 0.0, 0.0);
    for (const Imath::V3d& c : corners) {
        sum += c;
    }
    sphere.centre = sum * 0.125;
    for (const Imath::V3d& c : corners) {
        sphere.radius = std::max(sphere.radius, (c - sphere.centre).length());
    }
    return sphere;
}

std::array<Imath::V3d, 4> frustumSideNormals(const CameraFrame& frame, const FrustumHalfAngles& angles) {
    // A positive angle turns counter-clockwise looking down the axis (right-handed); with right × up =
    // −view these angles turn the view direction towards the inside of each side.
    auto turn = [&](const Imath::V3d& axis, double angle) {
        Imath::M44d rotation;
        rotation.setAxisAngle(axis, angle);
        return transformPoint(rotation, frame.view);
    };
    return {turn(frame.up, kHalfPi - angles.right), turn(frame.up, angles.left - kHalfPi),
            turn(frame.right, kHalfPi - angles.bottom), turn(frame.right, angles.top - kHalfPi)};
}

Imath::V3d dollySpherePosition(const CameraFrame& frame, const Imath::V3d& pulledBack,
                               const std::array<Imath::V3d, 4>& sideNormals,
                               const std::vector<Sphere>& spheres) {
    const Imath::V3d& V = frame.view;
    Imath::V3d best(0.0, 0.0, 0.0);
    double bestDistance = std::numeric_limits<double>::max();
    // The last position computed; a side parallel to the view direction yields no position of its own.
    Imath::V3d last = pulledBack;
    bool haveLast = false;
    for (const Sphere& sphere : spheres) {
        Imath::V3d sphereBest = pulledBack;
        double sphereDistance = std::numeric_limits<double>::max();
        for (const Imath::V3d& normal : sideNormals) {
            const Imath::V3d n = normal.normalized();
            const Imath::V3d q = sphere.centre - n * sphere.radius;
            const double den = -V.dot(n);
            double distance;
            if (den == 0.0) {
                // No earlier position: the side must lose against the others.
                distance = haveLast ? (last - pulledBack).dot(V) : std::numeric_limits<double>::infinity();
            } else {
                const double tau = -(n.dot(pulledBack) - n.dot(q)) / den;
                last = pulledBack - V * tau;
                haveLast = true;
                distance = (last - pulledBack).dot(V);
            }
            if (distance < sphereDistance) {
                sphereDistance = distance;
                sphereBest = last;
            }
        }
        if (sphereDistance < bestDistance) {
            bestDistance = sphereDistance;
            best = sphereBest;
        }
    }
    return best;
}

Imath::M44d dollyMatrix(const Imath::M44d& base, const Imath::V3d& newPosition) {
    Imath::M44d move;
    move.setTranslation(newPosition - translationRow(base));
    const Imath::M44d world = base * move;
    return world * base.inverse();
}

// ---- FOV ----

std::optional<double> fovTangentForPoint(const CameraFrame& frame, const ScreenWindow& window,
                                         const Imath::V3d& point) {
    const Imath::V3d v = point - frame.position;
    const double depth = v.dot(frame.view);
    if (!(depth > 0.0)) {
        return std::nullopt;
    }
    const double x = v.dot(frame.right);
    const double y = v.dot(frame.up);
    double tangent = 0.0;
    // Screen x of the point is x / (depth·k); it must not pass the window edge on its side.
    if (x > 0.0) {
        tangent = std::max(tangent, x / (depth * window.right));
    } else if (x < 0.0) {
        tangent = std::max(tangent, x / (depth * window.left));
    }
    if (y > 0.0) {
        tangent = std::max(tangent, y / (depth * window.top));
    } else if (y < 0.0) {
        tangent = std::max(tangent, y / (depth * window.bottom));
    }
    return tangent;
}

std::optional<double> fovTangentForSphere(const CameraFrame& frame, const ScreenWindow& window,
                                          const Sphere& sphere) {
    const Imath::V3d v = sphere.centre - frame.position;
    const double depth = v.dot(frame.view);
    double tangent = 0.0;
    // Each pair of opposite sides turns about one camera axis, so it is a problem in the plane of the
    // other axis and the view direction: the centre lies at angle phi off the view axis, at distance rho;
    // a side at half-angle alpha clears the sphere when rho·sin(alpha − phi) ≥ radius.
    auto fitSides = [&](double lateral, double positiveExtent, double negativeExtent) {
        const double rho = std::hypot(lateral, depth);
        if (!(rho > sphere.radius)) {
            return false;
        }
        const double phi = std::atan2(lateral, depth);
        const double spread = std::asin(sphere.radius / rho);
        const double alphas[2] = {phi + spread, -phi + spread};
        const double extents[2] = {positiveExtent, -negativeExtent};
        for (int side = 0; side < 2; ++side) {
            if (!(alphas[side] < kHalfPi)) {
                return false;
            }
            if (alphas[side] > 0.0) {
                tangent = std::max(tangent, std::tan(alphas[side]) / extents[side]);
            }
        }
        return true;
    };
    if (!fitSides(v.dot(frame.right), window.right, window.left) ||
        !fitSides(v.dot(frame.up), window.top, window.bottom)) {
        return std::nullopt;
    }
    return tangent;
}

double fovDegreesFromTangent(double tangent) {
    return 2.0 * std::atan(tangent) * 180.0 / kPi;
}

// ---- ScreenCoordinate ----

ScreenMappingProblem checkScreenMapping(const ScreenMapping& mapping, const Imath::V3d& screenPosition) {
    const ScreenWindow& w = mapping.window;
    if (w.right == w.left || w.top == w.bottom) {
        return ScreenMappingProblem::ZeroWindow;
    }
    if (!mapping.orthographic) {
        if (!(mapping.fovDegrees > 0.0 && mapping.fovDegrees < 180.0)) {
            return ScreenMappingProblem::BadFov;
        }
        if (!(screenPosition.z < 0.0)) {
            return ScreenMappingProblem::NotInFront;
        }
    }
    return ScreenMappingProblem::None;
}

Imath::M44d screenPlacement(const ScreenMapping& mapping, const Imath::V3d& screenPosition) {
    const ScreenWindow& w = mapping.window;
    const double halfWidth = (w.right - w.left) * 0.5;
    const double halfHeight = (w.top - w.bottom) * 0.5;
    const double windowX = (w.right + w.left) * 0.5 + screenPosition.x * halfWidth;
    const double windowY = (w.top + w.bottom) * 0.5 + screenPosition.y * halfHeight;
    // Window units become camera-local units at the base's distance: d·k for a perspective camera.
    const double unit =
        mapping.orthographic ? 1.0 : -screenPosition.z * std::tan(degreesToRadians(mapping.fovDegrees) * 0.5);
    const Imath::V3d scale = mapping.keepAspectRatio
                                 ? Imath::V3d(halfWidth * unit, halfWidth * unit, halfWidth * unit)
                                 : Imath::V3d(halfWidth * unit, halfHeight * unit, 1.0);
    Imath::M44d placement;
    placement.setScale(scale);
    Imath::M44d translation;
    translation.setTranslation(Imath::V3d(windowX * unit, windowY * unit, screenPosition.z));
    return placement * translation;
}

Imath::M44d screenCoordinateMatrix(const Imath::M44d& base, const Imath::M44d& camera,
                                   const ScreenMapping& mapping) {
    Imath::M44d own(base);
    own[3][0] = 0.0;
    own[3][1] = 0.0;
    own[3][2] = 0.0;
    const Imath::M44d world = own * screenPlacement(mapping, translationRow(base)) * camera;
    return world * base.inverse(true);
}

} // namespace Private
} // namespace Vexil3Constraints
