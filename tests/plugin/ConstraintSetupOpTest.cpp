// ConstraintSetup cooked against the stand-in host.
#include "tests/plugin/FakeCookHost.h"

#include "constraints/ops/ConstraintSetupIndex.h"
#include "constraints/ops/ConstraintSetupOp.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using Vexil3Constraints::Private::ConstraintSetupIndex;
using Vexil3Constraints::Private::ConstraintSetupOp;
using VexilTest::FakeCook;
using Children = std::vector<std::pair<std::string, Qn::Attribute>>;
using Strings = std::vector<std::string>;

const VexilOpSuite& setupSuite() {
    return Qn::VexilOpSuiteOf<ConstraintSetupOp>::suite;
}

Qn::GroupAttribute constraintGroup(const std::string& type, const Strings& targets = {"/root/world/t"}) {
    return VexilTest::group({{"type", Qn::StringAttribute(type)}, {"target", Qn::StringAttribute(targets)}});
}

// One entry of the "constraints" argument.
Qn::GroupAttribute entry(const std::string& base, const Qn::Attribute& constraint,
                         const Children& extra = {}) {
    Children children{{"baseLocationPath", Qn::StringAttribute(base)}, {"constraintGroup", constraint}};
    children.insert(children.end(), extra.begin(), extra.end());
    return VexilTest::group(children);
}

Qn::GroupAttribute constraintsArg(const std::vector<Qn::Attribute>& entries) {
    Children children;
    for (size_t i = 0; i < entries.size(); ++i) {
        children.push_back({"c" + std::to_string(i), entries[i]});
    }
    return VexilTest::group({{"constraints", VexilTest::group(children)}});
}

Strings childNames(const Qn::Attribute& attr) {
    const Qn::GroupAttribute g(attr);
    Strings names;
    for (int64_t i = 0; i < g.getNumberOfChildren(); ++i) {
        names.push_back(g.getChildName(i));
    }
    return names;
}

std::string childType(const Qn::Attribute& xform, const std::string& name) {
    return VexilTest::string(Qn::GroupAttribute(xform).getChildByName(name + ".type"));
}

class ConstraintSetupOpTest : public ::testing::Test {
protected:
    void SetUp() override { VexilTest::ensureAttributeSuite(); }
    /// Cooks `path` as a location below the start of the op's traversal: with the index of the entries
    /// that the traversal carries down.
    uint8_t cook(const std::string& path, const std::vector<Qn::Attribute>& entries) {
        m_cook.outputPath = path;
        m_cook.opArgs = constraintsArg(entries);
        m_index = std::make_unique<ConstraintSetupIndex>(
            Qn::GroupAttribute(m_cook.opArgs.getChildByName("constraints")));
        m_cook.privateData = m_index.get();
        return m_cook.cookWith(setupSuite());
    }
    FakeCook m_cook;
    std::unique_ptr<ConstraintSetupIndex> m_index;
};

TEST_F(ConstraintSetupOpTest, MissingOrMalformedConstraintsStopTraversal) {
    const Qn::GroupAttribute cases[] = {
        Qn::GroupAttribute(),
        VexilTest::group({{"constraints", Qn::StringAttribute("/root/world/a")}}),
        VexilTest::group({{"constraints", VexilTest::group({})}}),
    };
    for (const Qn::GroupAttribute& args : cases) {
        m_cook = FakeCook();
        m_cook.opArgs = args;
        EXPECT_EQ(m_cook.cookWith(setupSuite()), 0);
        EXPECT_EQ(m_cook.callLog(), Strings{"stopChildTraversal"});
    }
}

// Where the traversal starts there is no index yet: the op makes one and hands it down with the
// traversal, under the same op type and arguments, and still installs at the location itself.
TEST_F(ConstraintSetupOpTest, TheTraversalsFirstLocationIndexesTheEntriesForThoseBelow) {
    m_cook.outputPath = "/root/world/a";
    m_cook.opArgs = constraintsArg(
        {entry("/root/world/a", constraintGroup("Aim")), entry("/root/world/a/b", constraintGroup("Point"))});
    ASSERT_EQ(m_cook.cookWith(setupSuite()), 0);
    ASSERT_EQ(m_cook.callLog(), (Strings{"replaceChildTraversalOp", "setAttr:xform"}));
    const VexilTest::HostCall& handOver = m_cook.calls[0];
    EXPECT_EQ(handOver.opType, "ConstraintSetup");
    EXPECT_EQ(VexilTest::string(
                  Qn::GroupAttribute(handOver.attr).getChildByName("constraints.c1.baseLocationPath")),
              "/root/world/a/b");
    const auto* index = static_cast<const ConstraintSetupIndex*>(handOver.privateData);
    ASSERT_NE(index, nullptr);
    EXPECT_EQ(index->entriesAt("/root/world/a/b"), std::vector<int64_t>{1});
    EXPECT_TRUE(index->isAboveSomeBase("/root/world/a/"));
    EXPECT_FALSE(index->isAboveSomeBase("/root/world/a/b"));
    EXPECT_EQ(childType(m_cook.output("xform"), "constraint"), "Aim");
}

