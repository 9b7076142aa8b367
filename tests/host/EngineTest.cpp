// What only the engine's own interface shows of a cook with the test op plug-ins: cook counts, refused
// op types, one path of the cooked scene, and serial and parallel cooks. What a cook writes is checked
// by the host_* scenario folders through vexil-cook.
#include "host/engine/Engine.h"
#include "tests/host/HostTestSupport.h"
#include "tests/support/ThrownMessage.h"

#include <gtest/gtest.h>

namespace VexilHost {
namespace {

using namespace HostTest;
using VexilTest::thrownMessage;

/// /root/world/{geo/{a/{a1}, b}, cam}; a carries value "A", world carries list {"/x"}.
Json testScene() {
    const Json a = {{"attrs", {{"value", strings({"A"})}}}, {"children", {{"a1", Json::object()}}}};
    const Json geo = {{"children", {{"a", a}, {"b", Json::object()}}}};
    const Json world = {{"attrs", {{"list", strings({"/x"})}}},
                        {"children", {{"geo", geo}, {"cam", {{"attrs", {{"type", strings({"camera"})}}}}}}}};
    return {{"attrs", {{"type", strings({"group"})}}}, {"children", {{"world", world}}}};
}

TEST(Engine, CreatedChildrenAreCookedOnceByEachStep) {
    // A child created on the first step is passed on by the second and asked for by path from every
    // location of the third (the host_later_ops_* scenarios check what they write).
    const SceneFile file = readScene(
        testScene(),
        {opAt("TestCreate", "/root/world", {{"parents", strings({"geo"})}, {"names", strings({"n1"})}}),
         opAt("TestMark", "/root/world/geo"),
         opAt("TestQuery", "/root/world",
              {{"from", strings({"/root/world/geo/n1"})}, {"attr", strings({"seen.label"})}})});
    for (const bool abortMode : {false, true}) {
        for (const int threads : {1, 2}) {
            EngineOptions options;
            options.abortMode = abortMode;
            options.threads = threads;
            Engine engine(file, testRegistry(), options);
            engine.cook();
            // Seven locations on the first and third steps (n1 included), five on the second.
            EXPECT_EQ(engine.statistics().cooks, 19) << abortMode << threads;
        }
    }
}

TEST(Engine, CookRefusesUnknownOpTypesAndAnswersOnePathWithItsSubtree) {
    const SceneFile unknown =
        readScene(testScene(), {opAt("TestMark", "/root"), opAt("NoSuchOp", "/root/world")});
    EXPECT_EQ(thrownMessage([&] { Engine(unknown, testRegistry()).cook(); }),
              "unknown op type \"NoSuchOp\" (op 2 of 2)");
    const SceneFile marked =
        readScene(testScene(), Json::array({opAt("TestMark", "/root", {{"label", strings({"s"})}})}));
    Engine engine(marked, testRegistry()); // reads the file while it lives
    const SceneLocation geo = engine.cook("/root/world/geo/");
    EXPECT_EQ(geo.name, "geo");
    ASSERT_EQ(geo.children.size(), 2u);
    EXPECT_EQ(Qn::StringAttribute(geo.children[0].attrs.getChildByName("seen.label")).getValue(), "s");
    EXPECT_EQ(geo.children[0].children.at(0).name, "a1");
    EXPECT_EQ(thrownMessage([&] { engine.cook("/root/world/none"); }),
              "no location /root/world/none in the cooked scene");
}

/// A cook on two threads of `opType` at "/root" over `count` leaves "/root/l0", "/root/l1", ...
SceneLocation cookLeavesOnTwoThreads(int count, const std::string& opType,
                                     CookStatistics* statistics = nullptr) {
    Json leaves = Json::object();
    for (int i = 0; i < count; ++i) {
        leaves["l" + std::to_string(i)] = Json::object();
    }
    const SceneFile file = readScene({{"children", leaves}}, Json::array({opAt(opType, "/root")}));
    EngineOptions options;
    options.threads = 2;
    Engine engine(file, testRegistry(), options);
    SceneLocation out = engine.cook();
    if (statistics != nullptr) {
        *statistics = engine.statistics();
    }
    return out;
}

TEST(Engine, SerialOpsNeverOverlap) {
    const int64_t before = testCounter("vexilTestSerialOverlaps");
    CookStatistics statistics;
    const SceneLocation out = cookLeavesOnTwoThreads(200, "TestSerial", &statistics);
    EXPECT_EQ(testCounter("vexilTestSerialOverlaps") - before, 0);
    EXPECT_EQ(intOf(out, "/root/l199", "serial"), 1);
    EXPECT_EQ(statistics.cooks, 201);
}

TEST(Engine, EveryCookOfAParallelCookRunsOnAThreadWithTheWorkersStack) {
    // The scheduler counted a calling thread with less stack than the workers' out of stack, so it
    // left the work of two threads to one worker. A parallel cook runs on a thread of its own.
    const SceneLocation out = cookLeavesOnTwoThreads(50, "TestStack");
    EXPECT_EQ(intOf(out, "/root/l49", "stacked"), 1);
    EXPECT_GE(testCounter("vexilTestSmallestStack"), int64_t(64) << 20);
}

} // namespace
} // namespace VexilHost
