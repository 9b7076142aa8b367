// The Billboard constraint end to end: the base turns about its rotate axis until its aim axis,
// flattened onto the plane perpendicular to that axis, faces the target. Expected matrices are
// quarter and half turns worked out by hand (row vectors: a +90° turn about y takes z to x).
#include "TransformResolverScenes.h"

#include <cmath>

using namespace ResolverTests;
using namespace TransformResolverTests;
using namespace VexilTest;
using Imath::V3d;

namespace {

const Imath::M44d kIdentity;
// +90° about y: x → (0,0,−1), z → (1,0,0).
const Imath::M44d kQuarterY = rows(V3d(0, 0, -1), V3d(0, 1, 0), V3d(1, 0, 0));
// 180° about y.
const Imath::M44d kHalfY = rows(V3d(-1, 0, 0), V3d(0, 1, 0), V3d(0, 0, -1));

Json billboardArgs(const std::string& origin, const Json& aim, const Json& rotateAxis) {
    return {{"targetOrigin", origin}, {"baseAimAxis", aim}, {"baseRotateAxis", rotateAxis}};
}

// A base with `xform` operations plus a Billboard constraint on `targets`.
Json card(Json xform, const std::vector<std::string>& targets, const Json& args) {
    xform["constraint"] = constraint("Billboard", targets, args);
    return placed(xform);
}

Json at(double x, double y, double z) {
    return placed({{"translate", triple(x, y, z)}});
}

Imath::M44d movedTo(Imath::M44d m, const V3d& t) {
    m[3][0] = t.x;
    m[3][1] = t.y;
    m[3][2] = t.z;
    return m;
}

} // namespace

TEST(BillboardResolver, TurnsAboutTheRotateAxisTowardsTheTarget) {
    const Json zOnY = billboardArgs("origin", axis(0, 0, 1), axis(0, 1, 0));
    // A triangle far off along +x at local (10..11, 0..1, 0); the mesh itself stands at (0,0,−4).
    const Json farTriangle =
        mesh({10, 0, 0, 11, 0, 0, 10, 1, 0}, {0, 3}, {0, 1, 2}, {{"translate", triple(0, 0, -4)}});
    Json children = {
        {"walker", placed({{"translate", animatedDoubles({{"0", {7, 3, 0}}, {"1", {2, 5, 5}}})}})},
        {"east", at(5, 3, 0)},
        {"north", at(4, 0, 2)},
        {"south", at(4, 0, -2)},
        {"above", at(0, 6, 0)},
        {"west", at(-5, 0, 0)},
        {"far", at(4, 0, 7)},
        {"tri", farTriangle},
        // Base at (2,0,0); the walker is seen along +x at time 0 (height plays no part) and along +z at 1.
        {"follows", card({{"translate", triple(2, 0, 0)}}, {"/root/world/walker"}, zOnY)},
        {"longAim",
         card(Json::object(), {"/root/world/east"}, billboardArgs("origin", axis(0, 0, 7), axis(0, -3, 0)))},
        // The average of (4,0,2) and (4,0,−2) lies along +x.
        {"average", card(Json::object(), {"/root/world/north", "/root/world/south"}, zOnY)},
        {"onAxis", card(Json::object(), {"/root/world/above"}, zOnY)},
        // Straight behind the aim axis: a half turn about the rotate axis.
        {"behind",
         card(Json::object(), {"/root/world/west"}, billboardArgs("origin", axis(1, 0, 0), axis(0, 1, 0)))},
        // Face modes are not known here: the mesh's origin (0,0,−4) counts, so +x turns to −z.
        {"faceMode", card(Json::object(), {"/root/world/tri"},
                          billboardArgs("faceCenterAverage", axis(1, 0, 0), axis(0, 1, 0)))},
        // Turned 90° about x and scaled by 3: world axes x → (3,0,0), y → (0,0,3), z → (0,−3,0). The
        // target (4,0,7) lies at local (4/3, 7/3, 0): local z turns to local x about local y.
        {"turned",
         card({{"rotate", rotate(90, 1, 0, 0)}, {"scale", triple(3, 3, 3)}}, {"/root/world/far"}, zOnY)},
    };
    const CookResult result = cookWorld(children);
    struct Case {
        const char* path;
        float time;
        Imath::M44d world;
    };
    const Case cases[] = {
        {"/root/world/follows", 0.0f, movedTo(kQuarterY, V3d(2, 0, 0))},
        {"/root/world/follows", 1.0f, movedTo(kIdentity, V3d(2, 0, 0))},
        {"/root/world/longAim", 0.0f, kQuarterY},
        {"/root/world/average", 0.0f, kQuarterY},
        {"/root/world/onAxis", 0.0f, kIdentity},
        {"/root/world/behind", 0.0f, kHalfY},
        {"/root/world/faceMode", 0.0f, kQuarterY},
        {"/root/world/turned", 0.0f, rows(V3d(0, 3, 0), V3d(0, 0, 3), V3d(3, 0, 0))},
    };
    for (const Case& c : cases) {
        expectWorld(result, c.path, c.time, c.world);
    }
}

