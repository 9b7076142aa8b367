// The one-pass reader of a constraint description must find what the lookup by name finds: the
// first child of each name, nothing for a dotted or nested name, nothing in a non-group.
#include "constraints/resolve/ConstraintDescription.h"
#include "hostapi/attribute/DataAttribute.h"
#include "tests/support/LiteralGroup.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using namespace Vexil3Constraints::Private;

namespace {

using VexilTest::Children;
using VexilTest::literalGroup;

/// The int value of a switch as the resolve path reads it; -1 when absent.
int switchValue(const Qn::Attribute& attribute) {
    return attribute.isValid() ? Qn::IntAttribute(attribute).getValue(-2, false) : -1;
}

} // namespace

TEST(ConstraintDescription, FindsWhatTheLookupByNameFinds) {
    struct Case {
        const char* name;
        Qn::GroupAttribute group;
        const char* type;      ///< "" when absent
        int allowMissing;      ///< -1 when absent
        int requireBounds;     ///< -1 when absent
        int respectMotionBlur; ///< -1 when absent
    };
    const Qn::StringAttribute point("Point");
    const std::vector<Case> cases = {
        {"all",
         literalGroup({{"type", point},
                       {"target", Qn::StringAttribute("/root/a")},
                       {"allowMissingTargets", Qn::IntAttribute(1)},
                       {"requireTargetBounds", Qn::IntAttribute(0)},
                       {"respectMotionBlur", Qn::IntAttribute(0)}}),
         "Point", 1, 0, 0},
        {"reversedAmongOthers",
         literalGroup({{"respectMotionBlur", Qn::IntAttribute(3)},
                       {"args", literalGroup({{"type", Qn::StringAttribute("Aim")}})},
                       {"requireTargetBounds", Qn::IntAttribute(1)},
                       {"type", point}}),
         "Point", -1, 1, 3},
        {"dottedAndNestedNamesAreOtherChildren",
         literalGroup({{"type.x", Qn::StringAttribute("Aim")},
                       {"allowMissingTargets.y", Qn::IntAttribute(1)},
                       {"nested", literalGroup({{"respectMotionBlur", Qn::IntAttribute(0)}})}}),
         "", -1, -1, -1},
        {"wrongKindsAreStillFound",
         literalGroup({{"type", Qn::IntAttribute(5)}, {"allowMissingTargets", Qn::StringAttribute("yes")}}),
         "", -2, -1, -1},
        {"empty", literalGroup({}), "", -1, -1, -1},
        {"notAGroup", Qn::GroupAttribute(Qn::StringAttribute("constraint")), "", -1, -1, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ConstraintDescription description = readConstraintDescription(c.group);
        EXPECT_EQ(c.type, Qn::StringAttribute(description.type).getValue(std::string(), false));
        EXPECT_EQ(c.allowMissing, switchValue(description.allowMissingTargets));
        EXPECT_EQ(c.requireBounds, switchValue(description.requireTargetBounds));
        EXPECT_EQ(c.respectMotionBlur, switchValue(description.respectMotionBlur));
        // The very attributes the lookup by name returns.
        EXPECT_EQ(c.group.getChildByName("type"), description.type);
        EXPECT_EQ(c.group.getChildByName("target"), description.target);
        EXPECT_EQ(c.group.getChildByName("allowMissingTargets"), description.allowMissingTargets);
        EXPECT_EQ(c.group.getChildByName("requireTargetBounds"), description.requireTargetBounds);
        EXPECT_EQ(c.group.getChildByName("respectMotionBlur"), description.respectMotionBlur);
    }
}
