// Scene pieces and pinhole-camera geometry shared by the camera resolvers' end-to-end tests. A camera
// looks down its local -Z axis; a camera-local point (x, y, -d) appears at screen-window position
// (x / (d·k), y / (d·k)) with k = tan(fov / 2).
#pragma once

#include "CookTestSupport.h"

#include <Imath/ImathBox.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace CameraTests {

using Imath::M44d;
using Imath::V3d;
using VexilTest::Json;

constexpr double kPi = 3.141592653589793;

inline double radians(double degrees) {
    return degrees * kPi / 180.0;
}

/// A screen window: left, right, bottom, top.
struct Window {
    double left, right, bottom, top;
};

/// A location with `attrs` and `children`.
inline Json node(const Json& attrs, const Json& children = Json::object()) {
    return {{"attrs", attrs}, {"children", children}};
}

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

/// A constraint description of `type` on `targets` with `args`, plus optional switches.
inline Json constraint(const std::string& type, const std::vector<std::string>& targets, const Json& args,
                       const Json& extra = Json::object()) {
    Json c = {{"type", type}, {"target", targets}, {"args", args}};
    for (auto it = extra.begin(); it != extra.end(); ++it)
        c[it.key()] = it.value();
    return c;
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

/// The first value of a double attribute of a cooked location (NaN when absent).
inline double doubleValue(const Json& cooked, const std::string& path, const std::string& name) {
    const Json& attr = VexilTest::attribute(cooked, path, name);
    if (attr.is_null())
        return std::nan("");
    const auto s = VexilTest::samples(attr);
    return s.empty() || s.begin()->second.empty() ? std::nan("") : s.begin()->second[0];
}

} // namespace CameraTests
