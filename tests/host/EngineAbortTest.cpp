// Abort mode: the first query of a location not cooked yet aborts the asking cook, the host cooks that
// location and then the asker again. An aborted attempt must leave nothing behind.
#include "host/engine/Engine.h"
#include "tests/host/HostTestSupport.h"

#include <gtest/gtest.h>

namespace VexilHost {
namespace {

using namespace HostTest;

Json scene() {
    const Json a = {{"attrs", {{"value", strings({"A"})}}}, {"children", {{"a1", Json::object()}}}};
    const Json geo = {{"attrs", {{"xform", {{"translate", doubles({1, 2, 3})}}}}},
                      {"children", {{"a", a}, {"b", {{"attrs", {{"value", strings({"B"})}}}}}}}};
    const Json cam = {{"attrs", {{"bound", doubles({-1, 1, -1, 1, -1, 1})}}}};
    const Json world = {{"attrs", {{"list", strings({"/x"})}}}, {"children", {{"geo", geo}, {"cam", cam}}}};
    return {{"children", {{"world", world}}}};
}

TEST(EngineAbort, AnAbortedAttemptLeavesNoAttributes) {
    const SceneFile file =
        readScene(scene(), {opAt("TestMark", "/root", {{"label", strings({"m"})}}),
                            opAt("TestAttempts", "/root/world",
                                 {{"from", strings({"/root/world/geo/b"})}, {"attr", strings({"value"})}})});
    for (int threads : {1, 2}) {
        EngineOptions options;
        options.threads = threads;
        options.abortMode = true;
        Engine engine(file, testRegistry(), options);
        const int64_t attemptsBefore = testCounter("vexilTestAttempts");
        const SceneLocation out = engine.cook();
        const int64_t attempts = testCounter("vexilTestAttempts") - attemptsBefore;
        const std::vector<std::string> cooked = {"/root/world",       "/root/world/geo",
                                                 "/root/world/geo/a", "/root/world/geo/a/a1",
                                                 "/root/world/geo/b", "/root/world/cam"};
        int written = 0;
        for (const std::string& path : cooked) {
            int here = 0;
            for (const std::string& name : attrNamesOf(out, path)) {
                here += name.compare(0, 7, "attempt") == 0 ? 1 : 0;
            }
            EXPECT_EQ(here, 1) << path;
            EXPECT_EQ(stringOf(out, path, "copied"), "B") << path;
            written += here;
        }
        // Every op cook but the aborted ones left its mark; at least one cook aborted.
        EXPECT_GE(engine.statistics().abortedAttempts, 1) << threads;
        EXPECT_EQ(attempts, static_cast<int64_t>(cooked.size()) + engine.statistics().abortedAttempts)
            << threads;
        EXPECT_EQ(written, static_cast<int>(cooked.size()));
    }
}

TEST(EngineAbort, PrivateDataOfAbortedAttemptsIsFreedExactlyOnce) {
    // At geo the creating op hands a child's private data to the host and then asks about cam, which
    // is not cooked yet: in abort mode that attempt is dropped, and its private data freed with it.
    const SceneFile file =
        readScene(scene(), {opAt("TestMark", "/root/world/cam"),
                            opAt("TestCreate", "/root/world",
                                 {{"parents", strings({"geo", "cam"})},
                                  {"names", strings({"c", "c"})},
                                  {"privateLabel", strings({"z"})},
                                  {"queryAfter", strings({"/root/world/cam"})}}),
                            opAt("TestHandOver", "/root/world", {{"privateLabel", strings({"h"})}})});
    for (bool abortMode : {false, true}) {
        EngineOptions options;
        options.threads = 1;
        options.abortMode = abortMode;
        Engine engine(file, testRegistry(), options);
        const int64_t before = testCounter("vexilTestDeletions");
        const SceneLocation out = engine.cook();
        EXPECT_EQ(engine.statistics().abortedAttempts, abortMode ? 1 : 0);
        // Each private data freed exactly once: two children created twice each (the second of a name
        // replaces the first), one handed-over traversal, and the two children of the dropped attempt.
        EXPECT_EQ(testCounter("vexilTestDeletions") - before, abortMode ? 7 : 5);
        EXPECT_EQ(stringOf(out, "/root/world/geo/c", "seen.privateLabel"), "h") << abortMode;
        EXPECT_EQ(intOf(out, "/root/world/geo", "queried"), 1) << abortMode;
    }
}

} // namespace
} // namespace VexilHost
