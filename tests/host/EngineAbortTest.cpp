// Abort mode: the first query of a location not cooked yet aborts the asking cook, the host cooks that
// location and then the asker again. Results must equal a normal cook for any number of threads, and
// an aborted attempt must leave nothing behind.
#include "host/engine/Engine.h"
#include "host/services/HostServices.h"
#include "tests/host/HostTestSupport.h"

#include <gtest/gtest.h>

namespace VexilHost {
namespace {

using namespace HostTest;

SceneLocation scene() {
    return location("root", {},
                    {location("world", {{"list", strings({"/x"})}},
                              {location("geo", {{"xform", group({{"translate", doubles({1, 2, 3})}})}},
                                        {location("a", {{"value", strings({"A"})}}, {location("a1")}),
                                         location("b", {{"value", strings({"B"})}})}),
                               location("cam", {{"bound", doubles({-1, 1, -1, 1, -1, 1})}})})});
}

struct Scenario {
    const char* what;
    std::vector<OpDescription> ops;
    /// One op cook per location and step at or below each op's location (created children included).
    int64_t cooks;
};

std::vector<Scenario> scenarios() {
    return {
        {"query chain",
         {op("TestMark", "/root/world/geo", {{"label", strings({"one"})}}),
          op("TestQuery", "/root/world",
             {{"from", strings({"/root/world/geo/a"})}, {"attr", strings({"seen.label"})}}),
          op("TestQuery", "/root",
             {{"from", strings({"/root/world/geo/b"})}, {"attr", strings({"copied"})}})},
         4 + 6 + 7},
        {"created children",
         {op("TestCreate", "/root/world",
             {{"parents", strings({"cam"})},
              {"names", strings({"n1", "n2"})},
              {"privateLabel", strings({"p"})}}),
          op("TestQuery", "/root/world/geo",
             {{"from", strings({"/root/world/cam/n1"})}, {"attr", strings({"seen.root"})}})},
         (6 + 2) + 4},
        {"hand over",
         {op("TestHandOver", "/root/world", {{"privateLabel", strings({"P"})}}),
          op("TestQuery", "/root/world/geo",
             {{"from", strings({"/root/world/cam"})}, {"attr", strings({"seen.label"})}})},
         6 + 4},
        {"extend",
         {op("TestExtend", "/root/world",
             {{"at", strings({"/root/world"})}, {"name", strings({"list"})}, {"values", strings({"/y"})}}),
          op("TestExtend", "/root/world",
             {{"at", strings({"/root/world"})},
              {"name", strings({"list"})},
              {"values", strings({"/z"})},
              {"sourcePath", strings({"/root/world/geo/a"})},
              {"source", strings({"value"})}})},
         6 + 6},
        {"world transforms",
         {op("TestMark", "/root/world"),
          op("TestWorld", "/root/world",
             {{"at", strings({"/root/world/cam"})}, {"of", strings({"/root/world/geo/a1"})}}),
          op("TestWorld", "/root/world",
             {{"at", strings({"/root/world/geo/b"})}, {"of", strings({"/root/world/cam"})}})},
         6 + 6 + 6},
    };
}

std::string cookDump(const SceneFile& file, int threads, bool abortMode,
                     CookStatistics* statistics = nullptr) {
    EngineOptions options;
    options.threads = threads;
    options.abortMode = abortMode;
    Engine engine(file, testRegistry(), options);
    const std::string text = dump(engine.cook());
    if (statistics != nullptr) {
        *statistics = engine.statistics();
    }
    return text;
}

TEST(EngineAbort, ResultsEqualANormalCookForAnyThreadCount) {
    for (const Scenario& s : scenarios()) {
        const SceneFile file = sceneFile(scene(), s.ops);
        CookStatistics normal, aborting;
        const std::string reference = cookDump(file, 1, false, &normal);
        EXPECT_EQ(normal.abortedAttempts, 0) << s.what;
        EXPECT_EQ(normal.cooks, s.cooks) << s.what;
        EXPECT_EQ(cookDump(file, 2, false), reference) << s.what;
        EXPECT_EQ(cookDump(file, 1, true, &aborting), reference) << s.what;
        EXPECT_EQ(cookDump(file, 2, true), reference) << s.what;
        EXPECT_EQ(cookDump(file, 0, true), reference) << s.what;
        // The same locations are cooked once each; only the aborted attempts come on top.
        EXPECT_EQ(aborting.cooks, normal.cooks) << s.what;
        EXPECT_GT(aborting.abortedAttempts, 0) << s.what;
    }
}

TEST(EngineAbort, AnAbortedAttemptLeavesNoAttributes) {
    const SceneFile file =
        sceneFile(scene(), {op("TestMark", "/root", {{"label", strings({"m"})}}),
                            op("TestAttempts", "/root/world",
                               {{"from", strings({"/root/world/geo/b"})}, {"attr", strings({"value"})}})});
    for (int threads : {1, 2}) {
        EngineOptions options;
        options.threads = threads;
        options.abortMode = true;
        Engine engine(file, testRegistry(), options);
        const int64_t attemptsBefore = testAttempts();
        const SceneLocation out = engine.cook();
        const int64_t attempts = testAttempts() - attemptsBefore;
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
        sceneFile(scene(), {op("TestMark", "/root/world/cam"),
                            op("TestCreate", "/root/world",
                               {{"parents", strings({"geo", "cam"})},
                                {"names", strings({"c"})},
                                {"privateLabel", strings({"z"})},
                                {"queryAfter", strings({"/root/world/cam"})}}),
                            op("TestHandOver", "/root/world", {{"privateLabel", strings({"h"})}})});
    for (bool abortMode : {false, true}) {
        EngineOptions options;
        options.threads = 1;
        options.abortMode = abortMode;
        Engine engine(file, testRegistry(), options);
        const int64_t before = testDeletions();
        const SceneLocation out = engine.cook();
        EXPECT_EQ(engine.statistics().abortedAttempts, abortMode ? 1 : 0);
        // Two created children, one handed-over traversal, and the child of the dropped attempt.
        EXPECT_EQ(testDeletions() - before, 3 + engine.statistics().abortedAttempts) << abortMode;
        EXPECT_EQ(stringOf(out, "/root/world/geo/c", "seen.privateLabel"), "h") << abortMode;
        EXPECT_EQ(intOf(out, "/root/world/geo", "queried"), 1) << abortMode;
        EXPECT_EQ(childrenOf(out, "/root/world/geo"), (std::vector<std::string>{"a", "b", "c"})) << abortMode;
    }
}

} // namespace
} // namespace VexilHost

namespace VexilHost {
namespace {

using namespace HostTest;

std::pair<int64_t, int64_t> liveCounts() {
    int64_t attributes = 0;
    int64_t builders = 0;
    attributeSuite()->getLiveCounts(&attributes, &builders);
    return {attributes, builders};
}

TEST(EngineAbort, EveryAttributeAndBuilderIsReleasedAfterTheCook) {
    // Reference counts through the C entries are easy to get wrong; after a cook with every kind of
    // op, in both modes, the host must hold exactly what it held before.
    testRegistry();
    const auto before = liveCounts();
    {
        std::vector<OpDescription> ops;
        for (const Scenario& s : scenarios()) {
            ops.insert(ops.end(), s.ops.begin(), s.ops.end());
        }
        ops.push_back(op("TestThrow", "/root/world/cam"));
        ops.push_back(op("TestEscape", "/root/world/geo/b"));
        const SceneFile file = sceneFile(scene(), ops);
        for (bool abortMode : {false, true}) {
            EngineOptions options;
            options.abortMode = abortMode;
            Engine engine(file, testRegistry(), options);
            const SceneLocation out = engine.cook();
            EXPECT_EQ(stringOf(out, "/root/world/cam", "errorMessage"), "TestThrow Op: x");
        }
    }
    EXPECT_EQ(liveCounts(), before);
}

} // namespace
} // namespace VexilHost
