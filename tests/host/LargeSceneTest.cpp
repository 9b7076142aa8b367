// A generated scene of more than 100,000 locations cooks to the same bytes with one thread, two
// threads and in abort mode, and its peak memory stays bounded (printed for the record).
#include "host/engine/Engine.h"
#include "tests/host/HostTestSupport.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <chrono>
#include <iostream>

namespace VexilHost {
namespace {

using namespace HostTest;

constexpr int kGroups = 100;
constexpr int kLeaves = 1000;

SceneFile largeScene() {
    std::vector<SceneLocation> groups;
    for (int g = 0; g < kGroups; ++g) {
        std::vector<SceneLocation> leaves;
        leaves.reserve(kLeaves);
        for (int l = 0; l < kLeaves; ++l) {
            leaves.push_back(
                location("l" + std::to_string(l),
                         {{"type", strings({"polymesh"})},
                          {"xform", group({{"translate", doubles({double(g), double(l), 0})}})}}));
        }
        groups.push_back(location("g" + std::to_string(g), {}, std::move(leaves)));
    }
    SceneLocation root = location(
        "root", {}, {location("world", {{"list", strings({"/root/world/g0/l0"})}}, std::move(groups))});
    return sceneFile(std::move(root),
                     {op("TestMark", "/root/world", {{"label", strings({"big"})}}),
                      // Every location of g1 asks about a location of another branch.
                      op("TestQuery", "/root/world/g1",
                         {{"from", strings({"/root/world/g0/l7"})}, {"attr", strings({"seen.label"})}}),
                      op("TestCreate", "/root/world",
                         {{"parents", strings({"g2", "g3"})},
                          {"names", strings({"extra"})},
                          {"privateLabel", strings({"x"})}}),
                      op("TestWorld", "/root/world",
                         {{"at", strings({"/root/world/g4/l4"})}, {"of", strings({"/root/world/g5/l5"})}}),
                      op("TestExtend", "/root/world",
                         {{"at", strings({"/root/world"})},
                          {"name", strings({"list"})},
                          {"values", strings({"/root/world/g9/l9"})}})});
}

long peakKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST(LargeScene, SameBytesForOneAndTwoThreadsAndAbortMode) {
    const SceneFile file = largeScene();
    std::string reference;
    const struct {
        int threads;
        bool abortMode;
    } runs[] = {{1, false}, {2, false}, {2, true}};
    for (const auto& run : runs) {
        EngineOptions options;
        options.threads = run.threads;
        options.abortMode = run.abortMode;
        Engine engine(file, testRegistry(), options);
        const int64_t deletionsBefore = testDeletions();
        const auto start = std::chrono::steady_clock::now();
        const SceneLocation out = engine.cook();
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::cout << "[ cook     ] threads " << run.threads << (run.abortMode ? ", abort mode" : "") << ": "
                  << seconds << " s, " << engine.statistics().cooks << " op cooks, "
                  << engine.statistics().abortedAttempts << " aborted attempts, peak "
                  << peakKilobytes() / 1024 << " MiB" << std::endl;
        const std::string text = dump(out);
        if (reference.empty()) {
            reference = text;
            // Spot checks that the ops really ran.
            EXPECT_EQ(stringOf(out, "/root/world/g1/l999", "copied"), "big");
            EXPECT_EQ(stringOf(out, "/root/world/g3/extra", "seen.privateLabel"), "x:extra");
            EXPECT_EQ(childrenOf(out, "/root/world/g2").size(), static_cast<size_t>(kLeaves + 1));
            EXPECT_EQ(Qn::StringAttribute(attrOf(out, "/root/world", "list")).getNearestSampleStrings(0),
                      (std::vector<std::string>{"/root/world/g0/l0", "/root/world/g9/l9"}));
            const Qn::DoubleAttribute world(attrOf(out, "/root/world/g4/l4", "queried.world"));
            ASSERT_EQ(world.getNumberOfValues(), 16);
            EXPECT_EQ(world.getNearestSample(0)[12], 5.0);
            EXPECT_EQ(world.getNearestSample(0)[13], 5.0);
        } else {
            EXPECT_TRUE(text == reference) << "threads " << run.threads << " abort " << run.abortMode;
        }
        EXPECT_EQ(testDeletions() - deletionsBefore, 2);
        // Each location once per step, however many threads or aborts: world, 100 groups and 100,000
        // leaves for TestMark; g1 and its leaves for TestQuery; the same 100,101 plus the two created
        // children for each of the last three ops.
        EXPECT_EQ(engine.statistics().cooks, 100101 + 1001 + 3 * 100103);
        if (run.abortMode) {
            EXPECT_GT(engine.statistics().abortedAttempts, 0);
        }
    }
    // 100,104 locations, five op steps: a bounded amount of memory per cooked location.
    EXPECT_LT(peakKilobytes(), 4L * 1024 * 1024);
}

} // namespace
} // namespace VexilHost
