// vexil-cook --explain: the account of one location, checked against values worked out by hand.
#include "PictureTestSupport.h"

#include "CookTestSupport.h"

#include <gtest/gtest.h>

using namespace VexilPictureTest;
using VexilTest::Json;

namespace {

std::string example(const char* name) {
    return std::string(VEXIL_EXAMPLES_DIR) + "/" + name;
}

Json located(const Imath::V3d& at, const Json& extra = Json::object()) {
    Json attrs{{"type", "group"}, {"xform", VexilTest::translateXform(at)}};
    for (const auto& [name, value] : extra.items()) {
        attrs[name] = value;
    }
    return {{"attrs", attrs}};
}

Json constrained(const Imath::V3d& at, const std::vector<std::string>& targets, int allowMissing,
                 int requireBounds) {
    Json location = located(at);
    location["attrs"]["xform"]["constraint"] = {
        {"type", "Point"},
        {"target", targets},
        {"allowMissingTargets", {{"int", allowMissing}}},
        {"requireTargetBounds", {{"int", requireBounds}}},
        {"args", {{"targetOrigin", "origin"}, {"baseOrigin", "origin"}}}};
    return location;
}

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

// point_follow: the follower at (10, 0, 0) is point-constrained to a target moving from the origin to
// (4, 2, 0) over the shutter, so the appended matrices are translations by (-10, 0, 0) and (-6, 2, 0).
TEST(Explain, PointConstraintWithMotionBlur) {
    const RunResult run = runCook({"--explain", "/root/world/follower", example("point_follow.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(
        run.out,
        "Location /root/world/follower\n"
        "  type: group\n"
        "  world transform before (input scene):\n"
        "    at 0: position (10, 0, 0)  [1 0 0 0 | 0 1 0 0 | 0 0 1 0 | 10 0 0 1]\n"
        "  constraints, in order:\n"
        "    1. constraint: type Point\n"
        "       targets:\n"
        "         /root/world/target: kept\n"
        "       switches: allowMissingTargets 0, requireTargetBounds 0, respectMotionBlur 1\n"
        "       arguments:\n"
        "         args.targetOrigin: \"origin\"\n"
        "         args.baseOrigin: \"origin\"\n"
        "       transform sample times: this location 0; /root/world/target 0, 0.5\n"
        "       respectMotionBlur 1: evaluated at these times and those of target geometry, times closer "
        "than 0.001 merged\n"
        "       evaluated at: 0, 0.5\n"
        "       result (resolvedconstraint.matrix), appended to the location's transform:\n"
        "         at 0: [1 0 0 0 | 0 1 0 0 | 0 0 1 0 | -10 0 0 1]\n"
        "         at 0.5: [1 0 0 0 | 0 1 0 0 | 0 0 1 0 | -6 2 0 1]\n"
        "  attributes changed by resolution: none\n"
        "  warnings: none\n"
        "  world transform after:\n"
        "    at 0: position (0, 0, 0)  [1 0 0 0 | 0 1 0 0 | 0 0 1 0 | 0 0 0 1]\n"
        "    at 0.5: position (4, 2, 0)  [1 0 0 0 | 0 1 0 0 | 0 0 1 0 | 4 2 0 1]\n");
    EXPECT_EQ(run.err, "vexil-cook: 4 locations cooked, 0 with errors, 0 with warnings\n");
}

// Targets kept and dropped, each with its reason, and a failing constraint with its error.
TEST(Explain, TargetsKeptDroppedOrMissingAndErrors) {
    const ScratchFolder scratch;
    const Json children{
        {"good", located({2, 0, 0}, {{"bound", VexilTest::doubles({-1, 1, -1, 1, -1, 1})}})},
        {"nobound", located({5, 0, 0})},
        {"a", constrained({0, 0, 0}, {"/root/world/missing", "../nobound", "/root/world/good"}, 1, 1)},
        {"b", constrained({0, 3, 0}, {"/root/world/missing"}, 0, 0)}};
    const std::string scene =
        scratch.write("targets.json", VexilTest::sceneFile(children, VexilTest::resolveOps()).dump());

    const RunResult a = runCook({"--explain", "/root/world/a", scene});
    ASSERT_EQ(a.status, 0) << a.err;
    EXPECT_TRUE(has(a.out,
                    "       targets:\n"
                    "         /root/world/missing: dropped: no such location, skipped because "
                    "allowMissingTargets is on\n"
                    "         /root/world/nobound (written ../nobound): dropped: it has no bound and "
                    "requireTargetBounds is on\n"
                    "         /root/world/good: kept\n"
                    "       switches: allowMissingTargets 1, requireTargetBounds 1, respectMotionBlur 1\n"))
        << a.out;
    EXPECT_TRUE(has(a.out, "         at 0: [1 0 0 0 | 0 1 0 0 | 0 0 1 0 | 2 0 0 1]\n")) << a.out;
    EXPECT_TRUE(has(a.out,
                    "  warnings:\n    Constraint target (/root/world/nobound) was found but has no bound "
                    "attribute and is therefore being ignored.\n"))
        << a.out;
    EXPECT_TRUE(has(a.out, "  world transform after:\n    at 0: position (2, 0, 0)")) << a.out;

    const RunResult b = runCook({"--explain", "/root/world/b", scene});
    ASSERT_EQ(b.status, 0) << b.err;
    const std::string message =
        "Point Constraint Error: Constraint target (/root/world/missing) was not found.";
    EXPECT_TRUE(has(b.out,
                    "         /root/world/missing: not found: no such location, so the constraint fails "
                    "(allowMissingTargets is off)\n"))
        << b.out;
    EXPECT_TRUE(has(b.out, "       result (resolvedconstraint): error: " + message + "\n")) << b.out;
    EXPECT_TRUE(has(b.out, "  attributes changed by resolution: none\n  error:\n    " + message + "\n"))
        << b.out;
    EXPECT_TRUE(has(b.out, "  world transform after:\n    at 0: position (0, 3, 0)")) << b.out;
}

// A camera constraint changes attributes rather than the transform: crate bound ±1 at z = -10 gives
// depths 9 to 11, and pads of 10 % of that range give near 8.8 and far 11.2.
TEST(Explain, CameraConstraintListsTheAttributesItChanged) {
    const RunResult run = runCook({"--explain", "/root/world/cam", example("camera_clipping.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(has(run.out, "    1. constraint: type Clipping\n")) << run.out;
    EXPECT_TRUE(
        has(run.out, "         args.pad.near: {\"float\": 10}\n         args.pad.far: {\"float\": 10}\n"))
        << run.out;
    EXPECT_TRUE(has(run.out, "       result (resolvedconstraint): no matrix: the constraint changes the "
                             "location's attributes instead (see below)\n"))
        << run.out;
    EXPECT_TRUE(has(run.out, "    geometry.near: {\"double\": 0.1} -> {\"double\": 8.8}\n")) << run.out;
    EXPECT_TRUE(has(run.out, "-> {\"double\": 11.2}\n")) << run.out;
}

TEST(Explain, LocationsWithoutConstraintsOrWithoutResolution) {
    const struct {
        const char* example;
        const char* path;
        const char* expected;
    } cases[] = {
        {"point_follow.json", "/root/world/target",
         "  constraints: none\n  warnings: none\n  world transform after:\n"
         "    at 0: position (0, 0, 0)  [1 0 0 0 | 0 1 0 0 | 0 0 1 0 | 0 0 0 1]\n"
         "    at 0.5: position (4, 2, 0)  [1 0 0 0 | 0 1 0 0 | 0 0 1 0 | 4 2 0 1]\n"},
        {"transform_chain.json", "/root/world/arm/pending",
         "       transform sample times: this location 0, 1; /root/world/arm 0, 1\n"},
        {"transform_chain.json", "/root/world/arm/pending",
         "       result: not resolved: the op chain has no ConstraintResolve op\n"},
        // The hand's translate (0, 2, 0), written last, applies first; the 90° turn about z takes it to
        // (-2, 0, 0), and the arm at (1, 0, 0) at time 0 adds its own offset.
        {"transform_chain.json", "/root/world/arm/hand",
         "    at 0: position (-1, 0, 0)  [0 1 0 0 | -1 0 0 0 | 0 0 1 0 | -1 0 0 1]\n"},
    };
    for (const auto& c : cases) {
        const RunResult run = runCook({"--explain", c.path, example(c.example)});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_TRUE(has(run.out, c.expected)) << c.example << " " << c.path << ":\n" << run.out;
    }
}

TEST(Explain, UnknownLocationFails) {
    const std::string scene = example("point_follow.json");
    const RunResult run = runCook({"--explain", "/root/world/nobody", scene});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "vexil-cook ERROR: " + scene +
                           ": --explain /root/world/nobody: no such location in the cooked scene\n");
}
