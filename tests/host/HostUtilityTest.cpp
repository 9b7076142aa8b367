// The XFormUtilHost suite's entries called directly, against transforms worked out by hand: the copying
// entries, continuing from an ancestor's world, racing threads and abort mode. What an op gets through
// the plug-in side is checked by the host_world_transforms_* scenario folders.
#include "host/engine/CookContext.h"
#include "host/engine/Engine.h"
#include "host/engine/StageGraph.h"
#include "host/services/HostServices.h"
#include "tests/host/HostTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <thread>

namespace VexilHost {
namespace {

using namespace HostTest;

/// world: translate (0,0,0) at 0 -> (0,10,0) at 1; parent: rotate 90 about z, then scale 2;
/// target: translate (1,0,0) sampled at 0.5 only, unit-cube bound; lamp.001: translate (3,0,0).
/// Each step is TestMark at /root/world, once or `marks` times.
SceneFile scene(int marks = 1) {
    const Json target = {{"attrs",
                          {{"xform", {{"translate", sampledDoubles({{"0.5", {1, 0, 0}}}, 3)}}},
                           {"bound", doubles({-1, 1, -1, 1, -1, 1})}}}};
    const Json parent = {
        {"attrs", {{"xform", {{"rotate", doubles({90, 0, 0, 1})}, {"scale", doubles({2, 2, 2})}}}}},
        {"children", {{"target", target}}}};
    const Json lamp = {{"attrs", {{"xform", {{"translate", doubles({3, 0, 0})}}}}}};
    const Json world = {
        {"attrs", {{"xform", {{"translate", sampledDoubles({{"0", {0, 0, 0}}, {"1", {0, 10, 0}}}, 3)}}}}},
        {"children", {{"parent", parent}, {"lamp.001", lamp}, {"probe", Json::object()}}}};
    return readScene({{"children", {{"world", world}}}},
                     Json(static_cast<size_t>(marks), opAt("TestMark", "/root/world")));
}

using Rows = std::array<double, 16>;

TEST(HostUtilities, LocalTransformOfAnXformGroupAtSortedDistinctTimes) {
    const XFormUtilHostSuite* suite = xformUtilSuite();
    const Qn::GroupAttribute xform =
        decoded({{"translate", sampledDoubles({{"0", {0, 0, 0}}, {"1", {4, 0, 0}}}, 3)},
                 {"scale", doubles({1, 2, 1})}});
    const float times[] = {1.0f, 0.25f, 1.0f};
    const Qn::DoubleAttribute local(
        Qn::Attribute::adopt(suite->getLocalXformAtTimes(xform.getHandle(), times, 3)));
    ASSERT_TRUE(local.isValid());
    EXPECT_EQ(local.getTupleSize(), 16);
    EXPECT_EQ(local.getSampleTimes(), (std::vector<float>{0.25f, 1.0f}));
    // L = S * T: points are scaled first and then translated, so the translation row is the
    // interpolated (1,0,0) itself.
    const auto quarter = local.getNearestSample(0.25f);
    const std::vector<double> expected = {1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1};
    EXPECT_EQ(std::vector<double>(quarter.begin(), quarter.end()), expected);
    EXPECT_EQ(suite->getLocalXformAtTimes(xform.getHandle(), times, 0), nullptr);
}

/// A cook of step `stage` at `at`, made by hand so that the suite's entries can be called directly.
struct DirectCook {
    DirectCook(SceneFile sceneFile, bool abortMode, int stage, std::string at)
        : file(std::move(sceneFile)), graph(file, testRegistry(), abortMode), path(std::move(at)),
          context(graph, stage, path, Traversal{}, graph.locate(stage - 1, path)) {}
    SceneFile file; ///< the graph reads it while it lives
    StageGraph graph;
    std::string path;
    CookContext context;
};

const float kSentinel = -99.0f;

TEST(HostUtilities, CopiedTimesAreEntryZerosAndCountWhatDidNotFit) {
    DirectCook cook(scene(), false, 1, "/root/world/probe");
    const XFormUtilHostSuite* suite = xformUtilSuite();
    struct Case {
        const char* path;
        int32_t inputIndex;
        int64_t capacity;
        int64_t count;
        std::vector<float> times; ///< all of them, as entry 0 gives them
    };
    const Case cases[] = {
        {"/root/world/parent/target", -1, 4, 3, {0.0f, 0.5f, 1.0f}},
        {"/root/world/parent/target", 0, 2, 3, {0.0f, 0.5f, 1.0f}}, // too small: the count, to ask again
        {"/root/world/lamp.001", -1, 4, 2, {0.0f, 1.0f}},
        {"/root/world/missing", -1, 4, 1, {0.0f}}, // nothing sampled: the current time
        {"/root/world/parent/target", 3, 4, -1, {}},
    };
    for (const Case& c : cases) {
        float buffer[4] = {kSentinel, kSentinel, kSentinel, kSentinel};
        const int32_t length = static_cast<int32_t>(std::strlen(c.path));
        uint8_t abort = 0;
        EXPECT_EQ(suite->copyWorldXformSampleTimes(cook.context.handle(), c.path, length, c.inputIndex,
                                                   nullptr, buffer, c.capacity, &abort),
                  c.count)
            << c.path;
        std::vector<float> written(4, kSentinel);
        std::copy_n(c.times.begin(), std::min<size_t>(c.times.size(), static_cast<size_t>(c.capacity)),
                    written.begin());
        EXPECT_EQ(std::vector<float>(buffer, buffer + 4), written) << c.path;
        EXPECT_EQ(abort, 0);
        EXPECT_EQ(suite->copyWorldXformSampleTimes(cook.context.handle(), c.path, length, c.inputIndex,
                                                   nullptr, nullptr, 0, &abort),
                  c.count)
            << c.path;
        const Qn::FloatAttribute old(Qn::Attribute::adopt(suite->getWorldXformSampleTimes(
            cook.context.handle(), c.path, length, c.inputIndex, nullptr, &abort)));
        EXPECT_EQ(old.isValid(), c.count >= 0) << c.path;
        const auto values = old.getNearestSample(0.0f);
        EXPECT_EQ(std::vector<float>(values.begin(), values.end()), c.times) << c.path;
    }
}

TEST(HostUtilities, CopiedMatricesAreEntryOnesInTheOrderAsked) {
    const Qn::GroupAttribute overrides =
        decoded({{"/root/world/parent", {{"translate", doubles({0, 0, 5})}}}});
    struct Case {
        const char* at; ///< the cooked location: asking for it takes the host's own-location way
        const char* path;
        QnAttributeHandle overrides;
        std::vector<float> times;
        std::vector<Rows> matrices; ///< none: the entry answers 0
    };
    const Rows turned0 = {0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 2, 0, 0, 2, 0, 1};
    const Rows turned1 = {0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 2, 0, 0, 12, 0, 1};
    const Rows moved = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 5, 5, 1};
    const Rows moved1 = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 10, 5, 1};
    const char* probe = "/root/world/probe";
    const char* target = "/root/world/parent/target";
    const Case cases[] = {
        {probe, target, nullptr, {1.0f, 0.0f, 1.0f}, {turned1, turned0, turned1}},
        {target, target, nullptr, {1.0f, 0.0f}, {turned1, turned0}},
        {probe, target, overrides.getHandle(), {1.0f, 0.5f}, {moved1, moved}},
        {probe, "/root/world/missing", nullptr, {0.0f}, {}},
        {probe, target, nullptr, {}, {}},
    };
    const XFormUtilHostSuite* suite = xformUtilSuite();
    for (const Case& c : cases) {
        DirectCook cook(scene(), false, 1, c.at);
        const int32_t length = static_cast<int32_t>(std::strlen(c.path));
        const int64_t n = static_cast<int64_t>(c.times.size());
        std::vector<double> out(16 * c.times.size() + 1, 7.0);
        uint8_t abort = 0;
        ASSERT_EQ(suite->copyWorldXformAtTimes(cook.context.handle(), c.path, length, -1, c.times.data(), n,
                                               c.overrides, out.data(), &abort),
                  c.matrices.empty() ? 0 : 1)
            << c.at << " " << c.path;
        EXPECT_EQ(abort, 0);
        EXPECT_EQ(out.back(), 7.0) << "nothing written past the last matrix";
        const Qn::DoubleAttribute old(Qn::Attribute::adopt(suite->getWorldXformAtTimes(
            cook.context.handle(), c.path, length, -1, c.times.data(), n, c.overrides, &abort)));
        EXPECT_EQ(old.isValid(), !c.matrices.empty());
        for (size_t m = 0; m < c.matrices.size(); ++m) {
            const auto sample = old.getNearestSample(c.times[m]);
            for (size_t i = 0; i < 16; ++i) {
                EXPECT_NEAR(out[16 * m + i], c.matrices[m][i], 1e-12) << c.at << " sample " << m << " " << i;
                // Bit for bit what entry 1 gives for that time.
                EXPECT_EQ(out[16 * m + i], sample[static_cast<int64_t>(i)]) << c.at << " sample " << m;
            }
        }
    }
}

