// The constraint framework end to end: Point constraints cooked through vexil-cook with the real
// plug-in, checked against positions worked out by hand.
#include "CookTestSupport.h"

#include <gtest/gtest.h>

using namespace VexilTest;

namespace {

Json pointConstraint(const Json& targets, const Json& extra = Json::object()) {
    Json constraint = {{"type", "Point"},
                       {"target", targets},
                       {"args", {{"targetOrigin", "origin"}, {"baseOrigin", "origin"}}}};
    for (auto it = extra.begin(); it != extra.end(); ++it) {
        constraint[it.key()] = it.value();
    }
    return constraint;
}

Json located(const Imath::V3d& t, const Json& constraints = Json::object()) {
    Json xform = translateXform(t);
    for (auto it = constraints.begin(); it != constraints.end(); ++it) {
        xform[it.key()] = it.value();
    }
    return {{"attrs", {{"type", "group"}, {"xform", xform}}}, {"children", Json::object()}};
}

Json listAttrs(const std::vector<std::string>& paths) {
    return {{"globals", {{"constraintList", paths}}}};
}

Imath::V3d position(const Json& cooked, const std::string& path, float time = 0.0f) {
    Imath::M44d m = world(cooked, path, time);
    return Imath::V3d(m[3][0], m[3][1], m[3][2]);
}

CookResult cookWorld(const Json& children, const Json& worldAttrs = Json::object(),
                     const std::vector<std::string>& arguments = {"--world"}) {
    CookResult result = cook(sceneFile(children, resolveOps(), 0.0f, 0.0f, 1, worldAttrs), arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result;
}

const double kTolerance = 1e-12;

} // namespace

struct MessageCase {
    const char* name;
    Json constraint;
    const char* errorMessage;   // "" for none
    const char* warningMessage; // "" for none
};

TEST(ResolveFramework, AFailingConstraintBesideAWorkingOne) {
    Json constraints = {{"constraint", pointConstraint({"/root/world/t"})},
                        {"constraint1", pointConstraint({"/root/world/t"}, {{"type", "Bogus"}})}};
    Json children = {{"t", located({4, 0, 0})}, {"a", located({0, 0, 0}, constraints)}};
    CookResult result = cookWorld(children);
    EXPECT_EQ(stringValue(result.scene, "/root/world/a", "errorMessage"),
              "Bogus Constraint Error: 'Bogus' is an invalid constraint type.");
    EXPECT_EQ(stringValue(result.scene, "/root/world/a", "type"), "error");
    EXPECT_EQ(stringValue(result.scene, "/root/world/a", "xform.resolvedconstraint1.errorMessage"),
              "Bogus Constraint Error: 'Bogus' is an invalid constraint type.");
    EXPECT_LT((position(result.scene, "/root/world/a") - Imath::V3d(4, 0, 0)).length(), kTolerance);
}

TEST(ResolveFramework, NearSampleTimesMergeAndMotionBlurCanBeIgnored) {
    Json animated = {
        {"translate",
         animatedDoubles(
             {{"0", {0, 0, 0}}, {"0.0005", {1, 0, 0}}, {"0.0009", {2, 0, 0}}, {"0.5", {3, 0, 0}}})}};
    Json chained = {
        {"translate", animatedDoubles({{"0", {0, 0, 0}}, {"0.0008", {1, 0, 0}}, {"0.0016", {2, 0, 0}}})}};
    Json children = {
        {"t", {{"attrs", {{"xform", animated}}}}},
        {"c", {{"attrs", {{"xform", chained}}}}},
        {"a", located({0, 0, 0}, {{"constraint", pointConstraint({"/root/world/t"})}})},
        {"b", located({0, 0, 0}, {{"constraint", pointConstraint({"/root/world/c"})}})},
        {"still", located({0, 0, 0}, {{"constraint", pointConstraint({"/root/world/t"},
                                                                     {{"respectMotionBlur", ints({0})}})}})}};
    CookResult result = cookWorld(children);
    auto matrixTimes = [&](const std::string& path) {
        std::vector<float> times;
        for (const auto& entry : samples(attribute(result.scene, path, "xform.resolvedconstraint.matrix"))) {
            times.push_back(entry.first);
        }
        return times;
    };
    EXPECT_EQ(matrixTimes("/root/world/a"), (std::vector<float>{0.0f, 0.5f}));
    EXPECT_EQ(matrixTimes("/root/world/b"), (std::vector<float>{0.0f, 0.0016f}));
    EXPECT_EQ(matrixTimes("/root/world/still"), (std::vector<float>{0.0f}));
}

TEST(ResolveFramework, BoundIsDeletedOnStrictAncestorsOnly) {
    Json bound = doubles({-1, 1, -1, 1, -1, 1});
    Json children = {
        {"t", located({0, 0, 0})},
        {"geo", {{"attrs", {{"bound", bound}}}}},
        {"geometry",
         {{"attrs", {{"bound", bound}}},
          {"children",
           {{"a",
             {{"attrs",
               {{"bound", bound}, {"xform", {{"constraint", pointConstraint({"/root/world/t"})}}}}}}}}}}}};
    Json worldAttrs = listAttrs({"/root/world/geometry/a/"});
    worldAttrs["bound"] = bound;
    CookResult result = cookWorld(children, worldAttrs);
    EXPECT_TRUE(attribute(result.scene, "/root/world", "bound").is_null());
    EXPECT_TRUE(attribute(result.scene, "/root/world/geometry", "bound").is_null());
    EXPECT_FALSE(attribute(result.scene, "/root/world/geo", "bound").is_null());
    EXPECT_FALSE(attribute(result.scene, "/root/world/geometry/a", "bound").is_null());
    // The list moved from globals to info.
    EXPECT_TRUE(attribute(result.scene, "/root/world", "globals.constraintList").is_null());
    EXPECT_EQ(stringValue(result.scene, "/root/world", "info.constraintList"), "/root/world/geometry/a/");
}

TEST(ResolveFramework, DependentConstraintsSeeResolvedTransforms) {
    // t is at (5,0,0). a follows t; b follows a; c (below p, which follows t2) follows b along y only.
    Json children = {
        {"t", located({5, 0, 0})},
        {"t2", located({0, 0, 7})},
        {"a", located({1, 0, 0}, {{"constraint", pointConstraint({"/root/world/a/../t"})}})},
        {"b", located({0, 3, 0}, {{"constraint", pointConstraint({"/root/world/a"})}})},
        {"p",
         {{"attrs",
           {{"xform",
             {{"translate", doubles({0, 0, 1})}, {"constraint", pointConstraint({"/root/world/t2"})}}}}},
          {"children",
           {{"c", located({0, 0, 1}, {{"constraint", pointConstraint({"/root/world/b"},
                                                                     {{"args",
                                                                       {{"targetOrigin", "origin"},
                                                                        {"baseOrigin", "origin"},
                                                                        {"xAxis", ints({0})},
                                                                        {"zAxis", ints({0})}}}})}})}}}}}};
    CookResult result = cookWorld(
        children, listAttrs({"/root/world/a", "/root/world/b", "/root/world/p", "/root/world/p/c"}));
    EXPECT_LT((position(result.scene, "/root/world/a") - Imath::V3d(5, 0, 0)).length(), kTolerance);
    EXPECT_LT((position(result.scene, "/root/world/b") - Imath::V3d(5, 0, 0)).length(), kTolerance);
    EXPECT_LT((position(result.scene, "/root/world/p") - Imath::V3d(0, 0, 7)).length(), kTolerance);
    // c keeps x and z of its own world position (under the resolved p: z = 7 + 1) and takes b's y (0).
    EXPECT_LT((position(result.scene, "/root/world/p/c") - Imath::V3d(0, 0, 8)).length(), kTolerance);

    // The same scene with the list in the wrong order: b needs a, which the list puts after it.
    CookResult wrong = cookWorld(children, listAttrs({"/root/world/b", "/root/world/a"}));
    EXPECT_EQ(stringValue(wrong.scene, "/root/world/b", "errorMessage"),
              "Point Constraint Error: Constraint list not sufficient to resolve constraint dependencies.");
    EXPECT_EQ(stringValue(wrong.scene, "/root/world/a", "errorMessage"), "");
}

TEST(ResolveFramework, ACycleFailsOnEveryLocationInvolved) {
    Json children = {{"x", located({1, 0, 0}, {{"constraint", pointConstraint({"/root/world/y"})}})},
                     {"y", located({2, 0, 0}, {{"constraint", pointConstraint({"/root/world/z"})}})},
                     {"z", located({3, 0, 0}, {{"constraint", pointConstraint({"/root/world/x"})}})},
                     {"free", located({4, 0, 0}, {{"constraint", pointConstraint({"/root/world/t"})}})},
                     {"t", located({6, 0, 0})}};
    const std::vector<std::string> list = {"/root/world/x", "/root/world/y", "/root/world/z",
                                           "/root/world/free"};
    CookResult result = cookWorld(children, listAttrs(list));
    for (const char* path : {"/root/world/x", "/root/world/y", "/root/world/z"}) {
        EXPECT_EQ(
            stringValue(result.scene, path, "errorMessage"),
            "Point Constraint Error: Constraint list not sufficient to resolve constraint dependencies.")
            << path;
    }
    EXPECT_LT((position(result.scene, "/root/world/free") - Imath::V3d(6, 0, 0)).length(), kTolerance);
}

TEST(ResolveFramework, ALaterConstraintSeesWhatAnEarlierOneDidToTheSameCamera) {
    // FOV fits the cube [-1,1]^3 seen from z = 10 (nearest face at distance 9: tan(fov/2) = 1/9);
    // Dolly then finds the cube already fitting that new fov, so the camera stays where it is.
    auto camera = [](bool withFov) {
        Json args = {{"targetBounds", "box"}, {"angleOffset", floats({0})}};
        Json xform = translateXform({0, 0, 10});
        if (withFov) {
            xform["constraint"] = {{"type", "FOV"}, {"target", {"/root/world/cube"}}, {"args", args}};
        }
        xform["constraint1"] = {{"type", "Dolly"}, {"target", {"/root/world/cube"}}, {"args", args}};
        Json geometry = {{"left", doubles({-1})}, {"right", doubles({1})}, {"bottom", doubles({-1})},
                         {"top", doubles({1})},   {"fov", doubles({90})},  {"projection", "perspective"}};
        return Json{{"attrs", {{"type", "camera"}, {"xform", xform}, {"geometry", geometry}}}};
    };
    Json cube = {{"attrs", {{"type", "polymesh"}, {"bound", doubles({-1, 1, -1, 1, -1, 1})}}}};
    CookResult fitted = cookWorld({{"cube", cube}, {"cam", camera(true)}});
    EXPECT_EQ(stringValue(fitted.scene, "/root/world/cam", "errorMessage"), "");
    const double fov = samples(attribute(fitted.scene, "/root/world/cam", "geometry.fov")).at(0.0f).at(0);
    EXPECT_NEAR(fov, 2.0 * std::atan(1.0 / 9.0) * 180.0 / M_PI, 1e-9);
    EXPECT_LT((position(fitted.scene, "/root/world/cam") - Imath::V3d(0, 0, 10)).length(), 1e-9);

    // Without the FOV constraint the 90 degree camera dollies in towards the cube.
    CookResult dollied = cookWorld({{"cube", cube}, {"cam", camera(false)}});
    EXPECT_LT(position(dollied.scene, "/root/world/cam").z, 9.0);
}

// Production sizes: a rope of 100,000 links, each following the one before and listed in that order,
// and locations nested as deep as a scene file may nest them, each listed below its parent. Every link
// ends where the first one is; every nested level sits on the target. Cooked with one and two threads:
// the dependencies are resolved without recursion, so neither runs out of stack. Under the sanitizers,
// whose every step costs many times more (and whose frames are larger), the rope has 10,000 links.
TEST(ResolveFramework, LongChainsAndDeepNestingsResolve) {
#ifdef VEXIL_SANITIZED_BUILD
    constexpr int kLinks = 10000;
#else
    constexpr int kLinks = 100000;
#endif
    Json links = Json::object();
    links["l0"] = {
        {"attrs", {{"xform", {{"translate", animatedDoubles({{"0", {1, 2, 3}}, {"0.5", {2, 2, 3}}})}}}}}};
    std::vector<std::string> chainList;
    for (int i = 1; i <= kLinks; ++i) {
        const std::string previous = "/root/world/l" + std::to_string(i - 1);
        links["l" + std::to_string(i)] =
            located({double(i), 0, 0}, {{"constraint", pointConstraint({previous})}});
        chainList.push_back("/root/world/l" + std::to_string(i));
    }
    const Json chain = sceneFile(links, resolveOps(), 0.0f, 0.5f, 2, listAttrs(chainList));

    constexpr int kLevels = 1000;
    Json level = Json::object();
    std::vector<std::string> nestList;
    std::string path = "/root/world";
    for (int i = 0; i < kLevels; ++i) {
        path += "/n";
        nestList.push_back(path);
    }
    for (int i = 0; i < kLevels; ++i) {
        Json next = located({1, 0, 0}, {{"constraint", pointConstraint({"/root/world/t"})}});
        if (!level.empty()) {
            next["children"] = {{"n", level}};
        }
        level = next;
    }
    const Json nesting = sceneFile({{"t", located({0, 5, 0})}, {"n", level}}, resolveOps(), 0.0f, 0.0f, 1,
                                   listAttrs(nestList));

    for (const char* threads : {"1", "2"}) {
        const std::string last = chainList.back();
        CookResult cooked = cook(chain, {"--world", "--threads", threads, "--location", last});
        ASSERT_EQ(cooked.exitCode, 0) << cooked.err;
        const Json& lastLink = cooked.scene["scene"]["attrs"]["world"]["double"];
        EXPECT_EQ(lastLink["0"][12], 1.0) << threads;
        EXPECT_EQ(lastLink["0.5"][12], 2.0) << threads;
        EXPECT_EQ(lastLink["0.5"][13], 2.0) << threads;
        EXPECT_EQ(lastLink["0.5"][14], 3.0) << threads;

        cooked = cook(nesting, {"--world", "--threads", threads, "--location", nestList.back()});
        ASSERT_EQ(cooked.exitCode, 0) << cooked.err;
        const Json& deepest = cooked.scene["scene"]["attrs"]["world"]["double"];
        EXPECT_NEAR(deepest[12].get<double>(), 0.0, kTolerance) << threads;
        EXPECT_NEAR(deepest[13].get<double>(), 5.0, kTolerance) << threads;
        EXPECT_EQ(cooked.scene["scene"]["attrs"].count("errorMessage"), 0u) << threads;
    }
}
