// ConstraintEditAttributes end to end through vexil-cook: the description of each editable type, with
// and without an existing constraint, its hints, and its errors.
#include "EditTestSupport.h"

#include <gtest/gtest.h>

using namespace VexilTest;
using Strings = std::vector<std::string>;

namespace {

const Json kOff = {{"int", 0}};
const Json kOn = {{"int", 1}};
const Strings kOriginModes = {"origin", "boundingBox", "faceCenterAverage", "faceBoundingBox"};

Json describeArgs(const std::string& type, const std::string& path) {
    return {{"constraintType", type}, {"locationPath", path}};
}

struct DescriptionCase {
    const char* name;
    std::string type;
    Json xformExtra;   // children added to the location's xform
    Json values;       // expected "values"
    Strings defaulted; // expected "defaulted"
    std::string constraintName;
    int exists;
};

// Values written out by hand from the working defaults and the constraints the cases install.
std::vector<DescriptionCase> descriptionCases() {
    // The switches every kind shares, then the kind's own arguments.
    auto defaults = [](const char* type, const Json& args) {
        return Json{{"type", type},
                    {"target", Json::array()},
                    {"allowMissingTargets", kOff},
                    {"requireTargetBounds", kOff},
                    {"respectMotionBlur", kOn},
                    {"args", args}};
    };
    const Json aimDefaults = defaults("Aim", {{"targetOrigin", "origin"},
                                              {"baseAimAxis", float3(1, 0, 0)},
                                              {"baseUpAxis", float3(0, 1, 0)},
                                              {"targetUpAxis", float3(0, 1, 0)}});
    const Json orientDefaults = defaults("Orient", {{"targetOrientation", "object"},
                                                    {"targetFaceIndex", kOff},
                                                    {"xAxis", kOn},
                                                    {"yAxis", kOn},
                                                    {"zAxis", kOn}});
    const Json pointDefaults = defaults("Point", {{"targetOrigin", "origin"},
                                                  {"baseOrigin", "origin"},
                                                  {"xAxis", kOn},
                                                  {"yAxis", kOn},
                                                  {"zAxis", kOn}});
    const Strings all = {"target", "allowMissingTargets", "requireTargetBounds", "respectMotionBlur"};
    auto with = [&all](const Strings& args) {
        Strings names = all;
        names.insert(names.end(), args.begin(), args.end());
        return names;
    };

    // An Aim beside a Point: the Aim (second) is described; its up axis is of a kind the resolver does not
    // read, so the default is shown for it.
    const Json existingAim = {{"type", "Aim"},
                              {"target", Json::array({"../t", "/root/world/u"})},
                              {"respectMotionBlur", kOff},
                              {"args",
                               {{"targetOrigin", "boundingBox"},
                                {"baseAimAxis", float3(0, 0, -1)},
                                {"baseUpAxis", doubles({0, 0, 1})}}}};
    Json aimValues = aimDefaults;
    aimValues["target"] = Json::array({"../t", "/root/world/u"});
    aimValues["respectMotionBlur"] = kOff;
    aimValues["args"]["targetOrigin"] = "boundingBox";
    aimValues["args"]["baseAimAxis"] = float3(0, 0, -1);

    const Json existingOrient = {
        {"type", "Orient"},
        {"target", "/root/world/t"},
        {"allowMissingTargets", kOn},
        {"requireTargetBounds", kOn},
        {"args", {{"targetOrientation", "face"}, {"targetFaceIndex", {{"int", 3}}}, {"yAxis", kOff}}}};
    Json orientValues = orientDefaults;
    orientValues["target"] = "/root/world/t";
    orientValues["allowMissingTargets"] = kOn;
    orientValues["requireTargetBounds"] = kOn;
    orientValues["args"]["targetOrientation"] = "face";
    orientValues["args"]["targetFaceIndex"] = {{"int", 3}};
    orientValues["args"]["yAxis"] = kOff;

    // A Point whose x flag is a float: the resolver only reads integers, so the flag counts as on.
    const Json existingPoint = {{"type", "Point"},
                                {"target", "/root/world/t"},
                                {"allowMissingTargets", kOff},
                                {"requireTargetBounds", kOff},
                                {"respectMotionBlur", kOn},
                                {"args",
                                 {{"targetOrigin", "faceCenterAverage"},
                                  {"baseOrigin", "boundingBox"},
                                  {"xAxis", floats({0})},
                                  {"yAxis", kOn},
                                  {"zAxis", kOff}}}};
    Json pointValues = pointDefaults;
    pointValues["target"] = "/root/world/t";
    pointValues["args"]["targetOrigin"] = "faceCenterAverage";
    pointValues["args"]["baseOrigin"] = "boundingBox";
    pointValues["args"]["zAxis"] = kOff;

    const Json resolvedOnly = {{"resolvedconstraint", {{"matrix", doubles({1})}}}};
    return {
        {"aimNone", "Aim", resolvedOnly, aimDefaults,
         with({"args.targetOrigin", "args.baseAimAxis", "args.baseUpAxis", "args.targetUpAxis"}),
         "constraint1", 0},
        {"aimExisting",
         "Aim",
         {{"constraint", existingPoint}, {"constraint1", existingAim}},
         aimValues,
         {"allowMissingTargets", "requireTargetBounds", "args.baseUpAxis", "args.targetUpAxis"},
         "constraint1",
         1},
        {"orientNone",
         "Orient",
         {{"constraint", existingAim}},
         orientDefaults,
         with({"args.targetOrientation", "args.targetFaceIndex", "args.xAxis", "args.yAxis", "args.zAxis"}),
         "constraint1",
         0},
        {"orientExisting",
         "Orient",
         {{"constraintFace", existingOrient}},
         orientValues,
         {"respectMotionBlur", "args.xAxis", "args.zAxis"},
         "constraintFace",
         1},
        {"pointNone", "Point", Json::object(), pointDefaults,
         with({"args.targetOrigin", "args.baseOrigin", "args.xAxis", "args.yAxis", "args.zAxis"}),
         "constraint", 0},
        {"pointExisting",
         "Point",
         {{"constraint", existingPoint}, {"resolvedconstraint1", {{"matrix", doubles({1})}}}},
         pointValues,
         {"args.xAxis"},
         "constraint",
         1},
    };
}

Strings stringsOf(const Json& attr) {
    if (attr.is_string()) {
        return {attr.get<std::string>()};
    }
    Strings values;
    for (const Json& v : attr) {
        values.push_back(v.get<std::string>());
    }
    return values;
}

} // namespace

