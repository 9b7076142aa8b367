// ConstraintEdit end to end through vexil-cook: create, override, resolve, list edits and errors.
#include "EditTestSupport.h"
#include "JsonFile.h"

#include <gtest/gtest.h>

using namespace VexilTest;
using Strings = std::vector<std::string>;

namespace {

const double kTolerance = 1e-12;

Json editArgs(const std::string& type, const std::string& path, const Json& setAttrs) {
    return {{"constraintType", type},
            {"locationPath", path},
            {"action", "createOrOverride"},
            {"setAttrs", setAttrs}};
}

Json listArgs(const std::string& action, const std::string& path) {
    return {{"locationPath", path}, {"action", action}};
}

Imath::M44d frame(const Imath::V3d& x, const Imath::V3d& y, const Imath::V3d& z, const Imath::V3d& t) {
    return Imath::M44d(x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, t.x, t.y, t.z, 1);
}

} // namespace

// The base sits at (1,2,3) and the target straight down -z at (1,2,-2), so the aim direction is -z and
// the world up is +y. The default aim axis +x turned onto -z about y gives rows x=(0,0,-1), y=(0,1,0),
// z=(1,0,0); an aim axis overridden to +z must turn half a turn about y: rows (-1,0,0), (0,1,0), (0,0,-1).
TEST(ConstraintEdit, CreateOverrideAndResolveAnAim) {
    struct Case {
        const char* name;
        Json overrides; // setAttrs of a second ConstraintEdit, or null for none
        Imath::M44d expected;
    };
    const Imath::V3d base(1, 2, 3);
    const std::vector<Case> cases = {
        {"defaults", Json(), frame({0, 0, -1}, {0, 1, 0}, {1, 0, 0}, base)},
        {"aimAlongZ",
         {{"args.baseAimAxis", float3(0, 0, 1)}},
         frame({-1, 0, 0}, {0, 1, 0}, {0, 0, -1}, base)},
        {"nestedGroup",
         {{"args", {{"baseAimAxis", float3(0, 0, 1)}}}},
         frame({-1, 0, 0}, {0, 1, 0}, {0, 0, -1}, base)},
    };
    for (const Case& c : cases) {
        Json ops =
            Json::array({op("ConstraintEdit",
                            editArgs("Aim", "/root/world/a", {{"target", Json::array({"/root/world/t"})}}))});
        if (!c.overrides.is_null()) {
            ops.push_back(op("ConstraintEdit", editArgs("Aim", "/root/world/a", c.overrides)));
        }
        const Json children = {{"t", placed({1, 2, -2})}, {"a", placed(base)}};

        // Before resolving: one constraint, the defaults with the override applied.
        CookResult authored = cookChain(children, ops);
        EXPECT_EQ(memberNames(attribute(authored.scene, "/root/world/a", "xform")),
                  (Strings{"translate", "constraint"}))
            << c.name;
        const Json& constraint = attribute(authored.scene, "/root/world/a", "xform.constraint");
        EXPECT_EQ(constraint["type"], "Aim") << c.name;
        EXPECT_EQ(constraint["target"], "/root/world/t") << c.name;
        EXPECT_EQ(constraint["args"]["baseUpAxis"], float3(0, 1, 0)) << c.name;
        EXPECT_EQ(constraint["args"]["baseAimAxis"],
                  c.overrides.is_null() ? float3(1, 0, 0) : float3(0, 0, 1))
            << c.name;

        ops.push_back(op("ConstraintResolve", Json::object()));
        CookResult resolved = cookChain(children, ops);
        EXPECT_LT(maxDifference(world(resolved.scene, "/root/world/a"), c.expected), kTolerance) << c.name;
        EXPECT_EQ(stringValue(resolved.scene, "/root/world/a", "errorMessage"), "") << c.name;
    }
}

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

// Bad arguments the failure catalogue does not already cook with the same input: the error stops the
// traversal where it is reported, so nothing below is touched or marked.
TEST(ConstraintEdit, BadArgumentsReportAClearErrorAndNeverCrash) {
    const std::string path = "/root/world/a";
    struct Case {
        Json args;
        std::string message;
    };
    const std::vector<Case> cases = {
        {{{"locationPath", ints({1})}, {"action", "addToConstraintList"}},
         "ConstraintEdit: a 'locationPath' argument must be given."},
        {{{"locationPath", path}, {"action", "createOrOverride"}, {"constraintType", "aim"}},
         "ConstraintEdit: unsupported constraint type 'aim'; the types are 'Aim', 'Orient' and 'Point'."},
    };
    for (const Case& c : cases) {
        const Json children = {{"a", placed({0, 0, 0})}};
        CookResult result = cookChain(children, Json::array({op("ConstraintEdit", c.args)}));
        EXPECT_EQ(stringValue(result.scene, "/root", "type"), "error") << c.message;
        EXPECT_EQ(stringValue(result.scene, "/root", "errorMessage"), c.message);
        EXPECT_TRUE(attribute(result.scene, "/root/world", "errorMessage").is_null()) << c.message;
        EXPECT_EQ(memberNames(attribute(result.scene, path, "xform")), Strings{"translate"}) << c.message;
        bool present = true;
        constraintList(result.scene, present);
        EXPECT_FALSE(present) << c.message;
    }
}
