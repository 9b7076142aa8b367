// The helpers of the authoring ops that need no host: constraint naming, the list removal rule,
// setAttrs flattening and the argument kinds (the argument checks' texts are the failure catalogue's). The
// working defaults and hints are checked end to end in ConstraintEditAttributesOpTest.
#include "constraints/ops/ConstraintListRules.h"
#include "constraints/ops/EditArguments.h"
#include "constraints/ops/EditableArguments.h"
#include "constraints/resolve/ConstraintNaming.h"
#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"
#include "tests/support/JsonFile.h"
#include "tests/support/LiteralGroup.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace Vexil3Constraints::Private;
using Strings = std::vector<std::string>;

namespace {

class AttributeSuite : public ::testing::Environment {
public:
    void SetUp() override { ASSERT_TRUE(Qn::Attribute::loadSuite(VEXIL_BUILD_DIR)); }
};
const auto* const g_suite = ::testing::AddGlobalTestEnvironment(new AttributeSuite);

Strings stringsOf(const Qn::Attribute& attr) {
    return Qn::StringAttribute(attr).getNearestSampleStrings(0.0f);
}

using VexilTest::literalGroup;
using Json = nlohmann::ordered_json;

/// The table `name` of edit-helpers.json.
Json helperCases(const std::string& name) {
    return VexilTest::readJsonFile(VEXIL_OPS_CASES_DIR "/edit-helpers.json").at(name);
}

} // namespace

TEST(ConstraintNaming, FreshNamesSkipTakenAndResolvedNames) {
    for (const Json& c : helperCases("freshNames")) {
        EXPECT_EQ(freshConstraintName(c.at("taken").get<std::set<std::string>>()), c.at("name"))
            << c.at("taken");
    }
    Qn::GroupBuilder xform;
    xform.set("translate", Qn::DoubleAttribute(1.0));
    xform.set("constraint", Qn::GroupAttribute(Qn::GroupBuilder().build()));
    xform.set("resolvedconstraint1", Qn::GroupAttribute(Qn::GroupBuilder().build()));
    EXPECT_EQ(freshConstraintName(xform.build()), "constraint2");
    EXPECT_EQ(freshConstraintName(Qn::GroupAttribute()), "constraint");
}

TEST(ConstraintNaming, ConstraintChildrenAndLookupByType) {
    for (const char* name : {"constraint", "constraint1", "constraintAim"}) {
        EXPECT_TRUE(isConstraintChildName(name)) << name;
    }
    for (const char* name : {"", "constrain", "Constraint", "resolvedconstraint", "translate"}) {
        EXPECT_FALSE(isConstraintChildName(name)) << name;
    }
    auto constraintOf = [](const std::string& type) {
        Qn::GroupBuilder b;
        b.set("type", Qn::StringAttribute(type));
        return b.build();
    };
    Qn::GroupBuilder xform;
    xform.set("resolvedconstraint", constraintOf("Aim")); // not a constraint child: already resolved
    xform.set("other", constraintOf("Aim"));              // not a constraint child: wrong prefix
    xform.set("constraint", constraintOf("Point"));
    xform.set("constraint1", Qn::StringAttribute("Aim")); // not a group
    xform.set("constraint2", constraintOf("Aim"));
    xform.set("constraint3", constraintOf("Aim"));
    const Qn::GroupAttribute built = xform.build();
    EXPECT_EQ(findConstraintOfType(built, "Aim").name, "constraint2");
    EXPECT_EQ(findConstraintOfType(built, "Point").name, "constraint");
    EXPECT_EQ(findConstraintOfType(built, "Orient").name, "");
    EXPECT_EQ(findConstraintOfType(built, "aim").name, "");
    EXPECT_EQ(findConstraintOfType(Qn::GroupAttribute(), "Aim").name, "");
}

TEST(ConstraintListRules, EachPathRemovesItsLastOccurrenceOnce) {
    for (const Json& c : helperCases("listRemovals")) {
        Strings list = c.at("list");
        EXPECT_EQ(removeLastOccurrences(list, c.at("remove").get<Strings>()), c.at("dropped").get<bool>())
            << c.at("why");
        EXPECT_EQ(list, c.at("left").get<Strings>()) << c.at("why");
    }
}

TEST(EditArguments, SetAttrsFlattenToDottedPathsInOrder) {
    Qn::GroupBuilder nestedArgs;
    nestedArgs.set("xAxis", Qn::IntAttribute(0));
    nestedArgs.set("deeper.flag", Qn::IntAttribute(2));
    const Qn::GroupAttribute setAttrs =
        literalGroup({{"target", Qn::StringAttribute(Strings{"/root/world/t"})},
                      {"args.targetOrigin", Qn::StringAttribute("boundingBox")},
                      {"args", nestedArgs.build()}});
    const auto flat = flattenSetAttrs(setAttrs);
    Strings paths;
    for (const auto& entry : flat) {
        paths.push_back(entry.first);
    }
    EXPECT_EQ(paths, (Strings{"target", "args.targetOrigin", "args.xAxis", "args.deeper.flag"}));
    EXPECT_EQ(stringsOf(flat[1].second), Strings{"boundingBox"});
    EXPECT_EQ(Qn::IntAttribute(flat[3].second).getValue(), 2);
    EXPECT_TRUE(flattenSetAttrs(Qn::GroupAttribute()).empty());
}

TEST(EditableArguments, KindsAcceptOnlyWhatTheResolversRead) {
    auto argumentNamed = [](const std::string& type, const std::string& name) {
        for (const EditableArgument& a : editableArguments(type)) {
            if (a.name == name) {
                return a;
            }
        }
        ADD_FAILURE() << "no argument " << name;
        return EditableArgument();
    };
    const float three[] = {1, 2, 3};
    const double threeDoubles[] = {1, 2, 3};
    const float four[] = {1, 2, 3, 4};
    struct Case {
        std::string name;
        Qn::Attribute value;
        bool accepted;
    };
    const std::vector<Case> cases = {
        {"target", Qn::StringAttribute(Strings{}), true},
        {"target", Qn::StringAttribute(Strings{"/a", "/b"}), true},
        {"target", Qn::IntAttribute(1), false},
        {"args.targetOrigin", Qn::StringAttribute("boundingBox"), true},
        {"args.targetOrigin", Qn::StringAttribute(Strings{}), false},
        {"args.targetOrigin", Qn::Attribute(), false},
        {"args.baseAimAxis", Qn::FloatAttribute(three, 3, 3), true},
        {"args.baseAimAxis", Qn::FloatAttribute(three, 3, 1), true},
        {"args.baseAimAxis", Qn::FloatAttribute(four, 4, 1), false},
        {"args.baseAimAxis", Qn::DoubleAttribute(threeDoubles, 3, 3), false},
        {"respectMotionBlur", Qn::IntAttribute(0), true},
        {"respectMotionBlur", Qn::FloatAttribute(0.0f), false},
        {"respectMotionBlur", Qn::IntAttribute(std::vector<int32_t>{}), false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(hasEditableKind(c.value, argumentNamed("Aim", c.name)), c.accepted) << c.name;
    }
}
