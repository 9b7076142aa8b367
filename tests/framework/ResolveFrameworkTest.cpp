// The constraint framework at production sizes: a long rope of dependent constraints and a deep
// nesting, cooked through vexil-cook with the real plug-in. The framework's behaviour on small scenes
// (list order, sample times, bounds, failures beside working constraints) is in the scenario folders
// tests/scenarios/framework_*.
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

const double kTolerance = 1e-12;

} // namespace

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
        {"attrs", {{"xform", {{"translate", {{"double", {{"0", {1, 2, 3}}, {"0.5", {2, 2, 3}}}}}}}}}}};
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