TEST_F(ConstraintSetupOpTest, WorldExtendsTheListInEntryOrder) {
    const Qn::GroupAttribute point = constraintGroup("Point");
    cook("/root/world",
         {entry("/root/world/geo/a", point),
          entry("/root/world/geo/b", point, {{"addToConstraintList", Qn::IntAttribute(0)}}), entry("", point),
          Qn::StringAttribute("not an entry"),
          entry("/root/world/cam", point, {{"addToConstraintList", Qn::IntAttribute(7)}}),
          entry("/root/world/geo/a", Qn::Attribute(), {{"addToConstraintList", Qn::StringAttribute("no")}})});
    ASSERT_EQ(m_cook.callLog(), Strings{"extendAttr:globals.constraintList"});
    const VexilTest::HostCall& extend = m_cook.calls[0];
    EXPECT_EQ(VexilTest::strings(extend.attr),
              (Strings{"/root/world/geo/a", "/root/world/cam", "/root/world/geo/a"}));
    EXPECT_EQ(Qn::StringAttribute(extend.attr).getTupleSize(), 1);
    EXPECT_EQ(extend.srcName, "");
    EXPECT_EQ(extend.groupInherit, 0);
    EXPECT_EQ(extend.inputPath, "");
    EXPECT_EQ(extend.inputIndex, -1);
    EXPECT_FALSE(m_cook.stopped()); // the bases lie below
}

TEST_F(ConstraintSetupOpTest, WorldListsEvenWithoutBasesBelow) {
    cook("/root/world", {entry("/root/elsewhere", constraintGroup("Point"))});
    EXPECT_EQ(m_cook.callLog(), (Strings{"extendAttr:globals.constraintList", "stopChildTraversal"}));
    EXPECT_EQ(VexilTest::strings(m_cook.output("globals.constraintList")), Strings{"/root/elsewhere"});

    // Nothing to list: no extend at all.
    m_cook = FakeCook();
    cook("/root/world",
         {entry("/root/world/a", constraintGroup("Point"), {{"addToConstraintList", Qn::IntAttribute(0)}})});
    EXPECT_EQ(m_cook.callLog(), Strings{});
}

TEST_F(ConstraintSetupOpTest, ListsOnlyAtWorld) {
    cook("/root", {entry("/root/world/a", constraintGroup("Point"))});
    EXPECT_TRUE(m_cook.calls.empty()); // an ancestor: nothing written, traversal goes on
    m_cook = FakeCook();
    cook("/root/world/a", {entry("/root/world/a", constraintGroup("Point"))});
    EXPECT_EQ(m_cook.callLog(), (Strings{"setAttr:xform", "stopChildTraversal"}));
}

