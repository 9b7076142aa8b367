// Scene pieces and pinhole-camera geometry shared by the camera resolvers' end-to-end tests. A camera
// looks down its local -Z axis; a camera-local point (x, y, -d) appears at screen-window position
// (x / (d·k), y / (d·k)) with k = tan(fov / 2).
#pragma once

#include "ResolverScenes.h"

#include <Imath/ImathBox.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace CameraTests {

using Imath::M44d;
using Imath::V3d;
using ResolverTests::constraint;
using ResolverTests::expectError;
using ResolverTests::node;
using VexilTest::Json;

constexpr double kPi = 3.141592653589793;

inline double radians(double degrees) {
    return degrees * kPi / 180.0;
}

/// A screen window: left, right, bottom, top.
struct Window {
    double left, right, bottom, top;
};

/// The attributes of a camera location.
inline Json cameraAttrs(const Json& xform, double fov, const Window& w,
                        const std::string& projection = "perspective") {
    return {{"type", "camera"},
            {"xform", xform},
            {"geometry",
             {{"left", VexilTest::doubles({w.left})},
              {"right", VexilTest::doubles({w.right})},
              {"bottom", VexilTest::doubles({w.bottom})},
              {"top", VexilTest::doubles({w.top})},
              {"fov", VexilTest::doubles({fov})},
              {"near", VexilTest::doubles({0.1})},
              {"far", VexilTest::doubles({100000.0})},
              {"projection", projection}}}};
}

/// The attributes of a box-shaped mesh location with its local `bound`.
inline Json boxAttrs(const Json& xform, const V3d& lo, const V3d& hi) {
    return {{"type", "polymesh"},
            {"xform", xform},
            {"bound", VexilTest::doubles({lo.x, hi.x, lo.y, hi.y, lo.z, hi.z})}};
}

/// An xform: rotate `degrees` about `axis`, then translate (points are rotated first).
inline Json xform(const V3d& translate, double degrees = 0.0, const V3d& axis = V3d(0, 1, 0)) {
    return {{"translate", VexilTest::doubles({translate.x, translate.y, translate.z})},
            {"rotate", VexilTest::doubles({degrees, axis.x, axis.y, axis.z})}};
}

/// A camera location (near 0.1, far 100000) whose xform group `xformGroup` carries a constraint of
/// `type` on `targets` with `args`.
inline Json constrainedCamera(const std::string& type, const Json& xformGroup, double fov,
                              const Window& window, const std::vector<std::string>& targets,
                              const Json& args) {
    Json xf = xformGroup;
    xf["constraint"] = constraint(type, targets, args);
    return node(cameraAttrs(xf, fov, window));
}

/// The arguments of a framing constraint (Dolly, FOV): the bound type and the angle offset in degrees.
inline Json framingArgs(const std::string& bounds, double angleOffset = 0.0) {
    return {{"targetBounds", bounds}, {"angleOffset", VexilTest::floats({angleOffset})}};
}

/// A box-shaped target at /root/world/`name`: its xform and local bound.
struct TargetBox {
    std::string name;
    Json xform;
    V3d lo, hi;
};

/// Adds the boxes to `children` and returns their paths.
inline std::vector<std::string> addBoxes(Json& children, const std::vector<TargetBox>& boxes) {
    std::vector<std::string> paths;
    for (const TargetBox& b : boxes) {
        children[b.name] = node(boxAttrs(b.xform, b.lo, b.hi));
        paths.push_back("/root/world/" + b.name);
    }
    return paths;
}

/// Adds `nodes` to `children` as `stem`0, `stem`1, ... and returns their paths, in order.
inline std::vector<std::string> addNumbered(Json& children, const std::string& stem,
                                            const std::vector<Json>& nodes) {
    std::vector<std::string> paths;
    for (const Json& n : nodes) {
        const std::string name = stem + std::to_string(paths.size());
        children[name] = n;
        paths.push_back("/root/world/" + name);
    }
    return paths;
}

/// Cooks the children of /root/world with ConstraintResolve and the constraint list `listed` (which
/// orders dependencies); the cook itself must succeed.
inline VexilTest::CookResult cookWorld(const Json& children, const std::vector<std::string>& listed = {},
                                       float shutterOpen = 0.0f, float shutterClose = 0.0f,
                                       int numSamples = 1) {
    Json worldAttrs = Json::object();
    if (!listed.empty())
        worldAttrs["globals"] = {{"constraintList", listed}};
    VexilTest::CookResult result = VexilTest::cook(VexilTest::sceneFile(
        children, VexilTest::resolveOps(), shutterOpen, shutterClose, numSamples, worldAttrs));
    EXPECT_EQ(0, result.exitCode) << result.err;
    return result;
}

inline V3d apply(const M44d& m, const V3d& p) {
    V3d out;
    m.multVecMatrix(p, out);
    return out;
}

/// Camera-local coordinates of a world point as (x, y, view depth).
inline V3d cameraLocal(const M44d& cameraWorld, const V3d& world) {
    const V3d q = apply(cameraWorld.gjInverse(), world);
    return V3d(q.x, q.y, -q.z);
}

/// Screen-window position (x, y) and view depth of a world point seen by a perspective camera.
inline V3d screenOf(const M44d& cameraWorld, double fovDegrees, const V3d& world) {
    const V3d q = cameraLocal(cameraWorld, world);
    const double k = std::tan(radians(fovDegrees) * 0.5);
    return V3d(q.x / (q.z * k), q.y / (q.z * k), q.z);
}