TEST(ConstraintEditAttributes, DescribesEachTypeWithAndWithoutAConstraint) {
    const std::vector<DescriptionCase> cases = descriptionCases();
    Json children = {{"t", placed({0, 0, 0})}, {"u", placed({0, 0, 0})}};
    Json ops = Json::array();
    for (const DescriptionCase& c : cases) {
        children[c.name] = placed({0, 0, 0}, c.xformExtra);
        ops.push_back(
            op("ConstraintEditAttributes", describeArgs(c.type, std::string("/root/world/") + c.name)));
    }
    CookResult result = cookChain(children, ops);
    for (const DescriptionCase& c : cases) {
        const std::string path = std::string("/root/world/") + c.name;
        const Json& description = attribute(result.scene, path, "constraintForEditing");
        ASSERT_TRUE(description.is_object()) << c.name;
        EXPECT_EQ(memberNames(description), (Strings{"type", "locationPath", "exists", "constraintName",
                                                     "values", "defaulted", "hints"}))
            << c.name;
        EXPECT_EQ(description["type"], c.type) << c.name;
        EXPECT_EQ(description["locationPath"], path) << c.name;
        EXPECT_EQ(description["exists"], (Json{{"int", c.exists}})) << c.name;
        EXPECT_EQ(description["constraintName"], c.constraintName) << c.name;
        EXPECT_EQ(description["values"], c.values) << c.name;
        EXPECT_EQ(stringsOf(description["defaulted"]), c.defaulted) << c.name;
        // The description is written at the location asked for only.
        EXPECT_TRUE(attribute(result.scene, "/root/world/t", "constraintForEditing").is_null());
    }
}

