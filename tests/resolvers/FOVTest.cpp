// The FOV constraint end to end: after resolution every target (box corners, or bounding sphere) lies
// inside the frustum of the new field of view and one touches its edge; the zero-result warning; and a
// constraint targeting the camera sees the new fov.
#include "CameraScenes.h"

#include <gtest/gtest.h>

using namespace CameraTests;
using VexilTest::floats;
using VexilTest::stringValue;

namespace {

const char* const kCam = "/root/world/cam";

Json fovCamera(const Json& xformGroup, const Window& window, const std::vector<std::string>& targets,
               const Json& args, double fov = 45.0) {
    return constrainedCamera("FOV", xformGroup, fov, window, targets, args);
}

std::vector<FramingCase> fitCases() {
    return {
        {"square window ahead",
         xform(V3d(0, 0, 0)),
         45,
         0,
         {-1, 1, -1, 1},
         {{"a", xform(V3d(0, 0, -10)), V3d(-1, -1, -1), V3d(1, 1, 1)}}},
        {"wide off-centre window, turned camera",
         xform(V3d(2, 1, 4), 30),
         45,
         0,
         {-1.2, 0.8, -0.5, 1.0},
         {{"a", xform(V3d(-4, 0, -8), 20), V3d(-1, -2, -1), V3d(1, 1, 2)},
          {"b", xform(V3d(3, 2, -15)), V3d(-0.5, -0.5, -0.5), V3d(2, 0.5, 0.5)}}},
        {"tall window, off-axis target",
         xform(V3d(0, 0, 0), -15, V3d(1, 0, 0)),
         45,
         0,
         {-0.6, 0.6, -1.5, 1.5},
         {{"a", xform(V3d(1, -6, -12)), V3d(-1, -1, -1), V3d(1, 1, 1)}}},
    };
}

} // namespace

TEST(FOVConstraint, BoxCornersOrBoundingSpheresFitAndOneTouchesTheEdge) {
    for (const std::string bounds : {"box", "sphere"}) {
        for (const FramingCase& c : fitCases()) {
            SCOPED_TRACE(bounds + ", " + c.name);
            const VexilTest::CookResult result = cookFraming("FOV", c, bounds);
            ASSERT_EQ(stringValue(result.scene, kCam, "errorMessage"), "");
            const double fov = doubleValue(result.scene, kCam, "geometry.fov");
            const M44d camera = VexilTest::world(result.scene, kCam);
            EXPECT_NEAR(worstSlack(bounds, result.scene, camera, fov, c.window, c.boxes), 0.0, 1e-9);
        }
    }
}

TEST(FOVConstraint, HandWorkedFieldsOfView) {
    // A unit cube 10 ahead: its nearest corners are 1 off the axis at depth 9. A cube moving to 5 off the
    // axis by time 1 needs 6 / 9 then. The sphere of the cube has radius √3 at distance 10.
    const double degrees = 180.0 / kPi;
    Json moving = {{"translate", VexilTest::animatedDoubles({{"0", {0, 0, -10}}, {"1", {5, 0, -10}}})}};
    struct Case {
        const char* name;
        Json boxXform;
        std::string bounds;
        double angleOffset;
        double fov;
    } cases[] = {
        {"box", xform(V3d(0, 0, -10)), "box", 0.0, 2 * std::atan(1.0 / 9.0) * degrees},
        {"box with margin", xform(V3d(0, 0, -10)), "box", 3.0, 2 * std::atan(1.0 / 9.0) * degrees + 3.0},
        {"sphere", xform(V3d(0, 0, -10)), "sphere", 0.0, 2 * std::asin(std::sqrt(3.0) / 10.0) * degrees},
        {"moving box", moving, "box", 0.0, 2 * std::atan(6.0 / 9.0) * degrees},
    };
    for (const Case& c : cases) {
        Json children = {{"box", node(boxAttrs(c.boxXform, V3d(-1, -1, -1), V3d(1, 1, 1)))},
                         {"cam", fovCamera(xform(V3d(0, 0, 0)), {-1, 1, -1, 1}, {"/root/world/box"},
                                           framingArgs(c.bounds, c.angleOffset))}};
        const VexilTest::CookResult result = cookWorld(children);
        EXPECT_NEAR(doubleValue(result.scene, kCam, "geometry.fov"), c.fov, 1e-9) << c.name;
    }
}

TEST(FOVConstraint, ZeroResultLeavesTheFovAloneWithAWarning) {
    // A box shrunk to a point on the view axis needs no field of view at all.
    Json children = {{"dot", node(boxAttrs(xform(V3d(0, 0, -10)), V3d(0, 0, 0), V3d(0, 0, 0)))},
                     {"cam", fovCamera(xform(V3d(0, 0, 0)), {-1, 1, -1, 1}, {"/root/world/dot"},
                                       framingArgs("box"), 37.0)}};
    const VexilTest::CookResult result = cookWorld(children);
    EXPECT_EQ(stringValue(result.scene, kCam, "warningMessage"),
              "FOV constraint resolver: resolved to FOV of 0.0.  Skipping.");
    EXPECT_EQ(stringValue(result.scene, kCam, "errorMessage"), "");
    EXPECT_EQ(stringValue(result.scene, kCam, "type"), "camera");
    EXPECT_EQ(doubleValue(result.scene, kCam, "geometry.fov"), 37.0);
}

TEST(FOVConstraint, ACardOnTheCameraSeesTheResolvedFov) {
    // The camera's fov of 90 becomes 2·atan(1/9); a screen-window card 30 ahead must fill that view.
    const double fov = 2 * std::atan(1.0 / 9.0) * 180.0 / kPi;
    Json card = node({{"type", "polymesh"},
                      {"xform",
                       {{"constraint", constraint("CameraScreenWindow", {kCam},
                                                  {{"distance", floats({30})}, {"planeType", "XY"}})}}}});
    Json children = {
        {"box", node(boxAttrs(xform(V3d(0, 0, -10)), V3d(-1, -1, -1), V3d(1, 1, 1)))},
        {"card", card},
        {"cam", fovCamera(xform(V3d(0, 0, 0)), {-1, 1, -1, 1}, {"/root/world/box"}, framingArgs("box"), 90)}};
    const VexilTest::CookResult result = cookWorld(children, {kCam, "/root/world/card"});
    EXPECT_NEAR(doubleValue(result.scene, kCam, "geometry.fov"), fov, 1e-9);
    const M44d cardWorld = VexilTest::world(result.scene, "/root/world/card");
    const V3d corner = apply(cardWorld, V3d(0.5, 0.5, 0));
    // Half the card's height is 30·tan(fov / 2) = 30 / 9.
    EXPECT_NEAR(corner.y, 30.0 / 9.0, 1e-9);
    EXPECT_NEAR(corner.z, -30.0, 1e-9);
}
