// Groups built in one call through the AttributeHostExtension suite: the same groups as the plain
// builder, every reference accounted for, and the suite withheld on request.
#include "tests/attribute/AttributeTestSupport.h"

#include <vexil/AttributeHostExtension.h>

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <functional>

using namespace AttributeTests;

namespace {

/// The library's service table (loadSuite keeps the library open; this finds the same copy).
const VexilHost* libraryHost() {
    if (!hostSuite())
        return nullptr;
    void* library = dlopen((std::string(VEXIL_BUILD_DIR) + "/bin/libQnAttributeHost.so").c_str(), RTLD_NOW);
    const auto getHost = reinterpret_cast<QnGetAttributeHostFn>(dlsym(library, QN_GET_ATTRIBUTE_HOST_SYMBOL));
    dlclose(library); // drops only this look-up's count
    return getHost();
}

const AttributeHostExtensionSuite*
offeredExtension(unsigned int version = QN_ATTRIBUTE_HOST_EXTENSION_SUITE_VERSION) {
    return static_cast<const AttributeHostExtensionSuite*>(
        libraryHost()->getSuite(QN_ATTRIBUTE_HOST_EXTENSION_SUITE_NAME, version));
}

/// Builds with the extension switched on (the suite given) or off (null), restoring what was there.
GroupAttribute buildWith(const AttributeHostExtensionSuite* extension,
                         const std::function<GroupAttribute()>& script) {
    const AttributeHostExtensionSuite* before = GroupBuilder::extension();
    GroupBuilder::setExtension(extension);
    GroupAttribute built = script();
    GroupBuilder::setExtension(before);
    return built;
}

TEST(AttributeHostExtensionOffer, OfferedUnlessTheEnvironmentSwitchesItOff) {
    const char* setting = std::getenv("VEXIL_HOST_EXTENSIONS");
    const bool switchedOff = setting && std::strcmp(setting, "0") == 0;
    ASSERT_NE(libraryHost(), nullptr);
    EXPECT_EQ(offeredExtension() != nullptr, !switchedOff);
    EXPECT_EQ(offeredExtension(2), nullptr);
    // The client takes what the table offers.
    EXPECT_EQ(GroupBuilder::extension(), offeredExtension());
}

class GroupBuildInOneCallTest : public AttributeTest {
protected:
    void SetUp() override {
        AttributeTest::SetUp();
        m_extension = offeredExtension();
        if (!m_extension)
            GTEST_SKIP() << "the extension is withheld (VEXIL_HOST_EXTENSIONS=0)";
    }
    const AttributeHostExtensionSuite* m_extension = nullptr;
};

TEST_F(GroupBuildInOneCallTest, BuildersMakeTheSameGroupsWithAndWithoutTheExtension) {
    const GroupAttribute nested = [] {
        GroupBuilder b;
        b.set("y", IntAttribute(1)).set("z", IntAttribute(2));
        return b.build();
    }();
    struct Case {
        const char* what;
        std::function<GroupAttribute()> script;
    };
    const Case cases[] = {
        {"plain names, appended",
         [] {
             return GroupBuilder().set("a", IntAttribute(1)).set("b", IntAttribute(2)).build();
         }},
        {"empty",
         [] {
             return GroupBuilder(QN_GROUP_BUILDER_MODE_LITERAL).build();
         }},
        {"a repeated name replaces in place",
         [] {
             return GroupBuilder()
                 .set("a", IntAttribute(1))
                 .set("b", IntAttribute(2))
                 .set("a", IntAttribute(3))
                 .build();
         }},
        {"literal names with dots, one repeated",
         [] {
             GroupBuilder b(QN_GROUP_BUILDER_MODE_LITERAL);
             return b.set("/root/geo.001", IntAttribute(1))
                 .set("x.y", IntAttribute(2))
                 .set("/root/geo.001", IntAttribute(3))
                 .build();
         }},
        {"dotted names reach into a group that was set",
         [&] {
             return GroupBuilder()
                 .set("args", nested)
                 .set("args.x", IntAttribute(3))
                 .set("args.y", IntAttribute(4))
                 .build();
         }},
        {"empty segments and invalid values are skipped",
         [] {
             return GroupBuilder()
                 .set("a..b", IntAttribute(1))
                 .set("", IntAttribute(2))
                 .set("ok", IntAttribute(3))
                 .set("n", Attribute())
                 .build();
         }},
        {"an update first is the base of the sets",
         [&] {
             return GroupBuilder().update(nested).set("z", IntAttribute(9)).set("w", IntAttribute(8)).build();
         }},
        {"an update after sets replaces whole children",
         [&] {
             return GroupBuilder()
                 .set("y", IntAttribute(5))
                 .set("q.r", IntAttribute(6))
                 .update(nested)
                 .build();
         }},
        {"a delete after sets",
         [] {
             return GroupBuilder()
                 .set("a.b", IntAttribute(1))
                 .set("a.c", IntAttribute(2))
                 .set("d", IntAttribute(3))
                 .del("a.b")
                 .build();
         }},
        {"sets after a build continue from what was built",
         [] {
             GroupBuilder b;
             b.set("a.b", IntAttribute(1)).set("c", IntAttribute(2));
             const GroupAttribute first = b.build();
             b.set("a.d", IntAttribute(3)).set("c", IntAttribute(4)).del("missing");
             b.build();
             return b.set("e", first).build();
         }},
        {"a moved builder keeps its children",
         [] {
             GroupBuilder a;
             a.set("a", IntAttribute(1)).set("b.c", IntAttribute(2));
             GroupBuilder moved(std::move(a));
             GroupBuilder assigned(QN_GROUP_BUILDER_MODE_LITERAL);
             assigned.set("dropped", IntAttribute(0));
             assigned = std::move(moved);
             // The builders moved from are empty and usable; what they collect now is theirs alone.
             a.set("overwrites", IntAttribute(7));
             moved.set("overwrites", IntAttribute(8));
             return assigned.set("b.d", IntAttribute(3)).build();
         }},
        {"more children than are compared pairwise",
         [] {
             GroupBuilder b(QN_GROUP_BUILDER_MODE_LITERAL);
             for (int i = 0; i < 40; ++i)
                 b.set("/root/geo" + std::to_string(i % 30), IntAttribute(i));
             return b.build();
         }},
    };
    for (const Case& c : cases) {
        const GroupAttribute plain = buildWith(nullptr, c.script);
        const GroupAttribute inOneCall = buildWith(m_extension, c.script);
        ASSERT_TRUE(plain.isValid()) << c.what;
        EXPECT_TRUE(inOneCall.isContentEqual(plain)) << c.what;
    }
}

TEST_F(GroupBuildInOneCallTest, TheEntryTakesReferencesOnlyWhenAskedAndWhenItSucceeds) {
    const IntAttribute one(1), two(2);
    const char* names[] = {"a", nullptr, "bc", "x.y"};
    const int32_t lengths[] = {-1, 1, 1, -1}; // "bc" counts one character
    const QnAttributeHandle values[] = {one.getHandle(), two.getHandle(), two.getHandle(), one.getHandle()};

    const GroupAttribute borrowed(Attribute::adopt(
        m_extension->buildGroup(QN_GROUP_BUILDER_MODE_DEFAULT, nullptr, 4, names, lengths, values, 0)));
    const GroupAttribute expected = GroupBuilder().set("a", one).set("b", two).set("x.y", one).build();
    EXPECT_TRUE(borrowed.isContentEqual(expected));

    // Taken references and an extra one for the caller: releasing what is owned leaves no leak.
    suite()->retain(one.getHandle());
    suite()->retain(two.getHandle());
    suite()->retain(borrowed.getHandle()); // the base is taken as well
    const QnAttributeHandle taken[] = {one.getHandle(), two.getHandle()};
    const char* literal[] = {"p.q", "r"};
    const QnAttributeHandle twice =
        m_extension->buildGroup(QN_GROUP_BUILDER_MODE_LITERAL, borrowed.getHandle(), 2, literal, nullptr,
                                taken, QN_BUILD_GROUP_TAKE_VALUES | QN_BUILD_GROUP_EXTRA_REFERENCE);
    suite()->retain(borrowed.getHandle());
    const GroupAttribute again(
        Attribute::adopt(m_extension->buildGroup(QN_GROUP_BUILDER_MODE_LITERAL, borrowed.getHandle(), 0,
                                                 nullptr, nullptr, nullptr, QN_BUILD_GROUP_TAKE_VALUES)));
    EXPECT_TRUE(again.isContentEqual(borrowed));
    const GroupAttribute first(Attribute::adopt(twice)), second(Attribute::share(twice));
    suite()->release(twice);
    EXPECT_EQ(first.getNumberOfChildren(), 5);
    EXPECT_EQ(first.getChildName(3), "p.q");

    // Bad counts and missing arrays build nothing and take nothing.
    EXPECT_EQ(m_extension->buildGroup(0, nullptr, -1, names, lengths, values, QN_BUILD_GROUP_TAKE_VALUES),
              nullptr);
    EXPECT_EQ(m_extension->buildGroup(0, nullptr, 1, nullptr, lengths, values, QN_BUILD_GROUP_TAKE_VALUES),
              nullptr);
    EXPECT_EQ(m_extension->buildGroup(0, nullptr, 1, names, lengths, nullptr, 0), nullptr);
}

} // namespace
