// Dotted-path edits of attribute groups and the value append behind extendAttr.
#include "host/engine/AttributeEdit.h"
#include "tests/host/HostTestSupport.h"

#include <gtest/gtest.h>

namespace VexilHost {
namespace {

using namespace HostTest;

std::vector<std::string> names(const Qn::GroupAttribute& g) {
    std::vector<std::string> out;
    for (int64_t i = 0; i < g.getNumberOfChildren(); ++i) {
        out.push_back(g.getChildName(i));
    }
    return out;
}

TEST(AttributeEdit, SplitsDottedNamesAndDropsEmptyParts) {
    using V = std::vector<std::string>;
    EXPECT_EQ(AttributeEdit::splitDotted("xform.constraint.type"), (V{"xform", "constraint", "type"}));
    EXPECT_EQ(AttributeEdit::splitDotted("a..b."), (V{"a", "b"}));
    EXPECT_EQ(AttributeEdit::splitDotted(""), V{});
}

TEST(AttributeEdit, SetKeepsPositionsAndCreatesIntermediateGroups) {
    const Qn::GroupAttribute base =
        decoded({{"a", doubles({1})}, {"b", doubles({2})}, {"c", strings({"x"})}});
    const Qn::GroupAttribute replaced = AttributeEdit::set(base, {"b"}, decoded(strings({"new"})));
    EXPECT_EQ(names(replaced), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(Qn::StringAttribute(replaced.getChildByName("b")).getValue(), "new");

    // "c" is a string: setting c.d replaces it with a group holding d.
    const Qn::GroupAttribute nested = AttributeEdit::set(base, {"c", "d", "e"}, decoded(doubles({5})));
    EXPECT_EQ(names(nested), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(Qn::DoubleAttribute(AttributeEdit::get(nested, {"c", "d", "e"})).getValue(), 5.0);
    // The original is unchanged: attributes are immutable.
    EXPECT_EQ(Qn::StringAttribute(base.getChildByName("c")).getValue(), "x");

    const Qn::GroupAttribute appended = AttributeEdit::set(base, {"z"}, decoded(doubles({9})));
    EXPECT_EQ(names(appended), (std::vector<std::string>{"a", "b", "c", "z"}));
}

TEST(AttributeEdit, NamesWithDotsAreTakenLiterallyByChildNamed) {
    const Qn::GroupAttribute keyed =
        decoded({{"/root/world/geo.001", doubles({1})}, {"/root/world/geo", doubles({2})}});
    EXPECT_EQ(Qn::DoubleAttribute(AttributeEdit::childNamed(keyed, "/root/world/geo.001")).getValue(), 1.0);
    EXPECT_EQ(Qn::DoubleAttribute(AttributeEdit::childNamed(keyed, "/root/world/geo")).getValue(), 2.0);
    EXPECT_FALSE(AttributeEdit::childNamed(keyed, "/root/world").isValid());
    EXPECT_FALSE(AttributeEdit::childNamed(Qn::GroupAttribute(), "a").isValid());
}

TEST(AttributeEdit, RemoveDeletesOnlyTheNamedLeaf) {
    const Qn::GroupAttribute base =
        decoded({{"a", {{"b", doubles({1})}, {"c", doubles({2})}}}, {"d", doubles({3})}});
    const Qn::GroupAttribute removed = AttributeEdit::remove(base, {"a", "b"});
    EXPECT_EQ(names(Qn::GroupAttribute(removed.getChildByName("a"))), std::vector<std::string>{"c"});
    EXPECT_EQ(names(AttributeEdit::remove(base, {"d"})), std::vector<std::string>{"a"});
    // Absent paths leave the group as it is.
    EXPECT_TRUE(AttributeEdit::remove(base, {"x", "y"}).isContentEqual(base));
    EXPECT_TRUE(AttributeEdit::remove(base, {"d", "y"}).isContentEqual(base));
}

TEST(AttributeEdit, AppendValuesOfOneKind) {
    std::string error;
    const Qn::StringAttribute list(
        AttributeEdit::appendValues(decoded(strings({"/a", "/b"})), decoded(strings({"/c"})), error));
    EXPECT_EQ(error, "");
    EXPECT_EQ(list.getNearestSampleStrings(0.0f), (std::vector<std::string>{"/a", "/b", "/c"}));

    // Absent base: the appended values themselves.
    const Qn::StringAttribute created(
        AttributeEdit::appendValues(Qn::Attribute(), decoded(strings({"/c"})), error));
    EXPECT_EQ(created.getNearestSampleStrings(0.0f), std::vector<std::string>{"/c"});

    // One appended sample goes to every sample of a multi-sampled base, which keeps its times.
    const Qn::DoubleAttribute twoSamples(
        AttributeEdit::appendValues(decoded(sampledDoubles({{"0", {1, 2, 3}}, {"1", {4, 5, 6}}}, 3)),
                                    decoded(doubles({7, 8, 9}, 3)), error));
    EXPECT_EQ(error, "");
    EXPECT_EQ(twoSamples.getSampleTimes(), (std::vector<float>{0.0f, 1.0f}));
    EXPECT_EQ(twoSamples.getTupleSize(), 3);
    const auto late = twoSamples.getNearestSample(1.0f);
    EXPECT_EQ(std::vector<double>(late.begin(), late.end()), (std::vector<double>{4, 5, 6, 7, 8, 9}));

    // Equal sample times append sample by sample.
    const Qn::DoubleAttribute paired(
        AttributeEdit::appendValues(decoded(sampledDoubles({{"0", {1}}, {"1", {2}}})),
                                    decoded(sampledDoubles({{"0", {10}}, {"1", {20}}})), error));
    const auto first = paired.getNearestSample(0.0f);
    EXPECT_EQ(std::vector<double>(first.begin(), first.end()), (std::vector<double>{1, 10}));
}

TEST(AttributeEdit, AppendRejectsMismatchesWithAReason) {
    const struct {
        const char* what;
        Json base;
        Json extra; ///< null: a null attribute
        const char* error;
    } cases[] = {
        {"kinds", strings({"a"}), doubles({1}), "cannot append double values to a string attribute"},
        {"group extra", strings({"a"}), Json::object(), "cannot append a group attribute"},
        {"null extra", strings({"a"}), Json(), "cannot append a null attribute"},
        {"group base", Json::object(), doubles({1}), "cannot append double values to a group attribute"},
        {"tuple sizes", doubles({1, 2, 3}, 3), doubles({1, 2}, 2),
         "cannot append values of tuple size 2 to an attribute of tuple size 3"},
        {"sample times", sampledDoubles({{"0", {1}}, {"1", {2}}}), sampledDoubles({{"0", {1}}, {"0.5", {2}}}),
         "cannot append values whose sample times differ from the attribute's"},
    };
    for (const auto& c : cases) {
        std::string error;
        const Qn::Attribute result = AttributeEdit::appendValues(
            decoded(c.base), c.extra.is_null() ? Qn::Attribute() : decoded(c.extra), error);
        EXPECT_FALSE(result.isValid()) << c.what;
        EXPECT_EQ(error, c.error) << c.what;
    }
}

} // namespace
} // namespace VexilHost