/// The eight corners of a local box carried to world space by `world`.
inline std::vector<V3d> worldCorners(const M44d& world, const V3d& lo, const V3d& hi) {
    std::vector<V3d> corners;
    for (double x : {lo.x, hi.x})
        for (double y : {lo.y, hi.y})
            for (double z : {lo.z, hi.z})
                corners.push_back(apply(world, V3d(x, y, z)));
    return corners;
}

/// How far inside the window a screen position lies: the smaller distance to the nearer horizontal
/// and vertical edge (negative outside).
inline double windowSlack(const Window& w, const V3d& screen) {
    const double slackX = screen.x >= 0 ? w.right - screen.x : screen.x - w.left;
    const double slackY = screen.y >= 0 ? w.top - screen.y : screen.y - w.bottom;
    return std::min(slackX, slackY);
}

/// Smallest distance from a sphere's surface to the four side planes of the frustum of `w` at `fov`,
/// for a camera at `cameraWorld` (negative when the sphere pokes out).
inline double sphereSlack(const M44d& cameraWorld, double fovDegrees, const Window& w, const V3d& centre,
                          double radius) {
    const double k = std::tan(radians(fovDegrees) * 0.5);
    const double right = std::atan(w.right * k), left = std::atan(-w.left * k);
    const double top = std::atan(w.top * k), bottom = std::atan(-w.bottom * k);
    const V3d q = cameraLocal(cameraWorld, centre);
    const double clearance[4] = {
        q.z * std::sin(right) - q.x * std::cos(right), q.z * std::sin(left) + q.x * std::cos(left),
        q.z * std::sin(top) - q.y * std::cos(top), q.z * std::sin(bottom) + q.y * std::cos(bottom)};
    double slack = clearance[0] - radius;
    for (double c : clearance)
        slack = std::min(slack, c - radius);
    return slack;
}

/// The sphere of the corners of a box: centre at their mean, radius to the farthest.
inline std::pair<V3d, double> cornerSphere(const std::vector<V3d>& corners) {
    V3d centre(0, 0, 0);
    for (const V3d& c : corners)
        centre += c;
    centre /= static_cast<double>(corners.size());
    double radius = 0.0;
    for (const V3d& c : corners)
        radius = std::max(radius, (c - centre).length());
    return {centre, radius};
}

/// A camera framing `boxes`: its authored xform, fov (degrees) and window, and the constraint's angle
/// offset (degrees).
struct FramingCase {
    const char* name;
    Json cameraXform;
    double fov, angleOffset;
    Window window;
    std::vector<TargetBox> boxes;
};

/// Cooks the boxes of `c` and a camera at /root/world/cam with a `type` constraint of bound type `bounds`
/// on all of them.
inline VexilTest::CookResult cookFraming(const std::string& type, const FramingCase& c,
                                         const std::string& bounds) {
    Json children = Json::object();
    const std::vector<std::string> targets = addBoxes(children, c.boxes);
    children["cam"] =
        constrainedCamera(type, c.cameraXform, c.fov, c.window, targets, framingArgs(bounds, c.angleOffset));
    return cookWorld(children);
}

/// The least window slack of the corners of `boxes` (as cooked) seen by a camera at `camera` with
/// `fovDegrees`; every corner must be in front of the camera and inside the window.
inline double worstCornerSlack(const Json& cooked, const M44d& camera, double fovDegrees,
                               const Window& window, const std::vector<TargetBox>& boxes) {
    double worst = std::numeric_limits<double>::max();
    for (const TargetBox& b : boxes) {
        for (const V3d& p : worldCorners(VexilTest::world(cooked, "/root/world/" + b.name), b.lo, b.hi)) {
            const V3d screen = screenOf(camera, fovDegrees, p);
            EXPECT_GT(screen.z, 0.0);
            const double slack = windowSlack(window, screen);
            EXPECT_GE(slack, -1e-9);
            worst = std::min(worst, slack);
        }
    }
    return worst;
}

/// The least frustum slack of the corner spheres of `boxes` (as cooked); every sphere must be inside.
inline double worstSphereSlack(const Json& cooked, const M44d& camera, double fovDegrees,
                               const Window& window, const std::vector<TargetBox>& boxes) {
    double worst = std::numeric_limits<double>::max();
    for (const TargetBox& b : boxes) {
        const auto sphere =
            cornerSphere(worldCorners(VexilTest::world(cooked, "/root/world/" + b.name), b.lo, b.hi));
        const double slack = sphereSlack(camera, fovDegrees, window, sphere.first, sphere.second);
        EXPECT_GE(slack, -1e-9);
        worst = std::min(worst, slack);
    }
    return worst;
}

/// worstCornerSlack for the bound type "box", worstSphereSlack for "sphere".
inline double worstSlack(const std::string& bounds, const Json& cooked, const M44d& camera, double fovDegrees,
                         const Window& window, const std::vector<TargetBox>& boxes) {
    return bounds == "box" ? worstCornerSlack(cooked, camera, fovDegrees, window, boxes)
                           : worstSphereSlack(cooked, camera, fovDegrees, window, boxes);
}

/// The first value of a double attribute of a cooked location (NaN when absent).
inline double doubleValue(const Json& cooked, const std::string& path, const std::string& name) {
    const Json& attr = VexilTest::attribute(cooked, path, name);
    if (attr.is_null())
        return std::nan("");
    const auto s = VexilTest::samples(attr);
    return s.empty() || s.begin()->second.empty() ? std::nan("") : s.begin()->second[0];
}

} // namespace CameraTests