TEST_F(ConstraintSetupOpTest, InstallsUnderFreshNames) {
    struct Case {
        const char* what;
        Children existingXform;   // empty: no xform
        std::vector<int> prepend; // per entry
        Strings expectedChildren;
        Strings expectedTypes; // the types of the expected children, in order
    };
    const Qn::GroupAttribute translate =
        VexilTest::group({{"value", Qn::DoubleAttribute(std::vector<double>{1, 2, 3})}});
    const Case cases[] = {
        {"two entries, no xform", {}, {0, 0}, {"constraint", "constraint1"}, {"Point", "Aim"}},
        {"second prepended", {}, {0, 1}, {"constraint1", "constraint"}, {"Aim", "Point"}},
        {"appended after existing operations",
         {{"translate", translate}},
         {0, 0},
         {"translate", "constraint", "constraint1"},
         {"", "Point", "Aim"}},
        {"prepended before existing operations",
         {{"translate", translate}},
         {1, 0},
         {"constraint", "translate", "constraint1"},
         {"Point", "", "Aim"}},
        {"names taken by constraints and resolved constraints",
         {{"constraint", constraintGroup("Orient")}, {"resolvedconstraint1", translate}},
         {0, 0},
         {"constraint", "resolvedconstraint1", "constraint2", "constraint3"},
         {"Orient", "", "Point", "Aim"}},
        {"a resolved name alone reserves it",
         {{"resolvedconstraint", translate}},
         {0, 0},
         {"resolvedconstraint", "constraint1", "constraint2"},
         {"", "Point", "Aim"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        m_cook = FakeCook();
        if (!c.existingXform.empty()) {
            m_cook.input["/root/world/geo/a"]["xform"] = VexilTest::group(c.existingXform);
        }
        EXPECT_EQ(cook("/root/world/geo/a", {entry("/root/world/geo/a", constraintGroup("Point"),
                                                   {{"prependConstraint", Qn::IntAttribute(c.prepend[0])}}),
                                             entry("/root/world/geo/b", constraintGroup("Scale")),
                                             entry("/root/world/geo/a", constraintGroup("Aim"),
                                                   {{"prependConstraint", Qn::IntAttribute(c.prepend[1])}})}),
                  0);
        ASSERT_EQ(m_cook.callLog(), (Strings{"setAttr:xform", "stopChildTraversal"}));
        EXPECT_EQ(m_cook.calls[0].groupInherit, 1);
        const Qn::Attribute xform = m_cook.output("xform");
        ASSERT_EQ(childNames(xform), c.expectedChildren);
        for (size_t i = 0; i < c.expectedChildren.size(); ++i) {
            EXPECT_EQ(childType(xform, c.expectedChildren[i]), c.expectedTypes[i]) << c.expectedChildren[i];
        }
    }
}

TEST_F(ConstraintSetupOpTest, NonGroupXformCountsAsNone) {
    m_cook.input["/root/world/a"]["xform"] = Qn::StringAttribute("not a group");
    cook("/root/world/a", {entry("/root/world/a", constraintGroup("Point"))});
    EXPECT_EQ(childNames(m_cook.output("xform")), Strings{"constraint"});
}

TEST_F(ConstraintSetupOpTest, EntriesWithoutAConstraintGroupAreSkipped) {
    m_cook.input["/root/world/a"]["xform"] = VexilTest::group({{"constraint", constraintGroup("Orient")}});
    cook("/root/world/a",
         {entry("/root/world/a", Qn::Attribute()), entry("/root/world/a", Qn::StringAttribute("Point"))});
    EXPECT_EQ(m_cook.callLog(), Strings{"stopChildTraversal"});
}

TEST_F(ConstraintSetupOpTest, RelativeTargets) {
    struct Case {
        const char* what;
        std::string base;
        Qn::Attribute setRelative; // null: absent
        Strings targets;
        Strings expected;
    };
    const Case cases[] = {
        {"sibling, parent's sibling and child",
         "/root/world/geo/a",
         Qn::IntAttribute(1),
         {"/root/world/geo/b", "/root/world/a/child", "/root/world/geo/a/child"},
         {"../b", "../../a/child", "child"}},
        {"target above the base", "/root/world/geo/a", Qn::IntAttribute(1), {"/root/world"}, {"../.."}},
        {"switch off",
         "/root/world/geo/a",
         Qn::IntAttribute(0),
         {"/root/world/geo/b"},
         {"/root/world/geo/b"}},
        {"switch absent", "/root/world/geo/a", Qn::Attribute(), {"/root/world/geo/b"}, {"/root/world/geo/b"}},
        {"unreadable switch counts as off",
         "/root/world/geo/a",
         VexilTest::emptyInt(),
         {"/root/world/geo/b"},
         {"/root/world/geo/b"}},
        {"switch of another kind counts as off",
         "/root/world/geo/a",
         Qn::FloatAttribute(1.0f),
         {"/root/world/geo/b"},
         {"/root/world/geo/b"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        m_cook = FakeCook();
        Children extra;
        if (c.setRelative.isValid()) {
            extra.push_back({"setRelativeTargets", c.setRelative});
        }
        const Qn::GroupAttribute constraint =
            VexilTest::group({{"type", Qn::StringAttribute("Point")},
                              {"target", Qn::StringAttribute(c.targets)},
                              {"args.targetOrigin", Qn::StringAttribute("boundingBox")}});
        cook(c.base, {entry(c.base, constraint, extra)});
        const Qn::GroupAttribute installed(
            Qn::GroupAttribute(m_cook.output("xform")).getChildByName("constraint"));
        ASSERT_TRUE(installed.isValid());
        EXPECT_EQ(VexilTest::strings(installed.getChildByName("target")), c.expected);
        EXPECT_EQ(VexilTest::string(installed.getChildByName("type")), "Point");
        EXPECT_EQ(VexilTest::string(installed.getChildByName("args.targetOrigin")), "boundingBox");
        EXPECT_EQ(childNames(installed), (Strings{"type", "target", "args"}));
    }
}

TEST_F(ConstraintSetupOpTest, RelativeTargetsUseTheSampleNearestTimeZero) {
    const std::map<float, Strings> samples{
        {-1.0f, {"/root/world/far"}}, {0.5f, {"/root/world/geo/near"}}, {-0.5f, {"/root/world/tie"}}};
    const Qn::GroupAttribute constraint =
        VexilTest::group({{"type", Qn::StringAttribute("Aim")}, {"target", Qn::StringAttribute(samples, 1)}});
    cook("/root/world/geo/a",
         {entry("/root/world/geo/a", constraint, {{"setRelativeTargets", Qn::IntAttribute(1)}})});
    const Qn::GroupAttribute installed(
        Qn::GroupAttribute(m_cook.output("xform")).getChildByName("constraint"));
    // -0.5 and 0.5 are equally near: the earlier sample wins.
    EXPECT_EQ(VexilTest::strings(installed.getChildByName("target")), Strings{"../../tie"});
}

TEST_F(ConstraintSetupOpTest, TraversalStopsOnlyBelowUnrelatedLocations) {
    struct Case {
        std::string path;
        bool stopped;
    };
    const std::vector<Qn::Attribute> entries{entry("/root/world/geo/a", constraintGroup("Point")),
                                             entry("/root/world/geo/a/b/c", constraintGroup("Aim")),
                                             entry("", constraintGroup("Aim"))};
    const Case cases[] = {
        {"/", false},
        {"/root", false},
        {"/root/world/geo", false},
        {"/root/world/geo/a", false}, // a base above another base
        {"/root/world/geo/a/b", false},
        {"/root/world/geo/a/b/c", true},
        {"/root/world/geo/ab", true}, // a prefix, not an ancestor
        {"/root/world/cam", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        m_cook = FakeCook();
        cook(c.path, entries);
        EXPECT_EQ(m_cook.stopped(), c.stopped);
    }
}

TEST_F(ConstraintSetupOpTest, UnreadableIntegerSwitchesFail) {
    struct Case {
        const char* what;
        std::string path;
        const char* field;
    };
    const Case cases[] = {
        {"addToConstraintList at the world", "/root/world", "addToConstraintList"},
        {"prependConstraint at the base", "/root/world/a", "prependConstraint"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        m_cook = FakeCook();
        EXPECT_EQ(cook(c.path, {entry("/root/world/a", constraintGroup("Point"),
                                      {{c.field, VexilTest::emptyInt()}})}),
                  0);
        EXPECT_EQ(m_cook.callLog(), (Strings{"setAttr:type", "setAttr:errorMessage"}));
        EXPECT_EQ(VexilTest::string(m_cook.output("errorMessage")),
                  "ConstraintSetup Op: Error getting int value from IntAttribute.");
    }
    // addToConstraintList is read only at the world: elsewhere the same entry installs normally.
    m_cook = FakeCook();
    cook("/root/world/a", {entry("/root/world/a", constraintGroup("Point"),
                                 {{"addToConstraintList", VexilTest::emptyInt()}})});
    EXPECT_EQ(m_cook.callLog(), (Strings{"setAttr:xform", "stopChildTraversal"}));
}

TEST_F(ConstraintSetupOpTest, AbortedXformQueryWritesNothing) {
    m_cook.abortQueries = true;
    EXPECT_EQ(cook("/root/world/a", {entry("/root/world/a", constraintGroup("Point"))}), 1);
    EXPECT_TRUE(m_cook.calls.empty());
}

TEST_F(ConstraintSetupOpTest, ConcurrentCooksKeepNoSharedState) {
    // Many locations cooked at once, each its own base with a different number of entries.
    const int threads = 4, perThread = 100;
    std::atomic<int> failures{0};
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t) {
        pool.emplace_back([t, &failures] {
            for (int i = 0; i < perThread; ++i) {
                const std::string base = "/root/world/l" + std::to_string(t) + "_" + std::to_string(i);
                const int count = 1 + (i % 3);
                std::vector<Qn::Attribute> entries(count, entry(base, constraintGroup("Point")));
                FakeCook cook;
                cook.outputPath = base;
                cook.opArgs = constraintsArg(entries);
                cook.input[base]["xform"] = VexilTest::group({{"constraint", constraintGroup("Orient")}});
                Strings expected{"constraint"};
                for (int k = 1; k <= count; ++k) {
                    expected.push_back("constraint" + std::to_string(k));
                }
                if (cook.cookWith(setupSuite()) != 0 || childNames(cook.output("xform")) != expected ||
                    !cook.stopped()) {
                    ++failures;
                }
            }
        });
    }
    for (std::thread& th : pool) {
        th.join();
    }
    EXPECT_EQ(failures.load(), 0);
}

} // namespace
