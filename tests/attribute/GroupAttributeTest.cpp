// Groups: the rows of groups.json built with and without the build-in-one-call entry, lookup by index
// and dotted name, the raw builder entries and the extension suite's references.
#include "tests/attribute/AttributeTestSupport.h"
#include "tests/support/JsonFile.h"

#include <vexil/AttributeHostExtension.h>

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>

using namespace AttributeTests;
using Json = nlohmann::ordered_json;

namespace {

/// "name=value" for int children, "name{...}" for groups, in order: the whole shape of a group.
std::string describe(const GroupAttribute& g) {
    std::string text;
    for (int64_t i = 0; i < g.getNumberOfChildren(); ++i) {
        if (i)
            text += ' ';
        const Attribute child = g.getChildByIndex(i);
        text += g.getChildName(i);
        if (child.getType() == QN_ATTRIBUTE_TYPE_GROUP)
            text += "{" + describe(GroupAttribute(child)) + "}";
        else
            text += "=" + std::to_string(IntAttribute(child).getValue(-1, false));
    }
    return text;
}

/// The extension suite the library's service table offers (loadSuite keeps the library open; this
/// finds the same copy), or null.
const AttributeHostExtensionSuite*
offeredExtension(unsigned int version = QN_ATTRIBUTE_HOST_EXTENSION_SUITE_VERSION) {
    void* library = dlopen(VEXIL_BUILD_DIR "/bin/libQnAttributeHost.so", RTLD_NOW | RTLD_NOLOAD);
    const auto getHost = reinterpret_cast<QnGetAttributeHostFn>(dlsym(library, QN_GET_ATTRIBUTE_HOST_SYMBOL));
    dlclose(library); // drops only this look-up's count
    return static_cast<const AttributeHostExtensionSuite*>(
        getHost()->getSuite(QN_ATTRIBUTE_HOST_EXTENSION_SUITE_NAME, version));
}

/// Runs the steps of a groups.json row on `builder`; a build step's group is kept with its expected
/// shape in `built`, to be checked again once later steps could have changed it.
void runSteps(GroupBuilder& builder, const Json& steps, std::vector<std::pair<GroupAttribute, Json>>& built) {
    for (const Json& step : steps) {
        const std::string op = step[0];
        if (op == "build") {
            built.emplace_back(builder.build(), step[1]);
        } else if (op == "del") {
            builder.del(step[1].get<std::string>());
        } else {
            const Json& value = step.back();
            Attribute attribute;
            if (value.is_number()) {
                attribute = IntAttribute(value.get<int>());
            } else if (value.is_array()) {
                GroupBuilder inner;
                runSteps(inner, value, built);
                attribute = inner.build();
            }
            op == "set" ? builder.set(step[1].get<std::string>(), attribute)
                        : builder.update(GroupAttribute(attribute));
        }
    }
}

using GroupAttributeTest = AttributeTest;

TEST_F(GroupAttributeTest, BuildersMakeTheGroupsOfTheTableWithAndWithoutTheExtension) {
    const AttributeHostExtensionSuite* const offered = GroupBuilder::extension();
    const Json cases = VexilTest::readJsonFile(VEXIL_ATTRIBUTE_CASES_DIR "/groups.json").at("cases");
    for (const Json& c : cases) {
        for (const AttributeHostExtensionSuite* extension :
             {offered, (const AttributeHostExtensionSuite*)nullptr}) {
            GroupBuilder::setExtension(extension);
            GroupBuilder builder(c.value("mode", "") == "literal" ? QN_GROUP_BUILDER_MODE_LITERAL
                                                                  : QN_GROUP_BUILDER_MODE_DEFAULT);
            std::vector<std::pair<GroupAttribute, Json>> built;
            runSteps(builder, c.at("steps"), built);
            built.emplace_back(builder.build(), c.at("group"));
            for (const auto& [group, expected] : built)
                EXPECT_EQ(describe(group), expected) << c.at("why") << (extension ? " (in one call)" : "");
        }
        GroupBuilder::setExtension(offered);
    }
}

TEST_F(GroupAttributeTest, AMovedBuilderKeepsItsChildrenAndSharesNothingWithTheOneMovedFrom) {
    GroupBuilder a;
    a.set("a", IntAttribute(1)).set("b.c", IntAttribute(2));
    GroupBuilder moved(std::move(a));
    GroupBuilder assigned(QN_GROUP_BUILDER_MODE_LITERAL);
    assigned.set("dropped", IntAttribute(0));
    assigned = std::move(moved);
    // What the builders moved from are given now is not the moved builder's.
    a.set("x", IntAttribute(7));
    moved.set("y", IntAttribute(8));
    EXPECT_EQ(describe(assigned.set("b.d", IntAttribute(3)).build()), "a=1 b{c=2 d=3}");
    // With the extension a builder moved from collects anew; without it, it has no host builder left
    // and drops what it is given.
    if (GroupBuilder::extension()) {
        EXPECT_EQ(describe(a.build()), "x=7");
        EXPECT_EQ(describe(moved.build()), "y=8");
    }
}

TEST_F(GroupAttributeTest, ChildLookupByIndexAndDottedName) {
    GroupBuilder literal(QN_GROUP_BUILDER_MODE_LITERAL);
    literal.set("z", IntAttribute(7));
    GroupBuilder builder;
    builder.set("a.b.c", IntAttribute(1)).set("n", IntAttribute(2)).set("x.y", literal.build());
    GroupBuilder dotted(QN_GROUP_BUILDER_MODE_LITERAL);
    dotted.set("p.q", IntAttribute(8));
    builder.set("lit", dotted.build());
    const GroupAttribute g = builder.build();

    struct Case {
        const char* name;
        int expected; // -1: no such child
    };
    const Case cases[] = {
        {"a.b.c", 1}, {"n", 2},        {"x.y.z", 7},    {"lit.p.q", 8}, {"a.b.d", -1},
        {"n.x", -1},  {"a.b.c.d", -1}, {"missing", -1}, {"", -1},       {"a.", -1},
    };
    for (const Case& c : cases) {
        const Attribute child = g.getChildByName(c.name);
        if (c.expected < 0)
            EXPECT_FALSE(child.isValid()) << c.name;
        else
            EXPECT_EQ(IntAttribute(child).getValue(-1, false), c.expected) << c.name;
    }
    EXPECT_EQ(g.getNumberOfChildren(), 4);
    EXPECT_EQ(g.getChildName(3), "lit");
    EXPECT_EQ(g.getChildName(4), "");
    EXPECT_EQ(g.getChildName(-1), "");
    EXPECT_FALSE(g.getChildByIndex(4).isValid());
    EXPECT_EQ(GroupAttribute(g.getChildByName("a.b")).getNumberOfChildren(), 1);
    EXPECT_EQ(GroupAttribute().getChildName(0), "");
    EXPECT_FALSE(GroupAttribute().getChildByName("a").isValid());
}

TEST_F(GroupAttributeTest, RawBuilderEntriesIgnoreNullArgumentsAndEmptyTheBuilderOnRequest) {
    QnGroupBuilderHandle raw = suite()->createGroupBuilderWithMode(QN_GROUP_BUILDER_MODE_DEFAULT);
    const IntAttribute one(1);
    suite()->groupBuilderSet(raw, nullptr, 3, one.getHandle());
    suite()->groupBuilderSet(raw, "a", 1, nullptr);
    suite()->groupBuilderSet(nullptr, "a", 1, one.getHandle());
    suite()->groupBuilderDelete(raw, nullptr, 0);
    suite()->groupBuilderUpdate(raw, one.getHandle());        // not a group
    suite()->groupBuilderSet(raw, "abc", 1, one.getHandle()); // the length counts, not the terminator
    // Flag bit 0 of the build entry empties the builder afterwards.
    const GroupAttribute kept(Attribute::adopt(suite()->groupBuilderBuild(raw, 0)));
    const GroupAttribute last(Attribute::adopt(suite()->groupBuilderBuild(raw, 1)));
    const GroupAttribute emptied(Attribute::adopt(suite()->groupBuilderBuild(raw, 0)));
    suite()->releaseGroupBuilder(raw);
    suite()->releaseGroupBuilder(nullptr);
    EXPECT_EQ(describe(kept), "a=1");
    EXPECT_EQ(describe(last), "a=1");
    EXPECT_EQ(describe(emptied), "");
    EXPECT_EQ(suite()->groupBuilderBuild(nullptr, 0), nullptr);
}

TEST(AttributeHostExtensionOffer, OfferedUnlessTheEnvironmentSwitchesItOff) {
    ASSERT_NE(hostSuite(), nullptr);
    const char* setting = std::getenv("VEXIL_HOST_EXTENSIONS");
    EXPECT_EQ(offeredExtension() != nullptr, !(setting && std::strcmp(setting, "0") == 0));
    EXPECT_EQ(offeredExtension(2), nullptr);
    // The client takes what the table offers.
    EXPECT_EQ(GroupBuilder::extension(), offeredExtension());
}

TEST_F(GroupAttributeTest, TheOneCallEntryTakesReferencesOnlyWhenAskedAndWhenItSucceeds) {
    const AttributeHostExtensionSuite* const extension = offeredExtension();
    if (!extension)
        GTEST_SKIP() << "the extension is withheld (VEXIL_HOST_EXTENSIONS=0)";
    const IntAttribute one(1), two(2);
    const char* names[] = {"a", nullptr, "bc", "x.y"};
    const int32_t lengths[] = {-1, 1, 1, -1}; // "bc" counts one character
    const QnAttributeHandle values[] = {one.getHandle(), two.getHandle(), two.getHandle(), one.getHandle()};

    const GroupAttribute borrowed(Attribute::adopt(
        extension->buildGroup(QN_GROUP_BUILDER_MODE_DEFAULT, nullptr, 4, names, lengths, values, 0)));
    EXPECT_EQ(describe(borrowed), "a=1 b=2 x{y=1}");

    // Taken references and an extra one for the caller: releasing what is owned leaves no leak.
    suite()->retain(one.getHandle());
    suite()->retain(two.getHandle());
    suite()->retain(borrowed.getHandle()); // the base is taken as well
    const QnAttributeHandle taken[] = {one.getHandle(), two.getHandle()};
    const char* literal[] = {"p.q", "r"};
    const QnAttributeHandle twice =
        extension->buildGroup(QN_GROUP_BUILDER_MODE_LITERAL, borrowed.getHandle(), 2, literal, nullptr, taken,
                              QN_BUILD_GROUP_TAKE_VALUES | QN_BUILD_GROUP_EXTRA_REFERENCE);
    suite()->retain(borrowed.getHandle());
    const GroupAttribute again(
        Attribute::adopt(extension->buildGroup(QN_GROUP_BUILDER_MODE_LITERAL, borrowed.getHandle(), 0,
                                               nullptr, nullptr, nullptr, QN_BUILD_GROUP_TAKE_VALUES)));
    EXPECT_TRUE(again.isContentEqual(borrowed));
    const GroupAttribute first(Attribute::adopt(twice)), second(Attribute::share(twice));
    suite()->release(twice);
    EXPECT_EQ(describe(first), "a=1 b=2 x{y=1} p.q=1 r=2");

    // Bad counts and missing arrays build nothing and take nothing.
    EXPECT_EQ(extension->buildGroup(0, nullptr, -1, names, lengths, values, QN_BUILD_GROUP_TAKE_VALUES),
              nullptr);
    EXPECT_EQ(extension->buildGroup(0, nullptr, 1, nullptr, lengths, values, QN_BUILD_GROUP_TAKE_VALUES),
              nullptr);
    EXPECT_EQ(extension->buildGroup(0, nullptr, 1, names, lengths, nullptr, 0), nullptr);
}

} // namespace
