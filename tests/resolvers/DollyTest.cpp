// The Dolly constraint end to end: after resolution every target corner (box) or bounding sphere lies
// inside the camera's frustum (its fov narrowed by the angle offset) and one touches a side; the camera
// moved only along its own view direction and did not turn.
#include "CameraScenes.h"

#include <gtest/gtest.h>

using namespace CameraTests;
using VexilTest::floats;
using VexilTest::stringValue;

namespace {

const char* const kCam = "/root/world/cam";

Json dollyCamera(const Json& xformGroup, double fov, const Window& window,
                 const std::vector<std::string>& targets, const Json& args) {
    return constrainedCamera("Dolly", xformGroup, fov, window, targets, args);
}

std::vector<FramingCase> fitCases() {
    return {
        {"ahead, square",
         xform(V3d(0, 0, 0)),
         90,
         0,
         {-1, 1, -1, 1},
         {{"a", xform(V3d(0, 0, -10)), V3d(-1, -1, -1), V3d(1, 1, 1)}}},
        {"turned camera, wide off-centre window",
         xform(V3d(2, 1, 4), 30),
         50,
         5,
         {-1.5, 0.9, -0.7, 1.1},
         {{"a", xform(V3d(-4, 0, -8), 20), V3d(-1, -2, -1), V3d(1, 1, 2)},
          {"b", xform(V3d(3, 2, -15)), V3d(-0.5, -0.5, -0.5), V3d(2, 0.5, 0.5)}}},
        // The camera starts inside the box: it is first pulled back behind every corner.
        {"camera inside the box",
         xform(V3d(0.5, 0, 0), -10, V3d(1, 0, 0)),
         40,
         0,
         {-1, 1, -0.75, 0.75},
         {{"a", xform(V3d(0, 0, 0)), V3d(-3, -2, -4), V3d(3, 2, 4)}}},
        // An edge of the window at the origin: nothing may show beyond the left side of the view axis.
        {"window edge at the origin",
         xform(V3d(-10, 0, 0)),
         60,
         0,
         {0, 1, -1, 1},
         {{"a", xform(V3d(0, 0, -10)), V3d(-1, -1, -1), V3d(1, 1, 1)}}},
    };
}

// The camera moved along its own view direction only and kept its orientation.
void expectDollied(const M44d& before, const M44d& after) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j)
            EXPECT_NEAR(after[i][j], before[i][j], 1e-12);
    V3d view;
    before.multDirMatrix(V3d(0, 0, -1), view);
    const V3d move(after[3][0] - before[3][0], after[3][1] - before[3][1], after[3][2] - before[3][2]);
    EXPECT_NEAR((move - view.normalized() * move.dot(view.normalized())).length(), 0.0, 1e-9);
}

// The camera's world transform as authored, before the constraint.
M44d authored(const FramingCase& c) {
    M44d rotation;
    const Json& r = c.cameraXform["rotate"]["double"];
    rotation.setAxisAngle(V3d(r[1].get<double>(), r[2].get<double>(), r[3].get<double>()),
                          radians(r[0].get<double>()));
    const Json& t = c.cameraXform["translate"]["double"];
    M44d translation;
    translation.setTranslation(V3d(t[0].get<double>(), t[1].get<double>(), t[2].get<double>()));
    return rotation * translation;
}

} // namespace

TEST(DollyConstraint, BoxCornersOrBoundingSpheresFitAndOneTouchesASide) {
    for (const std::string bounds : {"box", "sphere"}) {
        for (const FramingCase& c : fitCases()) {
            if (bounds == "sphere" && c.window.left == 0)
                continue; // a side along the view axis cannot hold a sphere that crosses the axis
            SCOPED_TRACE(bounds + ", " + c.name);
            const VexilTest::CookResult result = cookFraming("Dolly", c, bounds);
            ASSERT_EQ(stringValue(result.scene, kCam, "errorMessage"), "");
            const M44d camera = VexilTest::world(result.scene, kCam);
            EXPECT_NEAR(worstSlack(bounds, result.scene, camera, c.fov - c.angleOffset, c.window, c.boxes),
                        0.0, 1e-9);
            expectDollied(authored(c), camera);
        }
    }
}

TEST(DollyConstraint, HandWorkedPositions) {
    // fov 90: every side at 45°. The unit cube 10 ahead: its near corners, 1 off the axis at z = -9, touch
    // at depth 1, so the camera ends at z = -8 (moving closer). Its sphere, radius √3, touches when the
    // centre is √3·√2 deeper. Narrowed to 60 by the offset, tan 30° = 1/√3: depth √3 for the corners.
    // The sphere's offset is left out: it is 0 by default.
    struct Case {
        const char* name;
        Json args;
        double z;
    } cases[] = {
        {"box", framingArgs("box", 0), -8.0},
        {"sphere", {{"targetBounds", "sphere"}}, -10.0 + std::sqrt(6.0)},
        {"box narrowed", framingArgs("box", 30), -9.0 + std::sqrt(3.0)},
    };
    for (const Case& c : cases) {
        Json children = {
            {"box", node(boxAttrs(xform(V3d(0, 0, -10)), V3d(-1, -1, -1), V3d(1, 1, 1)))},
            {"cam", dollyCamera(xform(V3d(0, 0, 0)), 90, {-1, 1, -1, 1}, {"/root/world/box"}, c.args)}};
        const VexilTest::CookResult result = cookWorld(children);
        const M44d camera = VexilTest::world(result.scene, kCam);
        EXPECT_NEAR(camera[3][0], 0.0, 1e-12) << c.name;
        EXPECT_NEAR(camera[3][1], 0.0, 1e-12) << c.name;
        EXPECT_NEAR(camera[3][2], c.z, 1e-9) << c.name;
    }
}

TEST(DollyConstraint, AnimatedBoundsAddSampleTimesButAnAnimatedFovDoesNot) {
    // The cube grows to twice its size by time 1: at 1 its near corners, 2 off the axis at z = -8, touch
    // at depth 2, so the camera ends at z = -6 then.
    Json growing = {{"type", "polymesh"},
                    {"xform", xform(V3d(0, 0, -10))},
                    {"bound", VexilTest::animatedDoubles(
                                  {{"0", {-1, 1, -1, 1, -1, 1}}, {"1", {-2, 2, -2, 2, -2, 2}}}, 6)}};
    Json animatedFov =
        cameraAttrs({{"constraint", constraint("Dolly", {"/root/world/still"}, framingArgs("box", 0))}}, 90,
                    {-1, 1, -1, 1});
    animatedFov["geometry"]["fov"] = VexilTest::animatedDoubles({{"0", {90}}, {"1", {60}}});
    Json children = {{"grow", node(growing)},
                     {"still", node(boxAttrs(xform(V3d(0, 0, -10)), V3d(-1, -1, -1), V3d(1, 1, 1)))},
                     {"cam", dollyCamera(xform(V3d(0, 0, 0)), 90, {-1, 1, -1, 1}, {"/root/world/grow"},
                                         framingArgs("box", 0))},
                     {"cam2", node(animatedFov)}};
    const VexilTest::CookResult result = cookWorld(children);
    const auto samples = VexilTest::worldSamples(result.scene, kCam);
    ASSERT_EQ(samples.size(), 2u);
    EXPECT_NEAR(samples.at(0.0f)[3][2], -8.0, 1e-9);
    EXPECT_NEAR(samples.at(1.0f)[3][2], -6.0, 1e-9);
    EXPECT_EQ(VexilTest::samples(
                  VexilTest::attribute(result.scene, "/root/world/cam2", "xform.resolvedconstraint.matrix"))
                  .size(),
              1u);
}
