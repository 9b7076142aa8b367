// The CameraScreenWindow constraint end to end: the card's four corners, carried by its cooked world
// transform, project exactly onto the four corners of the target camera's screen window.
#include "CameraScenes.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace CameraTests;
using VexilTest::floats;
using VexilTest::stringValue;

namespace {

const char* const kCam = "/root/world/cam";
const char* const kCard = "/root/world/card";

Json cardArgs(double distance, const std::string& planeType) {
    return {{"distance", floats({distance})}, {"planeType", planeType}};
}

Json card(const Json& xformGroup, const Json& args, const std::vector<std::string>& targets = {kCam}) {
    Json xf = xformGroup;
    xf["constraint"] = constraint("CameraScreenWindow", targets, args);
    return node({{"type", "polymesh"}, {"xform", xf}});
}

// The card's corners in its local plane: XY, or XZ for an XZ card.
std::vector<V3d> cardCorners(bool xz) {
    std::vector<V3d> corners;
    for (double u : {-0.5, 0.5})
        for (double v : {-0.5, 0.5})
            corners.push_back(xz ? V3d(u, 0, v) : V3d(u, v, 0));
    return corners;
}

// Each card corner lands on a distinct window corner at the card's distance.
void expectCoversWindow(const M44d& camera, const M44d& cardWorld, double fov, const Window& w,
                        double distance, bool xz) {
    std::vector<std::pair<double, double>> hit;
    for (const V3d& corner : cardCorners(xz)) {
        const V3d s = screenOf(camera, fov, apply(cardWorld, corner));
        EXPECT_NEAR(s.z, distance, 1e-9);
        const bool left = std::abs(s.x - w.left) < 1e-9, right = std::abs(s.x - w.right) < 1e-9;
        const bool bottom = std::abs(s.y - w.bottom) < 1e-9, top = std::abs(s.y - w.top) < 1e-9;
        EXPECT_TRUE(left || right) << s.x;
        EXPECT_TRUE(bottom || top) << s.y;
        hit.emplace_back(left ? w.left : w.right, bottom ? w.bottom : w.top);
    }
    std::sort(hit.begin(), hit.end());
    EXPECT_TRUE(std::unique(hit.begin(), hit.end()) == hit.end()) << "two corners on one window corner";
}

} // namespace

TEST(CameraScreenWindowConstraint, CardCornersProjectOntoTheWindowCorners) {
    struct Case {
        const char* name;
        Json cameraXform;
        Json cardXform;
        double fov;
        Window window;
        double distance;
        std::string planeType;
    } cases[] = {
        {"centred XY", xform(V3d(0, 0, 0)), Json::object(), 90, {-1, 1, -1, 1}, 2, "XY"},
        {"centred XZ", xform(V3d(0, 0, 0)), Json::object(), 90, {-1, 1, -1, 1}, 2, "XZ"},
        {"off-centre XY, turned camera",
         xform(V3d(1, 2, 3), 30),
         xform(V3d(-4, 0, 7), 50, V3d(1, 0, 0)),
         40,
         {-0.5, 1.5, -1.0, 0.25},
         7.5,
         "XY"},
        {"off-centre XZ, turned camera",
         xform(V3d(1, 2, 3), -25, V3d(1, 1, 0)),
         xform(V3d(0.5, -0.5, 2)),
         35,
         {-2.0, 0.5, -0.3, 1.1},
         12,
         "XZ"},
        {"wide XY", xform(V3d(0, 5, 20), 180), Json::object(), 55, {-1.777, 1.777, -1, 1}, 3, "XY"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Json children = {{"cam", node(cameraAttrs(c.cameraXform, c.fov, c.window))},
                         {"card", card(c.cardXform, cardArgs(c.distance, c.planeType))}};
        const VexilTest::CookResult result = cookWorld(children);
        ASSERT_EQ(stringValue(result.scene, kCard, "errorMessage"), "");
        expectCoversWindow(VexilTest::world(result.scene, kCam), VexilTest::world(result.scene, kCard), c.fov,
                           c.window, c.distance, c.planeType == "XZ");
    }
}

TEST(CameraScreenWindowConstraint, OnlyAnExactXZMakesAnXZCard) {
    // The card's normal is its local +Z for an XY card, its local +Y for an XZ card; either must point
    // back at the camera (world +Z for this camera).
    const Window w{-1, 1, -1, 1};
    for (const char* planeType : {"XZ", "xz", "XY", "anything"}) {
        Json children = {{"cam", node(cameraAttrs(xform(V3d(0, 0, 0)), 60, w))},
                         {"card", card(Json::object(), cardArgs(5, planeType))}};
        const VexilTest::CookResult result = cookWorld(children);
        const bool xz = std::string(planeType) == "XZ";
        V3d normal;
        VexilTest::world(result.scene, kCard).multDirMatrix(xz ? V3d(0, 1, 0) : V3d(0, 0, 1), normal);
        EXPECT_NEAR(normal.normalized().z, 1.0, 1e-12) << planeType;
        expectCoversWindow(VexilTest::world(result.scene, kCam), VexilTest::world(result.scene, kCard), 60, w,
                           5, xz);
    }
}

TEST(CameraScreenWindowConstraint, ASecondTargetIsIgnored) {
    Json children = {{"cam", node(cameraAttrs(xform(V3d(0, 0, 0)), 60, {-1, 1, -1, 1}))},
                     {"other", node(cameraAttrs(xform(V3d(9, 9, 9), 90), 20, {-3, 1, -1, 2}))},
                     {"card", card(Json::object(), cardArgs(5, "XY"), {kCam, "/root/world/other"})}};
    const VexilTest::CookResult result = cookWorld(children);
    expectCoversWindow(VexilTest::world(result.scene, kCam), VexilTest::world(result.scene, kCard), 60,
                       {-1, 1, -1, 1}, 5, false);
}

TEST(CameraScreenWindowConstraint, AnAnimatedFovAddsItsSampleTimes) {
    Json camera = cameraAttrs(xform(V3d(0, 0, 0)), 60, {-1, 1, -1, 1});
    camera["geometry"]["fov"] = VexilTest::animatedDoubles({{"0", {60}}, {"0.5", {70}}});
    Json children = {{"cam", node(camera)}, {"card", card(Json::object(), cardArgs(5, "XY"))}};
    const VexilTest::CookResult result = cookWorld(children);
    const auto matrix =
        VexilTest::samples(VexilTest::attribute(result.scene, kCard, "xform.resolvedconstraint.matrix"));
    ASSERT_EQ(matrix.size(), 2u);
    EXPECT_EQ(matrix.begin()->first, 0.0f);
    EXPECT_EQ(matrix.rbegin()->first, 0.5f);
}
