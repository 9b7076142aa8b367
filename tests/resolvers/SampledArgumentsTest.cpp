// Point, Aim and Orient read their arguments once per constraint: every sample must still see them, and
// the first failing check of the first failing sample must still decide the message. Expected
// positions are worked out by hand.
#include "ResolverScenes.h"

using namespace ResolverTests;
using namespace VexilTest;
using Imath::V3d;

namespace {

// A target moving from `from` at time 0 to `to` at time 1.
Json movingTarget(const V3d& from, const V3d& to) {
    return placed(
        {{"translate", animatedDoubles({{"0", {from.x, from.y, from.z}}, {"1", {to.x, to.y, to.z}}})}});
}

/// A constrained location that must fail with `message`.
struct FailureCase {
    const char* name;
    Json constraint;
    std::string message;
};

/// Places every case below "/root/world" beside `children`, cooks once, and checks that each failed
/// with its message and kept no matrix.
void expectFailures(Json children, const std::vector<FailureCase>& cases) {
    for (const FailureCase& c : cases)
        children[c.name] = placed({{"translate", triple(1, 1, 1)}, {"constraint", c.constraint}});
    const CookResult result = cookWorld(children);
    for (const FailureCase& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = std::string("/root/world/") + c.name;
        EXPECT_EQ(c.message, stringValue(result.scene, path, "errorMessage"));
        EXPECT_TRUE(attribute(result.scene, path, "xform.resolvedconstraint.matrix").is_null());
    }
}

Json aimArgs(const V3d& aim, const std::string& targetOrigin = "origin") {
    return {{"targetOrigin", targetOrigin},
            {"baseAimAxis", axis(aim.x, aim.y, aim.z)},
            {"baseUpAxis", axis(0, 1, 0)},
            {"targetUpAxis", axis(0, 1, 0)}};
}

} // namespace

TEST(SampledArguments, PointAxisMasksHoldAtEverySample) {
    // The base stays at (9,9,9); the target moves from (2,6,-4) to (4,8,0). With x masked, the base
    // keeps x = 9 and takes the target's y and z at each time.
    Json args = {{"targetOrigin", "origin"}, {"baseOrigin", "origin"}, {"xAxis", ints({0})}};
    const Json children = {{"t", movingTarget(V3d(2, 6, -4), V3d(4, 8, 0))},
                           {"a", placed({{"translate", triple(9, 9, 9)},
                                         {"constraint", constraint("Point", {"/root/world/t"}, args)}})}};
    const CookResult result = cookWorld(children);
    EXPECT_EQ("", stringValue(result.scene, "/root/world/a", "errorMessage"));
    const auto samples = worldSamples(result.scene, "/root/world/a");
    ASSERT_EQ(2u, samples.size());
    expectVecNear(V3d(9, 6, -4), translationOf(samples.at(0.0f)));
    expectVecNear(V3d(9, 8, 0), translationOf(samples.at(1.0f)));
}

TEST(SampledArguments, OrientAxisFlagsHoldAtEverySample) {
    // The target turns about z from 0 to 90 degrees; only z follows it. At time 1 the base's local x
    // axis points along world y, at time 0 it is unturned; the base keeps its position (1,2,3).
    const Json target = placed({{"rotate", animatedDoubles({{"0", {0, 0, 0, 1}}, {"1", {90, 0, 0, 1}}})}});
    const Json args = {{"targetOrientation", "object"}, {"xAxis", ints({0})}, {"yAxis", ints({0})}};
    const Json children = {{"t", target},
                           {"o", placed({{"translate", triple(1, 2, 3)},
                                         {"constraint", constraint("Orient", {"/root/world/t"}, args)}})}};
    const CookResult result = cookWorld(children);
    EXPECT_EQ("", stringValue(result.scene, "/root/world/o", "errorMessage"));
    const auto samples = worldSamples(result.scene, "/root/world/o");
    ASSERT_EQ(2u, samples.size());
    expectVecNear(V3d(1, 0, 0), row(samples.at(0.0f), 0));
    expectVecNear(V3d(0, 1, 0), row(samples.at(1.0f), 0));
    expectVecNear(V3d(-1, 0, 0), row(samples.at(1.0f), 1));
    expectVecNear(V3d(1, 2, 3), translationOf(samples.at(1.0f)));
}

// Each kind reads its arguments once, when its resolver is made: a failure still comes at its place among
// a sample's checks, and a failure at a later sample leaves no matrix.
TEST(SampledArguments, FirstFailingCheckDecidesOverSeveralSamples) {
    const V3d x(1, 0, 0), zero(0, 0, 0);
    const std::vector<FailureCase> cases = {
        // The target has no bound: that fails before the zero aim axis is looked at.
        {"aimBoundBeforeAxes", constraint("Aim", {"/root/world/t"}, aimArgs(zero, "boundingBox")),
         "Aim Constraint Error: Aim constraint resolver target: Cannot get bounds attribute "
         "(/root/world/t)."},
        // The target reaches the base only at time 1: the second sample fails, and no matrix is kept.
        {"aimMeetsLate", constraint("Aim", {"/root/world/meets"}, aimArgs(x)),
         "Aim Constraint Error: Base and target are at same location, nowhere to aim."},
        // The target flattens only at time 1: the second sample fails after the arguments were read.
        {"orientFlattensLate",
         constraint("Orient", {"/root/world/flattens"}, {{"targetOrientation", "object"}}),
         "Orient Constraint Error: Orient constraint resolver: Imath detected zero scale in target matrix "
         "row"},
    };
    const Json children = {
        {"t", movingTarget(V3d(5, 0, 0), V3d(6, 0, 0))},
        {"meets", movingTarget(V3d(5, 1, 1), V3d(1, 1, 1))},
        {"flattens", placed({{"scale", animatedDoubles({{"0", {1, 1, 1}}, {"1", {1, 0, 1}}})}})}};
    expectFailures(children, cases);
}
