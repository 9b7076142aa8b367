// The argument reader of constraint descriptions: it must find exactly what the group's dotted lookup
// finds, including a literal child whose name holds a dot, and keep the required-argument message.
#include "constraints/resolve/ConstraintArguments.h"
#include "hostapi/attribute/DataAttribute.h"
#include "tests/support/LiteralGroup.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace Vexil3Constraints::Private;

namespace {

using VexilTest::Children;
using VexilTest::literalGroup;

Qn::Attribute intValue(int value) {
    return Qn::IntAttribute(value);
}

Qn::Attribute text(const char* value) {
    return Qn::StringAttribute(value);
}

} // namespace

TEST(ConstraintArguments, AxisFlagsFollowTheDottedLookup) {
    const Qn::GroupAttribute args0 = literalGroup({{"xAxis", intValue(0)}, {"yAxis", intValue(3)}});
    const Qn::GroupAttribute args1 = literalGroup({{"xAxis", intValue(1)}});
    struct Case {
        const char* name;
        Qn::GroupAttribute group;
        bool x, y, z;
    };
    const std::vector<Case> cases = {
        {"argsGroup", literalGroup({{"type", text("Point")}, {"args", args0}}), false, true, true},
        {"noArgs", literalGroup({{"type", text("Point")}}), true, true, true},
        {"argsNotAGroup", literalGroup({{"args", intValue(0)}}), true, true, true},
        // Only the child named exactly "args" holds the arguments.
        {"similarNames", literalGroup({{"arg", args1}, {"argsArgs", args1}, {"args", args0}}), false, true,
         true},
        // A literal child named "args.xAxis" wins over args -> xAxis, in both directions.
        {"literalWinsOff", literalGroup({{"args", args1}, {"args.xAxis", intValue(0)}}), false, true, true},
        {"literalWinsOn", literalGroup({{"args.xAxis", intValue(7)}, {"args", args0}}), true, true, true},
        // A dotted name elsewhere changes nothing for the axes that have no literal child.
        {"otherDotted", literalGroup({{"args", args0}, {"args.zAxis", intValue(0)}}), false, true, false},
        {"unrelatedDot", literalGroup({{"a.b", intValue(0)}, {"args", args0}}), false, true, true},
        // Only an integer with a value switches an axis off.
        {"floatAxis", literalGroup({{"args", literalGroup({{"zAxis", Qn::FloatAttribute(0.0f)}})}}), true,
         true, true},
        {"emptyAxis",
         literalGroup({{"args", literalGroup({{"zAxis", Qn::IntAttribute(std::vector<int32_t>{})}})}}), true,
         true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ConstraintArguments arguments(c.group);
        EXPECT_EQ(c.x, getAxisFlag(arguments, "args.xAxis"));
        EXPECT_EQ(c.y, getAxisFlag(arguments, "args.yAxis"));
        EXPECT_EQ(c.z, getAxisFlag(arguments, "args.zAxis"));
        for (const char* name : {"args.xAxis", "args.yAxis", "args.zAxis", "args", "type", "a.b", "args."}) {
            EXPECT_EQ(c.group.getChildByName(name), arguments.get(name)) << name;
        }
    }
}

TEST(ConstraintArguments, NestedNamesReachAsDeepAsTheDottedLookup) {
    const Qn::Attribute nearInArgs = Qn::FloatAttribute(10.0f);
    const Qn::Attribute nearLiteral = Qn::FloatAttribute(20.0f);
    const Qn::GroupAttribute args = literalGroup({{"pad", literalGroup({{"near", nearInArgs}})}});
    // Without dotted names the nested value is found inside args; with a literal "args.pad" group the
    // dotted lookup still tries args -> pad.near first, and the reader must agree.
    const Qn::GroupAttribute plain = literalGroup({{"args", args}});
    const Qn::GroupAttribute mixed =
        literalGroup({{"args.pad", literalGroup({{"near", nearLiteral}})}, {"args", args}});
    const Qn::GroupAttribute literalOnly =
        literalGroup({{"args.pad", literalGroup({{"near", nearLiteral}})}});
    EXPECT_EQ(nearInArgs, ConstraintArguments(plain).get("args.pad.near"));
    EXPECT_EQ(mixed.getChildByName("args.pad.near"), ConstraintArguments(mixed).get("args.pad.near"));
    EXPECT_EQ(nearLiteral, ConstraintArguments(literalOnly).get("args.pad.near"));
    EXPECT_FALSE(ConstraintArguments(plain).get("args.pad.far").isValid());
}

TEST(ConstraintArguments, RequiredOriginModes) {
    struct Case {
        const char* name;
        Qn::Attribute value; ///< args.targetOrigin; invalid: absent
        OriginMode expected;
        const char* error; ///< empty when no error is expected
    };
    const std::vector<Case> cases = {
        {"origin", text("origin"), OriginMode::Origin, ""},
        {"box", text("boundingBox"), OriginMode::BoundingBox, ""},
        {"faces", text("faceCenterAverage"), OriginMode::FaceCenterAverage, ""},
        {"faceBox", text("faceBoundingBox"), OriginMode::FaceBoundingBox, ""},
        {"unknown", text("object"), OriginMode::Origin, ""},
        {"caseMatters", text("BoundingBox"), OriginMode::Origin, ""},
        {"empty", text(""), OriginMode::Origin, "Point constraint resolver: empty args.targetOrigin."},
        {"missing", Qn::Attribute(), OriginMode::Origin,
         "Point constraint resolver: empty args.targetOrigin."},
        {"notAString", intValue(1), OriginMode::Origin,
         "Point constraint resolver: empty args.targetOrigin."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Children args;
        if (c.value.isValid())
            args.emplace_back("targetOrigin", c.value);
        const Qn::GroupAttribute group = literalGroup({{"args", literalGroup(args)}});
        const ConstraintArguments arguments(group);
        // The prepared reader and the single dotted lookup must agree, message included.
        const std::vector<std::pair<const char*, std::function<OriginMode()>>> readers = {
            {"foundThenRequired",
             [&] {
                 return requireOriginMode(findOriginMode(arguments, "args.targetOrigin"), "Point",
                                          "args.targetOrigin");
             }},
            {"dottedFoundThenRequired",
             [&] {
                 return requireOriginMode(findOriginMode(group, "args.targetOrigin"), "Point",
                                          "args.targetOrigin");
             }},
        };
        for (const auto& [how, read] : readers) {
            SCOPED_TRACE(how);
            if (std::string(c.error).empty()) {
                EXPECT_EQ(c.expected, read());
                continue;
            }
            try {
                read();
                ADD_FAILURE() << "no error";
            } catch (const std::runtime_error& e) {
                EXPECT_STREQ(c.error, e.what());
            }
        }
    }
    // A literal dotted child decides the mode when it is there.
    const Qn::GroupAttribute literal = literalGroup(
        {{"args", literalGroup({{"baseOrigin", text("origin")}})}, {"args.baseOrigin", text("boundingBox")}});
    EXPECT_EQ(OriginMode::BoundingBox, findOriginMode(literal, "args.baseOrigin"));
    EXPECT_EQ(OriginMode::BoundingBox, findOriginMode(ConstraintArguments(literal), "args.baseOrigin"));
}
