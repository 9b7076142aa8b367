// Cooking scenes with the test op plug-ins: traversal from an op's location, op chains, errors that
// never bring the host down, created children and their modes, stopped and handed-over traversals,
// queries of other locations, extended attributes and the system arguments.
#include "host/engine/Engine.h"
#include "tests/host/HostTestSupport.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace VexilHost {
namespace {

using namespace HostTest;
using Names = std::vector<std::string>;

/// /root/world/{geo/{a/{a1}, b}, cam}; a carries value "A", world carries list {"/x"}.
SceneLocation testScene() {
    return location(
        "root", {{"type", strings({"group"})}},
        {location("world", {{"list", strings({"/x"})}},
                  {location("geo", {},
                            {location("a", {{"value", strings({"A"})}}, {location("a1")}), location("b")}),
                   location("cam", {{"type", strings({"camera"})}})})});
}

SceneLocation cook(const std::vector<OpDescription>& ops, const EngineOptions& options = {}) {
    const SceneFile file = sceneFile(testScene(), ops);
    Engine engine(file, testRegistry(), options);
    return engine.cook();
}

const Names kAll = {"/root",
                    "/root/world",
                    "/root/world/geo",
                    "/root/world/geo/a",
                    "/root/world/geo/a/a1",
                    "/root/world/geo/b",
                    "/root/world/cam"};

TEST(Engine, AnOpCooksItsLocationAndEverythingBelowIt) {
    const SceneLocation out = cook({op("TestMark", "/root/world/geo", {{"label", strings({"L"})}})});
    for (const std::string& path : kAll) {
        const bool below = path.compare(0, 15, "/root/world/geo") == 0;
        EXPECT_EQ(stringOf(out, path, "seen.label"), below ? "L" : "<none>") << path;
        if (below) {
            EXPECT_EQ(intOf(out, path, "seen.atRoot"), path == "/root/world/geo" ? 1 : 0) << path;
            EXPECT_EQ(stringOf(out, path, "seen.root"), "/root/world/geo") << path;
            EXPECT_EQ(stringOf(out, path, "seen.input"), path) << path;
            EXPECT_EQ(stringOf(out, path, "seen.opType"), "TestMark") << path;
        }
    }
    // The output starts as the input: attributes (in order) and children are kept.
    EXPECT_EQ(attrNamesOf(out, "/root/world/geo/a"), (Names{"value", "seen"}));
    EXPECT_EQ(stringOf(out, "/root/world/geo/a", "value"), "A");
    EXPECT_EQ(childrenOf(out, "/root/world"), (Names{"geo", "cam"}));
    EXPECT_EQ(childrenOf(out, "/root/world/geo"), (Names{"a", "b"}));
    EXPECT_EQ(stringOf(out, "/root", "type"), "group");
}

TEST(Engine, EachOpReadsTheSceneTheOpBeforeItProduced) {
    // The second op copies what the first wrote at a; the third relabels, and the second's copies keep
    // the first label because the second never sees the third's output.
    const SceneLocation out = cook({
        op("TestMark", "/root/world/geo/a", {{"label", strings({"one"})}}),
        op("TestQuery", "/root/world",
           {{"from", strings({"/root/world/geo/a"})}, {"attr", strings({"seen.label"})}}),
        op("TestMark", "/root/world/geo/a", {{"label", strings({"three"})}}),
    });
    for (const std::string path :
         {"/root/world", "/root/world/geo/b", "/root/world/cam", "/root/world/geo/a/a1"}) {
        EXPECT_EQ(stringOf(out, path, "copied"), "one") << path;
        EXPECT_EQ(intOf(out, path, "exists"), 1) << path;
        EXPECT_EQ(Qn::StringAttribute(attrOf(out, path, "children")).getNearestSampleStrings(0), Names{"a1"})
            << path;
    }
    EXPECT_EQ(stringOf(out, "/root/world/geo/a", "seen.label"), "three");
    EXPECT_EQ(stringOf(out, "/root", "copied"), "<none>");
}

TEST(Engine, QueriesOfMissingLocationsAnswerAbsent) {
    const SceneLocation out =
        cook({op("TestQuery", "/root/world/cam",
                 {{"from", strings({"/root/world/nothing/here"})}, {"attr", strings({"type"})}})});
    EXPECT_EQ(intOf(out, "/root/world/cam", "exists"), 0);
    EXPECT_FALSE(attrOf(out, "/root/world/cam", "copied").isValid());
    EXPECT_FALSE(attrOf(out, "/root/world/cam", "fromType").isValid());
    EXPECT_EQ(intOf(out, "/root/world/cam", "before"), 1);
    // A path that only begins with the root's name is not below the root.
    const SceneLocation beside = cook({op(
        "TestQuery", "/root/world/cam", {{"from", strings({"/rootxworld"})}, {"attr", strings({"list"})}})});
    EXPECT_EQ(intOf(beside, "/root/world/cam", "exists"), 0);

    const SceneLocation typed =
        cook({op("TestQuery", "/root/world/geo/b",
                 {{"from", strings({"/root/world/cam/"})}, {"attr", strings({"type"})}})});
    EXPECT_EQ(stringOf(typed, "/root/world/geo/b", "fromType"), "camera");
    EXPECT_EQ(stringOf(typed, "/root/world/geo/b", "copied"), "camera");
}

TEST(Engine, StoppedTraversalPassesChildrenThroughUnchanged) {
    const SceneLocation out =
        cook({op("TestMark", "/root/world", {{"label", strings({"m"})}, {"stopAt", strings({"geo"})}})});
    EXPECT_EQ(stringOf(out, "/root/world/geo", "seen.label"), "m");
    EXPECT_EQ(stringOf(out, "/root/world/cam", "seen.label"), "m");
    for (const std::string path : {"/root/world/geo/a", "/root/world/geo/a/a1", "/root/world/geo/b"}) {
        EXPECT_EQ(stringOf(out, path, "seen.label"), "<none>") << path;
    }
    EXPECT_EQ(attrNamesOf(out, "/root/world/geo/a"), Names{"value"});
    EXPECT_EQ(childrenOf(out, "/root/world/geo/a"), Names{"a1"});
}

TEST(Engine, FailingCooksBecomeErrorsOnTheirLocations) {
    const struct {
        const char* type;
        const char* message;
    } cases[] = {
        {"TestThrow", "TestThrow Op: x"},
        {"TestThrowUnknown", "TestThrowUnknown Op: Unknown exception during op cook"},
        {"TestEscape", "TestEscape Op: host caught an exception"},
        {"TestAbortWithoutQuery", "TestAbortWithoutQuery Op: cook aborted without a query to wait for"},
    };
    for (const auto& c : cases) {
        for (bool abortMode : {false, true}) {
            EngineOptions options;
            options.abortMode = abortMode;
            const SceneLocation out = cook({op(c.type, "/root/world/geo")}, options);
            for (const std::string& path : kAll) {
                const bool below = path.compare(0, 15, "/root/world/geo") == 0;
                EXPECT_EQ(stringOf(out, path, "type"), below                       ? "error"
                                                       : path == "/root"           ? "group"
                                                       : path == "/root/world/cam" ? "camera"
                                                                                   : "<none>")
                    << c.type << " " << path;
                EXPECT_EQ(stringOf(out, path, "errorMessage"), below ? c.message : "<none>")
                    << c.type << " " << path;
            }
            // Input attributes stay; what an aborted attempt wrote does not.
            EXPECT_EQ(stringOf(out, "/root/world/geo/a", "value"), "A") << c.type;
            EXPECT_FALSE(attrOf(out, "/root/world/geo/a", "attempt").isValid()) << c.type;
        }
    }
}

struct ModeCase {
    int32_t mode;
    int atRoot;
    const char* root;
    bool grandchildByNewOp;
};

TEST(Engine, CreatedChildrenAreCookedByTheirOpInEachMode) {
    const ModeCase cases[] = {
        {VEXIL_RESET_RECURSIVE_NONE, 0, "/root/world", true},
        {VEXIL_RESET_RECURSIVE_ON, 1, "", true},
        {VEXIL_RESET_RECURSIVE_AUTO, 1, "", false},
    };
    for (const ModeCase& c : cases) {
        const int64_t deletionsBefore = testDeletions();
        const SceneLocation out = cook({op("TestCreate", "/root/world",
                                           {{"parents", strings({"geo"})},
                                            {"names", strings({"n1", "a", "n2"})},
                                            {"mode", Qn::IntAttribute(c.mode)},
                                            {"privateLabel", strings({"p"})},
                                            {"childArgs", group({{"label", strings({"made"})}})}})});
        // Every private data handed over is freed once the cook is over, exactly once.
        EXPECT_EQ(testDeletions() - deletionsBefore, 3) << c.mode;
        // A created name that exists keeps its place; new ones follow the input's children.
        EXPECT_EQ(childrenOf(out, "/root/world/geo"), (Names{"a", "b", "n1", "n2"})) << c.mode;
        for (const char* name : {"n1", "a", "n2"}) {
            const std::string path = std::string("/root/world/geo/") + name;
            const std::string root = *c.root != 0 ? c.root : path;
            EXPECT_EQ(stringOf(out, path, "seen.opType"), "TestMark") << c.mode << path;
            EXPECT_EQ(stringOf(out, path, "seen.label"), "made") << c.mode << path;
            EXPECT_EQ(stringOf(out, path, "seen.privateLabel"), std::string("p:") + name) << c.mode << path;
            EXPECT_EQ(intOf(out, path, "seen.atRoot"), c.atRoot) << c.mode << path;
            EXPECT_EQ(stringOf(out, path, "seen.root"), root) << c.mode << path;
        }
        // A created child that existed starts from its input location.
        EXPECT_EQ(stringOf(out, "/root/world/geo/a", "value"), "A") << c.mode;
        EXPECT_EQ(childrenOf(out, "/root/world/geo/a"), Names{"a1"}) << c.mode;
        // Its children: by the new op (same instance, same private data), or by the chain in AUTO.
        EXPECT_EQ(stringOf(out, "/root/world/geo/a/a1", "seen.privateLabel"),
                  c.grandchildByNewOp ? "p:a" : "<none>")
            << c.mode;
        EXPECT_EQ(intOf(out, "/root/world/geo/a/a1", "seen.atRoot"), c.grandchildByNewOp ? 0 : -999)
            << c.mode;
        // Children not created stay with the creating op.
        EXPECT_EQ(stringOf(out, "/root/world/geo/b", "seen.label"), "<none>") << c.mode;
        EXPECT_EQ(childrenOf(out, "/root/world/geo/n1"), Names{}) << c.mode;
    }
}

TEST(Engine, LaterOpsFindCreatedChildrenByPathAndCookThemOnce) {
    // A child created on the first step, and a grandchild created below it, are asked for by path
    // from every location of the third step; the second step only passes them on.
    const std::vector<OpDescription> ops = {
        op("TestCreate", "/root/world",
           {{"parents", strings({"geo"})},
            {"names", strings({"n1"})},
            {"childArgs", group({{"label", strings({"made"})}})}}),
        op("TestMark", "/root/world/geo", {{"label", strings({"second"})}}),
        op("TestQuery", "/root/world",
           {{"from", strings({"/root/world/geo/n1"})}, {"attr", strings({"seen.label"})}}),
    };
    for (const bool abortMode : {false, true}) {
        for (const int threads : {1, 2}) {
            EngineOptions options;
            options.abortMode = abortMode;
            options.threads = threads;
            const SceneFile file = sceneFile(testScene(), ops);
            Engine engine(file, testRegistry(), options);
            const SceneLocation out = engine.cook();
            const std::string where = std::string(abortMode ? "abort " : "") + std::to_string(threads);
            // Seven locations on the first and third steps (n1 included), five on the second.
            EXPECT_EQ(engine.statistics().cooks, 19) << where;
            EXPECT_EQ(childrenOf(out, "/root/world/geo"), (Names{"a", "b", "n1"})) << where;
            for (const std::string& path : kAll) {
                if (path.compare(0, 11, "/root/world") != 0) {
                    continue;
                }
                EXPECT_EQ(stringOf(out, path, "copied"), "second") << where << path;
                EXPECT_EQ(intOf(out, path, "exists"), 1) << where << path;
            }
            EXPECT_EQ(stringOf(out, "/root/world/geo/n1", "seen.label"), "second") << where;
            EXPECT_EQ(stringOf(out, "/root/world/geo/n1", "copied"), "second") << where;
        }
    }
}

TEST(Engine, CreatingOneNameTwiceKeepsTheLastAndFreesTheFirst) {
    const int64_t deletionsBefore = testDeletions();
    const SceneLocation out = cook({op("TestCreate", "/root/world",
                                       {{"parents", strings({"cam"})},
                                        {"names", strings({"twice", "twice"})},
                                        {"privateLabel", strings({"q"})}})});
    EXPECT_EQ(testDeletions() - deletionsBefore, 2);
    EXPECT_EQ(childrenOf(out, "/root/world/cam"), Names{"twice"});
    EXPECT_EQ(stringOf(out, "/root/world/cam/twice", "seen.privateLabel"), "q:twice");
}

TEST(Engine, CreateChildChecksTheNameBeforeTheHostIsCalled) {
    for (const char* name : {"bad/name", ""}) {
        const SceneLocation out = cook(
            {op("TestCreate", "/root/world", {{"parents", strings({"cam"})}, {"names", strings({name})}})});
        EXPECT_EQ(stringOf(out, "/root/world/cam", "type"), "error");
        EXPECT_EQ(stringOf(out, "/root/world/cam", "errorMessage"),
                  std::string("TestCreate Op: createChild(): Invalid child name: \"") + name + "\"");
        EXPECT_EQ(childrenOf(out, "/root/world/cam"), Names{});
    }
}

TEST(Engine, HandedOverTraversalCooksTheChildrenWithTheNewInstance) {
    const int64_t deletionsBefore = testDeletions();
    const SceneLocation out = cook({op("TestHandOver", "/root/world", {{"privateLabel", strings({"P"})}})});
    EXPECT_EQ(testDeletions() - deletionsBefore, 1);
    EXPECT_EQ(intOf(out, "/root/world", "handOver.cooked"), 1);
    EXPECT_EQ(stringOf(out, "/root/world", "seen.label"), "<none>");
    for (const std::string path : {"/root/world/geo", "/root/world/geo/a", "/root/world/geo/a/a1",
                                   "/root/world/geo/b", "/root/world/cam"}) {
        EXPECT_EQ(intOf(out, path, "handOver.cooked"), -999) << path;
        EXPECT_EQ(stringOf(out, path, "seen.label"), "handed") << path;
        EXPECT_EQ(stringOf(out, path, "seen.privateLabel"), "P") << path;
        EXPECT_EQ(stringOf(out, path, "seen.opType"), "TestMark") << path;
        EXPECT_EQ(intOf(out, path, "seen.atRoot"), 0) << path;
        EXPECT_EQ(stringOf(out, path, "seen.root"), "/root/world") << path;
    }
}

TEST(Engine, ExtendAppendsCreatesAndReportsMismatches) {
    const auto extend = [](const NamedAttrs& args) {
        return cook({op("TestExtend", "/root/world", args)});
    };
    const std::string at = "/root/world";
    // Two appends in one cook accumulate.
    SceneLocation out = extend({{"at", strings({at})},
                                {"name", strings({"list"})},
                                {"values", strings({"/y", "/z"})},
                                {"times", Qn::IntAttribute(2)}});
    EXPECT_EQ(Qn::StringAttribute(attrOf(out, at, "list")).getNearestSampleStrings(0),
              (Names{"/x", "/y", "/z", "/y", "/z"}));
    // An absent attribute is created; a dotted name reaches into groups.
    out = extend({{"at", strings({at})}, {"name", strings({"fresh.values"})}, {"values", doubles({1, 2})}});
    const Qn::DoubleAttribute fresh(attrOf(out, at, "fresh.values"));
    ASSERT_TRUE(fresh.isValid());
    EXPECT_EQ(std::vector<double>(fresh.getNearestSample(0).begin(), fresh.getNearestSample(0).end()),
              (std::vector<double>{1, 2}));
    // The base may come from another attribute of another location.
    out = extend({{"at", strings({at})},
                  {"name", strings({"copy"})},
                  {"source", strings({"value"})},
                  {"sourcePath", strings({"/root/world/geo/a"})},
                  {"values", strings({"B"})}});
    EXPECT_EQ(Qn::StringAttribute(attrOf(out, at, "copy")).getNearestSampleStrings(0), (Names{"A", "B"}));
    // Values of another kind leave the attribute alone and mark the location.
    out = extend({{"at", strings({at})}, {"name", strings({"list"})}, {"values", doubles({1})}});
    EXPECT_EQ(stringOf(out, at, "type"), "error");
    EXPECT_EQ(stringOf(out, at, "errorMessage"),
              "TestExtend Op: extendAttr(\"list\"): cannot append double values to a string attribute");
    EXPECT_EQ(Qn::StringAttribute(attrOf(out, at, "list")).getNearestSampleStrings(0), Names{"/x"});
}

TEST(Engine, AllAttributesFallbacksSetAtCopyAndDelete) {
    const SceneLocation root = location(
        "root", {},
        {location(
            "world", {},
            {location("src", {{"value", strings({"V"})}, {"second", strings({"S2"})}}),
             location("fb", {{"first", strings({"F1"})}}), location("none"),
             location("target", {{"gone", strings({"x"})},
                                 {"doomed", group({{"inner", doubles({1})}, {"kept", doubles({2})}})}})})});
    const std::string at = "/root/world/target";
    const Qn::GroupAttribute fallbacks =
        group({{"ownSecond", strings({"/root/world/src", "/root/world/fb"})},
               {"fallbackFirst", strings({"/root/world/none", "/root/world/fb"})},
               {"neither", strings({"/root/missing", "/root/world/none"})}});
    for (bool abortMode : {false, true}) {
        const SceneFile file = sceneFile(
            root,
            {op("TestMark", "/root/world"),
             op("TestEntries", "/root/world",
                {{"at", strings({at})}, {"from", strings({"/root/world/src"})}, {"fallbacks", fallbacks}})});
        EngineOptions options;
        options.abortMode = abortMode;
        Engine engine(file, testRegistry(), options);
        const SceneLocation out = engine.cook();
        // src has value, second and what TestMark wrote (seen).
        EXPECT_EQ(intOf(out, at, "entries.allCount"), 3);
        EXPECT_EQ(intOf(out, at, "entries.allMissing"), 1);
        EXPECT_EQ(stringOf(out, at, "fallback.ownSecond"), "S2");
        EXPECT_EQ(stringOf(out, at, "fallback.fallbackFirst"), "F1");
        EXPECT_FALSE(attrOf(out, at, "fallback.neither").isValid());
        EXPECT_EQ(intOf(out, at, "fromSetAt"), 1);
        EXPECT_FALSE(attrOf(out, "/root/world", "ignored").isValid());
        EXPECT_FALSE(attrOf(out, at, "ignored").isValid());
        EXPECT_EQ(stringOf(out, at, "entries.copied"), "V");
        EXPECT_FALSE(attrOf(out, at, "gone").isValid());
        EXPECT_FALSE(attrOf(out, at, "doomed.inner").isValid());
        EXPECT_EQ(Qn::DoubleAttribute(attrOf(out, at, "doomed.kept")).getValue(), 2.0);
        // at, from, fallbacks and the host's system group.
        EXPECT_EQ(intOf(out, at, "entries.argCount"), 4);
        EXPECT_EQ(attrNamesOf(out, at), (Names{"doomed", "seen", "entries", "fallback", "fromSetAt"}));
    }
}

TEST(Engine, EveryOpSeesTheTimeSliceAndVariables) {
    SceneFile file =
        sceneFile(testScene(), {op("TestMark", "/root/world/cam", {{"withSystem", Qn::IntAttribute(1)}})});
    file.time = TimeSlice{12.5f, -0.25f, 0.75f, 3};
    file.variables = {{"shot", "sh010"}, {"take.number", "7"}};
    Engine engine(file, testRegistry());
    const SceneLocation out = engine.cook();
    const std::string cam = "/root/world/cam";
    EXPECT_EQ(Qn::FloatAttribute(attrOf(out, cam, "seen.system.timeSlice.currentTime")).getValue(), 12.5f);
    EXPECT_EQ(Qn::FloatAttribute(attrOf(out, cam, "seen.system.timeSlice.shutterOpen")).getValue(), -0.25f);
    EXPECT_EQ(Qn::FloatAttribute(attrOf(out, cam, "seen.system.timeSlice.shutterClose")).getValue(), 0.75f);
    EXPECT_EQ(Qn::IntAttribute(attrOf(out, cam, "seen.system.timeSlice.numSamples")).getValue(), 3);
    EXPECT_EQ(stringOf(out, cam, "seen.system.variables.shot"), "sh010");
    // A variable name with a dot is one child of the variables group.
    const Qn::GroupAttribute variables(attrOf(out, cam, "seen.system.variables"));
    ASSERT_EQ(variables.getNumberOfChildren(), 2);
    EXPECT_EQ(variables.getChildName(1), "take.number");
}

TEST(Engine, OpsAtMissingLocationsChangeNothing) {
    const SceneFile file =
        sceneFile(testScene(), {op("TestThrow", "/root/nowhere"), op("TestThrow", "/root/world/ge")});
    Engine engine(file, testRegistry());
    EXPECT_EQ(dump(engine.cook()), dump(file.root));
}

TEST(Engine, CookOfAPathReturnsThatSubtreeOnly) {
    const SceneFile file = sceneFile(testScene(), {op("TestMark", "/root", {{"label", strings({"s"})}})});
    Engine engine(file, testRegistry());
    const SceneLocation geo = engine.cook("/root/world/geo/");
    EXPECT_EQ(geo.name, "geo");
    ASSERT_EQ(geo.children.size(), 2u);
    EXPECT_EQ(Qn::StringAttribute(geo.children[0].attrs.getChildByName("seen.label")).getValue(), "s");
    EXPECT_EQ(geo.children[0].children.at(0).name, "a1");
    try {
        engine.cook("/root/world/none");
        ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "no location /root/world/none in the cooked scene");
    }
}