// Every value has a hint at the same path, naming its widget (and a popup's options), a label and help.
TEST(ConstraintEditAttributes, HintsFollowTheValues) {
    struct Hint {
        std::string path;
        std::string widget;
        Strings options;
    };
    // The switches every kind shares come first, then the kind's own arguments.
    const auto withSwitches = [](std::vector<Hint> own) {
        std::vector<Hint> hints = {{"target", "scenegraphLocation", {}},
                                   {"allowMissingTargets", "checkBox", {}},
                                   {"requireTargetBounds", "checkBox", {}},
                                   {"respectMotionBlur", "checkBox", {}}};
        hints.insert(hints.end(), own.begin(), own.end());
        return hints;
    };
    const std::vector<std::pair<std::string, std::vector<Hint>>> expected = {
        {"Aim", withSwitches({{"args.targetOrigin", "popup", kOriginModes},
                              {"args.baseAimAxis", "vector3", {}},
                              {"args.baseUpAxis", "vector3", {}},
                              {"args.targetUpAxis", "vector3", {}}})},
        {"Orient", withSwitches({{"args.targetOrientation", "popup", {"object", "face"}},
                                 {"args.targetFaceIndex", "integer", {}},
                                 {"args.xAxis", "checkBox", {}},
                                 {"args.yAxis", "checkBox", {}},
                                 {"args.zAxis", "checkBox", {}}})},
        {"Point", withSwitches({{"args.targetOrigin", "popup", kOriginModes},
                                {"args.baseOrigin", "popup", kOriginModes},
                                {"args.xAxis", "checkBox", {}},
                                {"args.yAxis", "checkBox", {}},
                                {"args.zAxis", "checkBox", {}}})},
    };
    Json children = Json::object();
    Json ops = Json::array();
    for (const auto& [type, hints] : expected) {
        children[type] = placed({0, 0, 0});
        ops.push_back(op("ConstraintEditAttributes", describeArgs(type, "/root/world/" + type)));
    }
    CookResult result = cookChain(children, ops);
    for (const auto& [type, hints] : expected) {
        const std::string path = "/root/world/" + type;
        Strings hintPaths;
        for (const Hint& h : hints) {
            hintPaths.push_back(h.path);
            const Json& hint = attribute(result.scene, path, "constraintForEditing.hints." + h.path);
            ASSERT_TRUE(hint.is_object()) << type << " " << h.path;
            EXPECT_EQ(hint["widget"], h.widget) << type << " " << h.path;
            EXPECT_EQ(hint.contains("options") ? stringsOf(hint["options"]) : Strings{}, h.options)
                << type << " " << h.path;
            EXPECT_FALSE(hint["label"].get<std::string>().empty()) << type << " " << h.path;
            EXPECT_FALSE(hint["help"].get<std::string>().empty()) << type << " " << h.path;
            EXPECT_EQ(hint.contains("isArray"), h.path == "target") << type << " " << h.path;
            EXPECT_FALSE(attribute(result.scene, path, "constraintForEditing.values." + h.path).is_null())
                << type << " " << h.path;
        }
        // A new constraint's defaults are exactly the described values, one hint each.
        EXPECT_EQ(stringsOf(attribute(result.scene, path, "constraintForEditing.defaulted")), hintPaths)
            << type;
    }
}

// What the editor shows is what ConstraintEdit then creates: describing after creating with no setAttrs
// finds the constraint, with the same values and nothing left to default but the face index.
TEST(ConstraintEditAttributes, AgreesWithWhatConstraintEditCreates) {
    for (const std::string type : {"Aim", "Orient", "Point"}) {
        const Json children = {{"a", placed({0, 0, 0})}};
        const Json describe = op("ConstraintEditAttributes", describeArgs(type, "/root/world/a"));
        CookResult before = cookChain(children, Json::array({describe}));
        const Json create =
            op("ConstraintEdit",
               {{"constraintType", type}, {"locationPath", "/root/world/a"}, {"action", "createOrOverride"}});
        CookResult after = cookChain(children, Json::array({create, describe}));
        const Json& was = attribute(before.scene, "/root/world/a", "constraintForEditing");
        const Json& is = attribute(after.scene, "/root/world/a", "constraintForEditing");
        EXPECT_EQ(was["exists"], (Json{{"int", 0}})) << type;
        EXPECT_EQ(is["exists"], (Json{{"int", 1}})) << type;
        EXPECT_EQ(was["constraintName"], is["constraintName"]) << type;
        EXPECT_EQ(was["values"], is["values"]) << type;
        EXPECT_EQ(stringsOf(is["defaulted"]), type == "Orient" ? Strings{"args.targetFaceIndex"} : Strings{})
            << type;
    }
}

// A location that is not in the scene gets no description, and nothing fails.
TEST(ConstraintEditAttributes, AnAbsentLocationIsNoError) {
    CookResult absent =
        cookChain({{"a", placed({0, 0, 0})}},
                  Json::array({op("ConstraintEditAttributes", describeArgs("Aim", "/root/world/b"))}));
    EXPECT_FALSE(hasLocation(absent.scene, "/root/world/b"));
    EXPECT_TRUE(attribute(absent.scene, "/root", "errorMessage").is_null());
}