TEST(HostUtilities, WorldsContinueFromAGivenAncestorWorld) {
    DirectCook cook(scene(), false, 1, "/root/world/probe");
    const XFormUtilHostSuite* suite = xformUtilSuite();
    const char* target = "/root/world/parent/target";
    const int32_t length = static_cast<int32_t>(std::strlen(target));
    // Times of the operations below an ancestor only: the parent's are at 0, the target's at 0.5; the world's
    // 0 and 1 come in only with the whole chain. An ancestor must end before a slash of the path.
    const struct {
        int32_t ancestorLength;
        int64_t count;
        std::vector<float> times;
    } timeCases[] = {
        {0, 3, {0.0f, 0.5f, 1.0f}}, {11, 2, {0.0f, 0.5f}}, {18, 1, {0.5f}}, {9, -1, {}}, {length, -1, {}}};
    for (const auto& c : timeCases) {
        float buffer[4] = {kSentinel, kSentinel, kSentinel, kSentinel};
        uint8_t abort = 0;
        ASSERT_EQ(suite->copyWorldXformSampleTimesBelow(cook.context.handle(), target, length,
                                                        c.ancestorLength, -1, nullptr, buffer, 4, &abort),
                  c.count)
            << c.ancestorLength;
        EXPECT_EQ(std::vector<float>(buffer, buffer + std::max<int64_t>(c.count, 0)), c.times);
    }
    // From the parent's world at 0 and 1 as entry 4 gives it, the target's world is bit for bit entry 4's;
    // from the identity, only the target's own (1,0,0) remains.
    const float times[2] = {0.0f, 1.0f};
    const Rows identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    double whole[32];
    double given[32];
    uint8_t abort = 0;
    ASSERT_EQ(suite->copyWorldXformAtTimes(cook.context.handle(), target, length, -1, times, 2, nullptr,
                                           whole, &abort),
              1);
    ASSERT_EQ(
        suite->copyWorldXformAtTimes(cook.context.handle(), target, 18, -1, times, 2, nullptr, given, &abort),
        1);
    double continued[32];
    ASSERT_EQ(suite->copyWorldXformAtTimesBelow(cook.context.handle(), target, length, 18, -1, times, 2,
                                                given, nullptr, continued, &abort),
              1);
    EXPECT_EQ(std::vector<double>(continued, continued + 32), std::vector<double>(whole, whole + 32));
    std::vector<double> identities(identity.begin(), identity.end());
    identities.insert(identities.end(), identity.begin(), identity.end());
    ASSERT_EQ(suite->copyWorldXformAtTimesBelow(cook.context.handle(), target, length, 18, -1, times, 2,
                                                identities.data(), nullptr, continued, &abort),
              1);
    EXPECT_EQ(continued[12], 1.0);
    EXPECT_EQ(continued[13], 0.0);
    EXPECT_EQ(suite->copyWorldXformAtTimesBelow(cook.context.handle(), target, length, 9, -1, times, 2,
                                                identities.data(), nullptr, continued, &abort),
              0);
}

