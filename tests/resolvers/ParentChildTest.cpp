// The ParentChild constraint end to end: the base takes over the first target's world transform at
// each of the target's samples, its own parents and transform ignored.
#include "TransformResolverScenes.h"

using namespace ResolverTests;
using namespace TransformResolverTests;
using namespace VexilTest;
using Imath::V3d;

namespace {

// A mover turned 90° about y (x → (0,0,−1), z → (1,0,0)) travelling from the origin up to (0,4,0),
// by way of (0,1,0) at time 0.25.
Json mover() {
    return placed({{"translate", animatedDoubles({{"0", {0, 0, 0}}, {"0.25", {0, 1, 0}}, {"1", {0, 4, 0}}})},
                   {"rotate", rotate(90, 0, 1, 0)}});
}

const Imath::M44d kMoverAxes = rows(V3d(0, 0, -1), V3d(0, 1, 0), V3d(1, 0, 0));

Imath::M44d moverAt(double height) {
    Imath::M44d m = kMoverAxes;
    m[3][1] = height;
    return m;
}

// A base below a moved and scaled rig, with a translate of its own, constrained to `targets`.
Json riggedBase(const std::vector<std::string>& targets) {
    return placed({{"translate", triple(10, 0, 0)}, {"scale", triple(3, 3, 3)}},
                  {{"base", placed({{"translate", triple(1, 1, 1)},
                                    {"constraint", constraint("ParentChild", targets, Json::object())}})}});
}

} // namespace

TEST(ParentChildResolver, BaseFollowsTheTargetAtEachOfItsSamples) {
    const CookResult result = cookWorld({{"mover", mover()},
                                         {"other", placed({{"translate", triple(-7, -7, -7)}})},
                                         {"rig", riggedBase({"/root/world/mover"})},
                                         {"rig2", riggedBase({"/root/world/mover", "/root/world/other"})}});
    const struct {
        float time;
        double height;
    } samples[] = {{0.0f, 0.0}, {0.25f, 1.0}, {1.0f, 4.0}};
    for (const char* base : {"/root/world/rig/base", "/root/world/rig2/base"}) {
        for (const auto& s : samples) {
            expectWorld(result, base, s.time, moverAt(s.height));
            // Same as the target's own world transform as the host computes it.
            EXPECT_LT(maxDifference(world(result.scene, base, s.time),
                                    world(result.scene, "/root/world/mover", s.time)),
                      1e-12);
        }
    }
}

TEST(ParentChildResolver, ResultIsAResetFollowedByTheTargetSamples) {
    const CookResult result = cookWorld({{"mover", mover()}, {"rig", riggedBase({"/root/world/mover"})}});
    const Json& resolved = attribute(result.scene, "/root/world/rig/base", "xform.resolvedconstraint");
    ASSERT_TRUE(resolved.is_object()) << result.out;
    std::vector<std::string> names;
    for (auto it = resolved.begin(); it != resolved.end(); ++it) {
        names.push_back(it.key());
    }
    EXPECT_EQ((std::vector<std::string>{"origin", "matrix"}), names);
    EXPECT_EQ((std::vector<double>{0.0}), VexilTest::samples(resolved["origin"]).at(0.0f));
    EXPECT_EQ((std::vector<float>{0.0f, 0.25f, 1.0f}), sampleTimes(resolved["matrix"]));
    EXPECT_EQ(16, resolved["matrix"].value("tupleSize", 0));
}

TEST(ParentChildResolver, StaticTargetHoldsAnAnimatedBaseStill) {
    // A still post: the base, animated on its own, stays at the post at every sample.
    const CookResult result = cookWorld(
        {{"post", placed({{"translate", triple(2, 3, 4)}})},
         {"base",
          placed({{"translate", animatedDoubles({{"0", {0, 0, 0}}, {"1", {5, 0, 0}}})},
                  {"constraint", constraint("ParentChild", {"/root/world/post"}, Json::object())}})}});
    const Json& matrix = attribute(result.scene, "/root/world/base", "xform.resolvedconstraint.matrix");
    const std::vector<float> times = sampleTimes(matrix);
    // The framework gathers the target at every constraint sample time (the base's included); each
    // of those samples is the target's transform, so the base stands still at the post.
    ASSERT_FALSE(times.empty());
    for (float time : times) {
        SCOPED_TRACE(time);
        expectWorld(result, "/root/world/base", time,
                    rows(V3d(1, 0, 0), V3d(0, 1, 0), V3d(0, 0, 1), V3d(2, 3, 4)));
    }
}