TEST(Engine, UnknownOpTypesAreRefusedBeforeAnythingCooks) {
    const SceneFile file = sceneFile(testScene(), {op("TestMark"), op("NoSuchOp", "/root/world")});
    Engine engine(file, testRegistry());
    try {
        engine.cook();
        ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "unknown op type \"NoSuchOp\" (op 2 of 2)");
    }
}

/// A cook on two threads of `opType` at "/root" over `count` leaves "/root/l0", "/root/l1", ...
SceneLocation cookLeavesOnTwoThreads(int count, const std::string& opType,
                                     CookStatistics* statistics = nullptr) {
    std::vector<SceneLocation> leaves;
    for (int i = 0; i < count; ++i) {
        leaves.push_back(location("l" + std::to_string(i)));
    }
    const SceneFile file = sceneFile(location("root", {}, std::move(leaves)), {op(opType)});
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
    const int64_t before = testSerialOverlaps();
    CookStatistics statistics;
    const SceneLocation out = cookLeavesOnTwoThreads(200, "TestSerial", &statistics);
    EXPECT_EQ(testSerialOverlaps() - before, 0);
    EXPECT_EQ(intOf(out, "/root/l199", "serial"), 1);
    EXPECT_EQ(statistics.cooks, 201);
}

TEST(Engine, EveryCookOfAParallelCookRunsOnAThreadWithTheWorkersStack) {
    // The scheduler counted a calling thread with less stack than the workers' out of stack, so it
    // left the work of two threads to one worker. A parallel cook runs on a thread of its own.
    const SceneLocation out = cookLeavesOnTwoThreads(50, "TestStack");
    EXPECT_EQ(intOf(out, "/root/l49", "stacked"), 1);
    EXPECT_GE(testSmallestStack(), int64_t(64) << 20);
}

} // namespace
} // namespace VexilHost