TEST(HostUtilities, OwnLocationAnswersAgreeAcrossThreadsRacingOnTheFirstQuery) {
    // Every thread asks at once, so that several may look the parent's transform up first.
    DirectCook cook(scene(), false, 1, "/root/world/parent/target");
    const XFormUtilHostSuite* suite = xformUtilSuite();
    const Rows turned0 = {0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 2, 0, 0, 2, 0, 1};
    const Rows turned1 = {0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 2, 0, 0, 12, 0, 1};
    constexpr int kThreads = 8;
    std::vector<int> failures(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 50; ++round) {
                float times[4] = {kSentinel, kSentinel, kSentinel, kSentinel};
                uint8_t abort = 0;
                // The empty path and the full one both name the cook's own location.
                const char* path = round % 2 == 0 ? "" : "/root/world/parent/target";
                const int32_t length = static_cast<int32_t>(std::strlen(path));
                const int64_t count = suite->copyWorldXformSampleTimes(cook.context.handle(), path, length,
                                                                       t % 2 - 1, nullptr, times, 4, &abort);
                double matrices[32] = {};
                const float asked[2] = {0.0f, 1.0f};
                const uint8_t copied = suite->copyWorldXformAtTimes(cook.context.handle(), path, length, -1,
                                                                    asked, 2, nullptr, matrices, &abort);
                bool same = count == 3 && times[0] == 0.0f && times[1] == 0.5f && times[2] == 1.0f &&
                            times[3] == kSentinel && copied == 1 && abort == 0;
                for (size_t i = 0; i < 16; ++i) {
                    same = same && std::abs(matrices[i] - turned0[i]) < 1e-12 &&
                           std::abs(matrices[16 + i] - turned1[i]) < 1e-12;
                }
                failures[static_cast<size_t>(t)] += same ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, std::vector<int>(kThreads, 0));
    // An input index no query accepts is refused for the own location as for any other.
    uint8_t abort = 0;
    EXPECT_EQ(suite->copyWorldXformSampleTimes(cook.context.handle(), "", 0, 3, nullptr, nullptr, 0, &abort),
              -1);
}

