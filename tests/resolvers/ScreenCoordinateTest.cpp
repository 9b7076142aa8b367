// The ScreenCoordinate constraint end to end: the base's origin projects to its authored screen-window
// coordinates (x, y from -1 to 1 across the window, z the negative distance), and its apparent size
// does not change with distance; perspective and orthographic cameras.
#include "CameraScenes.h"

#include <gtest/gtest.h>

using namespace CameraTests;
using VexilTest::ints;
using VexilTest::stringValue;

namespace {

const char* const kCam = "/root/world/cam";

Json screenBase(const V3d& screen, int keepAspectRatio, double scale = 1.0,
                const std::string& camera = kCam) {
    return node({{"type", "polymesh"},
                 {"xform",
                  {{"translate", VexilTest::doubles({screen.x, screen.y, screen.z})},
                   {"scale", VexilTest::doubles({scale, scale, scale})},
                   {"constraint", constraint("ScreenCoordinate", {camera},
                                             {{"keepAspectRatio", ints({keepAspectRatio})}})}}}});
}

struct View {
    M44d camera;
    double fov;
    Window window;
    bool orthographic;

    // Screen-window position (window units) and depth of a world point.
    V3d windowPosition(const V3d& world) const {
        if (orthographic) {
            return cameraLocal(camera, world);
        }
        return screenOf(camera, fov, world);
    }
    // Position normalised to -1 .. 1 across the window, and depth.
    V3d normalised(const V3d& world) const {
        const V3d s = windowPosition(world);
        return V3d((s.x - (window.right + window.left) * 0.5) / ((window.right - window.left) * 0.5),
                   (s.y - (window.top + window.bottom) * 0.5) / ((window.top - window.bottom) * 0.5), s.z);
    }
};

struct CameraCase {
    const char* name;
    Json xform;
    double fov;
    Window window;
    std::string projection;
};

std::vector<CameraCase> cameraCases() {
    return {
        {"perspective, wide window, turned",
         xform(V3d(1, 2, 3), 30),
         40,
         {-1.777, 1.777, -1, 1},
         "perspective"},
        {"perspective, off-centre window",
         xform(V3d(0, -3, 5), -20, V3d(1, 0, 0)),
         65,
         {-0.5, 2.0, -1.2, 0.3},
         "perspective"},
        {"orthographic", xform(V3d(0, 0, 50), 45), 0, {-10, 6, -3, 5}, "orthographic"},
    };
}

} // namespace

TEST(ScreenCoordinateConstraint, OriginLandsOnItsScreenSpotAndSizeStaysConstant) {
    for (const CameraCase& c : cameraCases()) {
        for (int keep : {0, 1}) {
            SCOPED_TRACE(::testing::Message() << c.name << ", keepAspectRatio " << keep);
            Json children = {{"cam", node(cameraAttrs(c.xform, c.fov, c.window, c.projection))},
                             {"near", screenBase(V3d(0.5, -0.25, -3), keep, 0.1)},
                             {"far", screenBase(V3d(0.5, -0.25, -12), keep, 0.1)},
                             {"corner", screenBase(V3d(-1, 1, -7), keep, 0.1)}};
            const VexilTest::CookResult result = cookWorld(children);
            const View view{VexilTest::world(result.scene, kCam), c.fov, c.window,
                            c.projection == "orthographic"};
            const struct {
                const char* path;
                V3d screen;
            } bases[] = {{"/root/world/near", V3d(0.5, -0.25, -3)},
                         {"/root/world/far", V3d(0.5, -0.25, -12)},
                         {"/root/world/corner", V3d(-1, 1, -7)}};
            V3d steps[3][2];
            for (int i = 0; i < 3; ++i) {
                ASSERT_EQ(stringValue(result.scene, bases[i].path, "errorMessage"), "");
                const M44d base = VexilTest::world(result.scene, bases[i].path);
                const V3d origin = view.normalised(apply(base, V3d(0, 0, 0)));
                EXPECT_NEAR(origin.x, bases[i].screen.x, 1e-9);
                EXPECT_NEAR(origin.y, bases[i].screen.y, 1e-9);
                EXPECT_NEAR(origin.z, -bases[i].screen.z, 1e-9);
                // Unit steps along local x and y, in window units on screen.
                steps[i][0] = view.windowPosition(apply(base, V3d(1, 0, 0))) -
                              view.windowPosition(apply(base, V3d(0, 0, 0)));
                steps[i][1] = view.windowPosition(apply(base, V3d(0, 1, 0))) -
                              view.windowPosition(apply(base, V3d(0, 0, 0)));
            }
            // The base was scaled by 0.1: a local unit spans a tenth of the half width (and of the half
            // height, per axis) whatever its distance.
            const double halfWidth = (c.window.right - c.window.left) * 0.5;
            const double halfHeight = (c.window.top - c.window.bottom) * 0.5;
            for (int i = 0; i < 3; ++i) {
                EXPECT_NEAR(steps[i][0].x, 0.1 * halfWidth, 1e-9);
                EXPECT_NEAR(steps[i][0].y, 0.0, 1e-9);
                EXPECT_NEAR(steps[i][1].x, 0.0, 1e-9);
                EXPECT_NEAR(steps[i][1].y, 0.1 * (keep ? halfWidth : halfHeight), 1e-9);
            }
        }
    }
}

TEST(ScreenCoordinateConstraint, FollowsAMovingCameraAtEverySample) {
    Json moving = {{"translate", VexilTest::animatedDoubles({{"0", {0, 0, 0}}, {"1", {4, 0, -2}}})},
                   {"rotate", VexilTest::animatedDoubles({{"0", {0, 0, 1, 0}}, {"1", {40, 0, 1, 0}}})}};
    Json children = {{"cam", node(cameraAttrs(moving, 50, {-1.5, 1.5, -1, 1}))},
                     {"hud", screenBase(V3d(0.75, 0.5, -4), 1)}};
    const VexilTest::CookResult result = cookWorld(children);
    const auto cameraSamples = VexilTest::worldSamples(result.scene, kCam);
    const auto baseSamples = VexilTest::worldSamples(result.scene, "/root/world/hud");
    ASSERT_EQ(baseSamples.size(), 2u);
    for (const auto& [time, base] : baseSamples) {
        const View view{cameraSamples.at(time), 50, {-1.5, 1.5, -1, 1}, false};
        const V3d origin = view.normalised(apply(base, V3d(0, 0, 0)));
        EXPECT_NEAR(origin.x, 0.75, 1e-9) << time;
        EXPECT_NEAR(origin.y, 0.5, 1e-9) << time;
        EXPECT_NEAR(origin.z, 4.0, 1e-9) << time;
    }
}
