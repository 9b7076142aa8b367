// The Clipping constraint end to end: the near and far distances written on the camera hold every target
// corner (depths measured from the cooked world transforms), widened by the pads, at every sample time.
#include "CameraScenes.h"

#include <gtest/gtest.h>

using namespace CameraTests;
using VexilTest::floats;
using VexilTest::stringValue;

namespace {

Json pads(double padNear, double padFar) {
    return {{"pad", {{"near", floats({padNear})}, {"far", floats({padFar})}}}};
}

Json clippingCamera(const Json& xformGroup, const std::vector<std::string>& targets, const Json& args) {
    return constrainedCamera("Clipping", xformGroup, 45.0, {-1, 1, -1, 1}, targets, args);
}

struct ClipCase {
    const char* name;
    Json cameraXform;
    std::vector<TargetBox> targets;
    double padNear, padFar;
    double nearDistance, farDistance; // worked out by hand
};

} // namespace

TEST(ClippingConstraint, RangeHoldsEveryCornerWidenedByThePads) {
    const double r2 = std::sqrt(2.0);
    const std::vector<ClipCase> cases = {
        // Depths 9 .. 11; 10 % of the range 2 on each side.
        {"ahead",
         xform(V3d(0, 0, 0)),
         {{"box", xform(V3d(0, 0, -10)), V3d(-1, -1, -1), V3d(1, 1, 1)}},
         10,
         10,
         8.8,
         11.2},
        // Looking down -X from x = 5 at a box spanning x = -5 .. -3: depths 8 .. 10; 25 % and 50 % of 2.
        {"turned camera",
         xform(V3d(5, 0, 0), 90),
         {{"box", xform(V3d(-5, 3, 0)), V3d(0, -1, -1), V3d(2, 1, 1)}},
         25,
         50,
         7.5,
         11},
        // A cube turned 45° about Y reaches √2 nearer and farther than its centre.
        {"turned target",
         xform(V3d(0, 0, 0)),
         {{"box", xform(V3d(0, 0, -10), 45), V3d(-1, -1, -1), V3d(1, 1, 1)}},
         0,
         0,
         10 - r2,
         10 + r2},
        {"two targets",
         xform(V3d(0, 0, 0)),
         {{"near", xform(V3d(0, 0, -5)), V3d(-1, -1, -1), V3d(1, 1, 1)},
          {"far", xform(V3d(3, 0, -20)), V3d(-1, -1, -1), V3d(1, 1, 1)}},
         0,
         0,
         4,
         21},
        // The camera's scale does not stretch depths.
        {"scaled camera",
         {{"translate", VexilTest::doubles({0, 0, 0})}, {"scale", VexilTest::doubles({2, 2, 2})}},
         {{"box", xform(V3d(0, 0, -10)), V3d(-1, -1, -1), V3d(1, 1, 1)}},
         10,
         10,
         8.8,
         11.2},
    };
    for (const ClipCase& c : cases) {
        SCOPED_TRACE(c.name);
        Json children = Json::object();
        const std::vector<std::string> targets = addBoxes(children, c.targets);
        children["cam"] = clippingCamera(c.cameraXform, targets, pads(c.padNear, c.padFar));
        const VexilTest::CookResult result = cookWorld(children);
        const double nearDistance = doubleValue(result.scene, "/root/world/cam", "geometry.near");
        const double farDistance = doubleValue(result.scene, "/root/world/cam", "geometry.far");
        EXPECT_NEAR(nearDistance, c.nearDistance, 1e-9);
        EXPECT_NEAR(farDistance, c.farDistance, 1e-9);
        EXPECT_EQ(stringValue(result.scene, "/root/world/cam", "errorMessage"), "");

        // Every corner's depth, from the cooked transforms, lies between near and far. Depths are world
        // distances along the view direction, whatever the camera's scale.
        const M44d camera = VexilTest::world(result.scene, "/root/world/cam");
        V3d view;
        camera.multDirMatrix(V3d(0, 0, -1), view);
        view.normalize();
        const V3d eye(camera[3][0], camera[3][1], camera[3][2]);
        for (const TargetBox& t : c.targets) {
            for (const V3d& p :
                 worldCorners(VexilTest::world(result.scene, "/root/world/" + t.name), t.lo, t.hi)) {
                const double depth = (p - eye).dot(view);
                EXPECT_GE(depth, nearDistance - 1e-9);
                EXPECT_LE(depth, farDistance + 1e-9);
            }
        }
        // The camera keeps its transform: the constraint leaves an empty group and no matrix.
        EXPECT_TRUE(
            VexilTest::attribute(result.scene, "/root/world/cam", "xform.resolvedconstraint").is_object());
        EXPECT_TRUE(VexilTest::attribute(result.scene, "/root/world/cam", "xform.resolvedconstraint.matrix")
                        .is_null());
    }
}

TEST(ClippingConstraint, RangeSpansEverySampleTime) {
    // The target moves from depth 10 to depth 20 between times 0 and 1.
    Json moving = {{"translate", VexilTest::animatedDoubles({{"0", {0, 0, -10}}, {"1", {0, 0, -20}}})}};
    for (int respectMotionBlur : {1, 0}) {
        Json cam = clippingCamera(xform(V3d(0, 0, 0)), {"/root/world/box"}, pads(0, 0));
        cam["attrs"]["xform"]["constraint"]["respectMotionBlur"] = VexilTest::ints({respectMotionBlur});
        Json children = {{"box", node(boxAttrs(moving, V3d(-1, -1, -1), V3d(1, 1, 1)))}, {"cam", cam}};
        const VexilTest::CookResult result = cookWorld(children);
        EXPECT_NEAR(doubleValue(result.scene, "/root/world/cam", "geometry.near"), 9.0, 1e-9);
        EXPECT_NEAR(doubleValue(result.scene, "/root/world/cam", "geometry.far"),
                    respectMotionBlur ? 21.0 : 11.0, 1e-9);
    }
}

TEST(ClippingConstraint, AStaticBoundStillAddsItsSampleTime) {
    // The camera turns from looking down -Z (time 0) through -X (time 0.5) to +Z (time 1); the box on
    // the -X axis is straight ahead only at 0.5, the time of its single bound sample.
    Json turning = {{"rotate", VexilTest::animatedDoubles({{"0", {0, 0, 1, 0}}, {"1", {180, 0, 1, 0}}})}};
    for (const char* boundTime : {"0.5", "0"}) {
        Json box = node({{"type", "polymesh"},
                         {"xform", xform(V3d(-10, 0, 0))},
                         {"bound", VexilTest::animatedDoubles({{boundTime, {-1, 1, -1, 1, -1, 1}}})}});
        Json children = {{"box", box}, {"cam", clippingCamera(turning, {"/root/world/box"}, pads(0, 0))}};
        const VexilTest::CookResult result = cookWorld(children);
        // Sideways at times 0 and 1 the depths are -1 .. 1; ahead at 0.5 they are 9 .. 11.
        EXPECT_NEAR(doubleValue(result.scene, "/root/world/cam", "geometry.near"), 1e-05, 1e-12) << boundTime;
        EXPECT_NEAR(doubleValue(result.scene, "/root/world/cam", "geometry.far"),
                    std::string(boundTime) == "0.5" ? 11.0 : 1.0, 1e-9)
            << boundTime;
    }
}
