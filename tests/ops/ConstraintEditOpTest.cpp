// ConstraintEdit end to end through vexil-cook: overrides and fresh names, and list edits (creating,
// overriding and resolving an Aim, and the errors, are scenarios; the argument texts the failure
// catalogue's).
#include "EditTestSupport.h"
#include "JsonFile.h"

#include <gtest/gtest.h>

using namespace VexilTest;
using Strings = std::vector<std::string>;

namespace {

Json editArgs(const std::string& type, const std::string& path, const Json& setAttrs) {
    return {{"constraintType", type},
            {"locationPath", path},
            {"action", "createOrOverride"},
            {"setAttrs", setAttrs}};
}

Json listArgs(const std::string& action, const std::string& path) {
    return {{"locationPath", path}, {"action", action}};
}

} // namespace

// An existing constraint of the type is overridden where it stands; a location without one gets a new
// child under the first free name, after what is there.
TEST(ConstraintEdit, OverridesInPlaceOrAddsUnderAFreshName) {
    const Json mine = {{"type", "Point"},
                       {"target", Json::array({"/root/world/t"})},
                       {"args", {{"targetOrigin", "origin"}, {"baseOrigin", "origin"}, {"custom", "kept"}}}};
    const Json children = {
        {"t", placed({0, 0, 0})},
        {"overridden", placed({0, 0, 0}, {{"constraintMine", mine}, {"scale", doubles({2, 2, 2})}})},
        {"joined",
         placed({0, 0, 0}, {{"constraint", mine}, {"resolvedconstraint1", {{"matrix", doubles({1})}}}})},
        {"bare", {{"attrs", {{"type", "group"}}}, {"children", Json::object()}}},
        {"oddXform", {{"attrs", {{"xform", "not a group"}}}, {"children", Json::object()}}},
    };
    const Json ops = Json::array({
        op("ConstraintEdit",
           editArgs("Point", "/root/world/overridden", {{"args.targetOrigin", "boundingBox"}})),
        op("ConstraintEdit", editArgs("Aim", "/root/world/joined", {{"requireTargetBounds", ints({1})}})),
        op("ConstraintEdit", editArgs("Orient", "/root/world/bare", Json::object())),
        op("ConstraintEdit", editArgs("Point", "/root/world/oddXform", {{"args.baseOrigin", "boundingBox"}})),
    });
    CookResult result = cookChain(children, ops);
    const Json& scene = result.scene;

    EXPECT_EQ(memberNames(attribute(scene, "/root/world/overridden", "xform")),
              (Strings{"translate", "constraintMine", "scale"}));
    const Json expectedMine = {
        {"type", "Point"},
        {"target", "/root/world/t"},
        {"args", {{"targetOrigin", "boundingBox"}, {"baseOrigin", "origin"}, {"custom", "kept"}}}};
    EXPECT_EQ(attribute(scene, "/root/world/overridden", "xform.constraintMine"), expectedMine);

    EXPECT_EQ(memberNames(attribute(scene, "/root/world/joined", "xform")),
              (Strings{"translate", "constraint", "resolvedconstraint1", "constraint2"}));
    EXPECT_EQ(stringValue(scene, "/root/world/joined", "xform.constraint.type"), "Point");
    EXPECT_EQ(stringValue(scene, "/root/world/joined", "xform.constraint2.type"), "Aim");
    EXPECT_EQ(attribute(scene, "/root/world/joined", "xform.constraint2.requireTargetBounds"),
              (Json{{"int", 1}}));

    const Json expectedOrient = {{"type", "Orient"},
                                 {"target", Json::array()},
                                 {"allowMissingTargets", {{"int", 0}}},
                                 {"requireTargetBounds", {{"int", 0}}},
                                 {"respectMotionBlur", {{"int", 1}}},
                                 {"args",
                                  {{"targetOrientation", "object"},
                                   {"xAxis", {{"int", 1}}},
                                   {"yAxis", {{"int", 1}}},
                                   {"zAxis", {{"int", 1}}}}}};
    EXPECT_EQ(attribute(scene, "/root/world/bare", "xform"), (Json{{"constraint", expectedOrient}}));

    EXPECT_EQ(memberNames(attribute(scene, "/root/world/oddXform", "xform")), Strings{"constraint"});
    EXPECT_EQ(stringValue(scene, "/root/world/oddXform", "xform.constraint.args.baseOrigin"), "boundingBox");
    EXPECT_EQ(stringValue(scene, "/root/world/oddXform", "xform.constraint.args.targetOrigin"), "origin");
}

// The rows of list-actions.json.
TEST(ConstraintEdit, ListActionsAddAndRemoveEntries) {
    const Json cases = readJsonFile(VEXIL_OPS_CASES_DIR "/list-actions.json").at("cases");
    ASSERT_FALSE(cases.empty());
    for (const Json& c : cases) {
        const std::string why = c.at("why");
        const Json worldAttrs = c.at("before").is_null()
                                    ? Json::object()
                                    : Json{{"globals", {{"constraintList", c.at("before")}}}};
        const Json children = {{"a", placed({0, 0, 0})}, {"b", placed({0, 0, 0})}};
        CookResult result =
            cookChain(children,
                      Json::array({op("ConstraintEdit", listArgs(c.at("action").get<std::string>(),
                                                                 c.at("path").get<std::string>()))}),
                      worldAttrs);
        bool present = false;
        EXPECT_EQ(constraintList(result.scene, present), c.at("after").get<Strings>()) << why;
        EXPECT_EQ(present, c.at("present").get<bool>()) << why;
        // The list actions leave the listed location alone.
        EXPECT_EQ(memberNames(attribute(result.scene, "/root/world/a", "xform")), Strings{"translate"})
            << why;
    }
}
