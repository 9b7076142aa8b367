// Groups: ordered children, dotted lookup, and both builder modes.
#include "tests/attribute/AttributeTestSupport.h"

using namespace AttributeTests;

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

using GroupAttributeTest = AttributeTest;

TEST_F(GroupAttributeTest, DefaultModeBuildsNestedGroupsFromDottedNames) {
    struct Step {
        const char* op; // "set" or "del"
        const char* name;
        int value;
    };
    struct Case {
        const char* what;
        std::vector<Step> steps;
        const char* expected;
    };
    const Case cases[] = {
        {"dotted set creates the group", {{"set", "args.targetOrigin", 1}}, "args{targetOrigin=1}"},
        {"a second dotted set keeps the other children",
         {{"set", "args.a", 1}, {"set", "type", 2}, {"set", "args.b", 3}},
         "args{a=1 b=3} type=2"},
        {"set of an existing name replaces it in place",
         {{"set", "a", 1}, {"set", "b", 2}, {"set", "c", 3}, {"set", "b", 9}},
         "a=1 b=9 c=3"},
        {"a non-group child gives way to a group at its position",
         {{"set", "a", 1}, {"set", "b", 2}, {"set", "a.x", 3}},
         "a{x=3} b=2"},
        {"three levels", {{"set", "a.b.c", 1}, {"set", "a.b.d", 2}, {"set", "a.e", 3}}, "a{b{c=1 d=2} e=3}"},
        {"a dotted delete keeps the siblings",
         {{"set", "args.a", 1}, {"set", "args.b", 2}, {"del", "args.a", 0}},
         "args{b=2}"},
        {"deleting an absent name changes nothing",
         {{"set", "a", 1}, {"del", "b", 0}, {"del", "a.b", 0}},
         "a=1"},
        {"delete then set appends",
         {{"set", "a", 1}, {"set", "b", 2}, {"del", "a", 0}, {"set", "a", 3}},
         "b=2 a=3"},
        {"paths with empty segments are ignored",
         {{"set", "a..b", 1}, {"set", ".a", 2}, {"set", "a.", 3}, {"set", "", 4}, {"set", "ok", 5}},
         "ok=5"},
    };
    for (const Case& c : cases) {
        GroupBuilder builder;
        for (const Step& s : c.steps) {
            if (std::string(s.op) == "set")
                builder.set(s.name, IntAttribute(s.value));
            else
                builder.del(s.name);
        }
        EXPECT_EQ(describe(builder.build()), c.expected) << c.what;
    }
}

TEST_F(GroupAttributeTest, DottedSetReachesIntoAnExistingGroupChild) {
    GroupBuilder inner;
    inner.set("y", IntAttribute(1)).set("z", IntAttribute(2));
    const GroupAttribute args = inner.build();
    GroupBuilder outer;
    outer.set("args", args).set("args.x", IntAttribute(3)).set("args.y", IntAttribute(4));
    EXPECT_EQ(describe(outer.build()), "args{y=4 z=2 x=3}");
    // The group that was set is immutable and unchanged.
    EXPECT_EQ(describe(args), "y=1 z=2");
}

TEST_F(GroupAttributeTest, UpdateSetsEveryChildInOrderReplacingWholeChildren) {
    GroupBuilder source;
    source.set("b", IntAttribute(20)).set("args.x", IntAttribute(30)).set("d", IntAttribute(40));
    GroupBuilder builder;
    builder.set("a", IntAttribute(1)).set("args.y", IntAttribute(2)).set("b", IntAttribute(3));
    builder.update(source.build());
    EXPECT_EQ(describe(builder.build()), "a=1 args{x=30} b=20 d=40");
    builder.update(GroupAttribute()); // an invalid group changes nothing
    EXPECT_EQ(describe(builder.build()), "a=1 args{x=30} b=20 d=40");
}

TEST_F(GroupAttributeTest, BuildLeavesTheBuilderUsable) {
    GroupBuilder builder;
    builder.set("a", IntAttribute(1));
    const GroupAttribute first = builder.build();
    builder.set("b", IntAttribute(2)).set("a", IntAttribute(5));
    const GroupAttribute second = builder.build();
    EXPECT_EQ(describe(first), "a=1");
    EXPECT_EQ(describe(second), "a=5 b=2");
    EXPECT_EQ(describe(GroupBuilder().build()), "");
    EXPECT_TRUE(GroupBuilder().build().isValid());

    // Flag bit 0 of the build entry empties the builder afterwards.
    QnGroupBuilderHandle raw = suite()->createGroupBuilder();
    suite()->groupBuilderSet(raw, "n", -1, IntAttribute(1).getHandle());
    const GroupAttribute kept(Attribute::adopt(suite()->groupBuilderBuild(raw, 1)));
    const GroupAttribute emptied(Attribute::adopt(suite()->groupBuilderBuild(raw, 0)));
    suite()->releaseGroupBuilder(raw);
    EXPECT_EQ(describe(kept), "n=1");
    EXPECT_EQ(describe(emptied), "");
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

TEST_F(GroupAttributeTest, BuilderIgnoresNullArguments) {
    QnGroupBuilderHandle raw = suite()->createGroupBuilderWithMode(QN_GROUP_BUILDER_MODE_DEFAULT);
    const IntAttribute one(1);
    suite()->groupBuilderSet(raw, nullptr, 3, one.getHandle());
    suite()->groupBuilderSet(raw, "a", 1, nullptr);
    suite()->groupBuilderSet(nullptr, "a", 1, one.getHandle());
    suite()->groupBuilderDelete(raw, nullptr, 0);
    suite()->groupBuilderUpdate(raw, one.getHandle());        // not a group
    suite()->groupBuilderSet(raw, "abc", 1, one.getHandle()); // the length counts, not the terminator
    const GroupAttribute g(Attribute::adopt(suite()->groupBuilderBuild(raw, 0)));
    suite()->releaseGroupBuilder(raw);
    suite()->releaseGroupBuilder(nullptr);
    EXPECT_EQ(describe(g), "a=1");
    EXPECT_EQ(suite()->groupBuilderBuild(nullptr, 0), nullptr);
}

} // namespace
