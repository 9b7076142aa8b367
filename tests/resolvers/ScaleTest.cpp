// The Scale constraint end to end: an animated target under a scaled parent, a turned and moving
// base and several targets. Expected world matrices are worked out by hand: each world
// axis of the base keeps its direction and takes the length of the target's same axis.
#include "TransformResolverScenes.h"

using namespace ResolverTests;
using namespace TransformResolverTests;
using namespace VexilTest;
using Imath::V3d;

namespace {

// The target's world axes: its own scale (animated) turned 30° about x, under a parent scaled by 2.
// World axis lengths are therefore 2·scale: (2,2,2) at time 0 and (4,2,1) at time 1.
Json targetRig() {
    return placed({{"scale", triple(2, 2, 2)}},
                  {{"target", placed({{"rotate", rotate(30, 1, 0, 0)},
                                      {"scale", animatedDoubles({{"0", {1, 1, 1}}, {"1", {2, 1, 0.5}}})}})}});
}

// A base moving along x, turned 90° about z and stretched along its local y:
// world axes x → (0,1,0), y → (−2,0,0), z → (0,0,1).
Json movingBase(const std::vector<std::string>& targets) {
    return placed({{"translate", animatedDoubles({{"0", {1, 2, 3}}, {"1", {4, 2, 3}}})},
                   {"rotate", rotate(90, 0, 0, 1)},
                   {"scale", triple(1, 2, 1)},
                   {"constraint", constraint("Scale", targets, Json::object())}});
}

} // namespace

TEST(ScaleResolver, AxesTakeTheTargetLengthsAndKeepDirectionAndPosition) {
    const std::string target = "/root/world/rig/target";
    const CookResult result = cookWorld({{"rig", targetRig()},
                                         {"big", placed({{"scale", triple(9, 9, 9)}})},
                                         {"base", movingBase({target})},
                                         {"firstOnly", movingBase({target, "/root/world/big"})}});
    struct Expectation {
        float time;
        Imath::M44d world;
    };
    const Expectation expectations[] = {
        {0.0f, rows(V3d(0, 2, 0), V3d(-2, 0, 0), V3d(0, 0, 2), V3d(1, 2, 3))},
        {1.0f, rows(V3d(0, 4, 0), V3d(-2, 0, 0), V3d(0, 0, 1), V3d(4, 2, 3))},
    };
    for (const char* base : {"/root/world/base", "/root/world/firstOnly"}) {
        for (const Expectation& e : expectations) {
            expectWorld(result, base, e.time, e.world);
        }
    }
    // The target itself is untouched; its world axis lengths are what the base now has.
    for (const Expectation& e : expectations) {
        const Imath::M44d targetWorld = world(result.scene, target, e.time);
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(row(targetWorld, i).length(), row(e.world, i).length(), 1e-9);
        }
    }
}

TEST(ScaleResolver, TargetRotationIsNotTaken) {
    // Base and target both scaled by 2; the target also turned: nothing changes.
    const CookResult result = cookWorld(
        {{"turned", placed({{"rotate", rotate(45, 0, 1, 0)}, {"scale", triple(2, 2, 2)}})},
         {"base", placed({{"translate", triple(0, 1, 0)},
                          {"scale", triple(2, 2, 2)},
                          {"constraint", constraint("Scale", {"/root/world/turned"}, Json::object())}})}});
    expectWorld(result, "/root/world/base", 0.0f,
                rows(V3d(2, 0, 0), V3d(0, 2, 0), V3d(0, 0, 2), V3d(0, 1, 0)));
}

TEST(ScaleResolver, ParentedBaseMatchesInWorldSpace) {
    // The base hangs under a parent scaled (1, 4, 1) and turned 90° about x: its world axes are
    // x → (1,0,0), y → (0,0,4)... (local y lands on world z, stretched by the parent's y scale).
    // The target is scaled (3, 3, 3): every world axis of the base ends up 3 long.
    const CookResult result = cookWorld(
        {{"three", placed({{"scale", triple(3, 3, 3)}})},
         {"parent",
          placed(
              {{"translate", triple(5, 0, 0)}, {"rotate", rotate(90, 1, 0, 0)}, {"scale", triple(1, 4, 1)}},
              {{"base",
                placed({{"constraint", constraint("Scale", {"/root/world/three"}, Json::object())}})}})}});
    // Parent: p·S·R·T with S = (1,4,1), R: y → z, z → −y. World rows: (1,0,0), (0,0,4), (0,−1,0).
    expectWorld(result, "/root/world/parent/base", 0.0f,
                rows(V3d(3, 0, 0), V3d(0, 0, 3), V3d(0, -3, 0), V3d(5, 0, 0)));
}