TEST(BillboardResolver, AnimatedBoundsOfTheTargetAnimateTheTurn) {
    // A still target whose bound centre moves from (5,0,0) at time 0 to (0,0,−5) at time 1: the bound
    // alone brings in the second sample time.
    Json box = placed(Json::object());
    box["attrs"]["bound"] = animatedDoubles({{"0", {4, 6, -1, 1, -1, 1}}, {"1", {-1, 1, -1, 1, -6, -4}}});
    const CookResult result =
        cookWorld({{"box", box},
                   {"base", card(Json::object(), {"/root/world/box"},
                                 billboardArgs("boundingBox", axis(0, 0, 1), axis(0, 1, 0)))}});
    expectWorld(result, "/root/world/base", 0.0f, kQuarterY);
    expectWorld(result, "/root/world/base", 1.0f, kHalfY);
}

TEST(BillboardResolver, KeepsTheRotateAxisAndFacesTheTargetOnAnAnimatedBase) {
    // A base sliding and tumbling; whatever the pose, the world rotate axis stays and the world aim
    // axis, flattened perpendicular to it, points at the target. Checked by geometry at each sample.
    const CookResult result = cookWorld(
        {{"goal", at(3, -2, 8)},
         {"base",
          card({{"translate", animatedDoubles({{"0", {0, 0, 0}}, {"1", {-6, 1, 2}}})},
                {"rotate", VexilTest::animatedDoubles({{"0", {20, 1, 1, 0}}, {"1", {130, 0, 1, 1}}}, 4)}},
               {"/root/world/goal"}, billboardArgs("origin", axis(1, 0, 0), axis(0, 0, 1)))}});
    for (float time : {0.0f, 1.0f}) {
        SCOPED_TRACE(time);
        const Imath::M44d after = world(result.scene, "/root/world/base", time);
        const V3d position = translationOf(after);
        const V3d rotateAxis = directionThrough(V3d(0, 0, 1), after).normalized();
        const V3d aimAxis = directionThrough(V3d(1, 0, 0), after);
        const V3d toGoal = V3d(3, -2, 8) - position;
        const V3d aimFlat = (aimAxis - (aimAxis ^ rotateAxis) * rotateAxis).normalized();
        const V3d goalFlat = (toGoal - (toGoal ^ rotateAxis) * rotateAxis).normalized();
        expectVecNear(goalFlat, aimFlat, 1e-9);
        // The rotate axis of the unconstrained pose: the base's own rotation of local z.
        const double degrees = time == 0.0f ? 20.0 : 130.0;
        const V3d about = time == 0.0f ? V3d(1, 1, 0) : V3d(0, 1, 1);
        Imath::M44d own;
        own.setAxisAngle(about.normalized(), degrees * M_PI / 180.0);
        expectVecNear(directionThrough(V3d(0, 0, 1), own), rotateAxis, 1e-9);
        expectVecNear(time == 0.0f ? V3d(0, 0, 0) : V3d(-6, 1, 2), position, 1e-9);
    }
}