TEST(HostUtilities, CopiesAbortForALocationNotCookedYetAndAnswerOnceItIs) {
    // Step 2 reads step 1, which abort mode does not cook on demand.
    const SceneFile file = scene(2);
    const char* target = "/root/world/parent/target";
    for (bool cooked : {false, true}) {
        DirectCook cook(file, true, 2, "/root/world/probe");
        if (cooked) {
            cook.graph.locate(1, target);
        }
        float times[4] = {kSentinel, kSentinel, 1.0f, kSentinel};
        double matrix[16] = {};
        uint8_t abortTimes = 0, abortMatrix = 0;
        const XFormUtilHostSuite* suite = xformUtilSuite();
        EXPECT_EQ(suite->copyWorldXformSampleTimes(cook.context.handle(), target, 25, -1, nullptr, times, 4,
                                                   &abortTimes),
                  cooked ? 3 : -1);
        EXPECT_EQ(times[0], cooked ? 0.0f : kSentinel);
        EXPECT_EQ(suite->copyWorldXformAtTimes(cook.context.handle(), target, 25, -1, times + 2, 1, nullptr,
                                               matrix, &abortMatrix),
                  cooked ? 1 : 0);
        EXPECT_EQ(abortTimes + abortMatrix, cooked ? 0 : 2);
        EXPECT_EQ(matrix[13], cooked ? 12.0 : 0.0); // the target's origin at time 1 is (0, 12, 0)
    }
}

} // namespace
} // namespace VexilHost
