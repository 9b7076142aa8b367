// ConstraintListEdit cooked against the stand-in host.
#include "tests/plugin/FakeCookHost.h"

#include "constraints/ops/ConstraintListEditOp.h"

#include <gtest/gtest.h>

namespace {

using Vexil3Constraints::Private::ConstraintListEditOp;
using VexilTest::FakeCook;
using Strings = std::vector<std::string>;

const char* const kList = "globals.constraintList";

class ConstraintListEditOpTest : public ::testing::Test {
protected:
    void SetUp() override {
        VexilTest::ensureAttributeSuite();
        m_cook.opType = "ConstraintListEdit";
    }
    // Cooks /root/world (or `path`) with the given arguments over an existing list (none if empty).
    uint8_t cook(const std::vector<std::pair<std::string, Qn::Attribute>>& args, const Strings& existing,
                 const std::string& path = "/root/world") {
        m_cook.outputPath = path;
        m_cook.opArgs = VexilTest::group(args);
        if (!existing.empty()) {
            m_cook.input["/root/world"][kList] = Qn::StringAttribute(existing);
        }
        return m_cook.cookWith(Qn::VexilOpSuiteOf<ConstraintListEditOp>::suite);
    }
    FakeCook m_cook;
};

Qn::StringAttribute paths(const Strings& values) {
    return Qn::StringAttribute(values);
}

TEST_F(ConstraintListEditOpTest, EditsTheList) {
    struct Case {
        const char* what;
        const char* mode;
        Strings existing;
        Strings locationPaths;
        Strings expected; // empty: the attribute is absent afterwards
    };
    const Case cases[] = {
        {"add appends in order",
         "add",
         {"/root/world/a"},
         {"/root/world/b", "/root/world/c"},
         {"/root/world/a", "/root/world/b", "/root/world/c"}},
        {"add keeps duplicates",
         "add",
         {"/root/world/a"},
         {"/root/world/a"},
         {"/root/world/a", "/root/world/a"}},
        {"add creates the list", "add", {}, {"/root/world/a"}, {"/root/world/a"}},
        {"remove drops the last occurrence only",
         "remove",
         {"/a", "/b", "/a", "/c"},
         {"/a"},
         {"/a", "/b", "/c"}},
        {"a path listed twice still removes one entry",
         "remove",
         {"/a", "/b", "/a"},
         {"/a", "/a"},
         {"/a", "/b"}},
        {"remove several keeps the order of the rest",
         "remove",
         {"/a", "/b", "/c", "/d"},
         {"/d", "/b"},
         {"/a", "/c"}},
        {"removing everything deletes the list", "remove", {"/a", "/b"}, {"/b", "/a", "/x"}, {}},
        {"edit changes nothing", "edit", {"/a"}, {"/a"}, {"/a"}},
        {"an unknown mode changes nothing", "ADD", {"/a"}, {"/b"}, {"/a"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        m_cook = FakeCook();
        EXPECT_EQ(cook({{"mode", Qn::StringAttribute(c.mode)}, {"locationPaths", paths(c.locationPaths)}},
                       c.existing),
                  0);
        const Qn::Attribute list = m_cook.output(kList);
        if (c.expected.empty()) {
            EXPECT_FALSE(list.isValid());
        } else {
            EXPECT_EQ(VexilTest::strings(list), c.expected);
        }
        EXPECT_TRUE(m_cook.stopped());
        EXPECT_EQ(m_cook.output("type").isValid(), false);
    }
}

TEST_F(ConstraintListEditOpTest, AddGoesThroughExtendWithDefaults) {
    cook({{"mode", Qn::StringAttribute("add")}, {"locationPaths", paths({"/root/world/a"})}},
         {"/root/world/z"});
    ASSERT_EQ(m_cook.callLog(), (Strings{"extendAttr:globals.constraintList", "stopChildTraversal"}));
    const VexilTest::HostCall& extend = m_cook.calls[0];
    EXPECT_EQ(VexilTest::strings(extend.attr), Strings{"/root/world/a"});
    EXPECT_EQ(extend.srcName, "");
    EXPECT_EQ(extend.groupInherit, 0);
    EXPECT_EQ(extend.inputPath, "");
    EXPECT_EQ(extend.inputIndex, -1);
}

TEST_F(ConstraintListEditOpTest, RemoveReadsTheWorldListAndWritesWithoutInheritance) {
    cook({{"mode", Qn::StringAttribute("remove")}, {"locationPaths", paths({"/b"})}}, {"/a", "/b"});
    ASSERT_EQ(m_cook.queries.size(), 1u);
    EXPECT_EQ(m_cook.queries[0].name, kList);
    EXPECT_EQ(m_cook.queries[0].path, "/root/world");
    EXPECT_EQ(m_cook.queries[0].inputIndex, -1);
    ASSERT_EQ(m_cook.callLog(), (Strings{"setAttr:globals.constraintList", "stopChildTraversal"}));
    EXPECT_EQ(m_cook.calls[0].groupInherit, 0);

    // Nothing to drop, or no list at all: nothing is written.
    for (const Strings& existing : {Strings{"/a"}, Strings{}}) {
        m_cook = FakeCook();
        cook({{"mode", Qn::StringAttribute("remove")}, {"locationPaths", paths({"/b"})}}, existing);
        EXPECT_EQ(m_cook.callLog(), Strings{"stopChildTraversal"});
    }
    // A list that is not a string attribute is left alone.
    m_cook = FakeCook();
    m_cook.input["/root/world"][kList] = Qn::IntAttribute(3);
    cook({{"mode", Qn::StringAttribute("remove")}, {"locationPaths", paths({"/b"})}}, {});
    EXPECT_EQ(m_cook.callLog(), Strings{"stopChildTraversal"});
}

TEST_F(ConstraintListEditOpTest, BadArgumentsAreReportedWithoutStoppingTraversal) {
    struct Case {
        const char* what;
        std::vector<std::pair<std::string, Qn::Attribute>> args;
        const char* message;
    };
    const Case cases[] = {
        {"no mode",
         {{"locationPaths", paths({"/a"})}},
         "A valid 'mode' argument must be given, 'edit' or 'remove'"},
        {"integer mode",
         {{"mode", Qn::IntAttribute(1)}, {"locationPaths", paths({"/a"})}},
         "A valid 'mode' argument must be given, 'edit' or 'remove'"},
        {"no paths", {{"mode", Qn::StringAttribute("add")}}, "A 'locationPaths' arg must be given."},
        {"paths as a group",
         {{"mode", Qn::StringAttribute("remove")},
          {"locationPaths", VexilTest::group({{"a", paths({"/a"})}})}},
         "A 'locationPaths' arg must be given."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        m_cook = FakeCook();
        m_cook.opType = "ConstraintListEdit";
        EXPECT_EQ(cook(c.args, {"/a"}), 0);
        ASSERT_EQ(m_cook.callLog(), (Strings{"setAttr:type", "setAttr:errorMessage"}));
        EXPECT_EQ(VexilTest::string(m_cook.calls[0].attr), "error");
        EXPECT_EQ(VexilTest::string(m_cook.calls[1].attr), c.message);
        EXPECT_EQ(VexilTest::strings(m_cook.output(kList)), Strings{"/a"});
    }
}

TEST_F(ConstraintListEditOpTest, EmptyModeFailsThroughTheWrapper) {
    cook({{"mode", Qn::StringAttribute(Strings{})}, {"locationPaths", paths({"/a"})}}, {"/a"});
    EXPECT_EQ(VexilTest::string(m_cook.output("type")), "error");
    EXPECT_EQ(VexilTest::string(m_cook.output("errorMessage")),
              "ConstraintListEdit Op: Error getting string value from StringAttribute.");
    EXPECT_FALSE(m_cook.stopped());
}

TEST_F(ConstraintListEditOpTest, RootAndOtherLocations) {
    const std::vector<std::pair<std::string, Qn::Attribute>> args{
        {"mode", Qn::StringAttribute("add")}, {"locationPaths", paths({"/root/world/a"})}};
    // At the root of the traversal nothing at all happens, not even the argument check.
    m_cook.atRoot = true;
    cook({}, {});
    EXPECT_TRUE(m_cook.calls.empty());

    for (const char* path : {"/root", "/root/world/geo", "/root/worldwide", "/root/world/"}) {
        SCOPED_TRACE(path);
        m_cook = FakeCook();
        cook(args, {"/root/world/z"}, path);
        EXPECT_EQ(m_cook.callLog(), Strings{"stopChildTraversal"});
    }
}

TEST_F(ConstraintListEditOpTest, AbortedListReadWritesNothing) {
    m_cook.abortQueries = true;
    EXPECT_EQ(cook({{"mode", Qn::StringAttribute("remove")}, {"locationPaths", paths({"/a"})}}, {"/a"}), 1);
    EXPECT_TRUE(m_cook.calls.empty());
    m_cook = FakeCook();
    m_cook.abortQueries = true;
    EXPECT_EQ(cook({{"mode", Qn::StringAttribute("add")}, {"locationPaths", paths({"/a"})}}, {"/a"}), 1);
    EXPECT_TRUE(m_cook.calls.empty());
}

} // namespace
