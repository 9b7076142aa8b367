// ConstraintEditAttributes end to end through vexil-cook: the description of each editable type, with
// and without an existing constraint, and its hints (its error texts are the failure catalogue's, an
// absent location is a scenario).
#include "EditTestSupport.h"
#include "JsonFile.h"

#include <gtest/gtest.h>

using namespace VexilTest;
using Strings = std::vector<std::string>;

namespace {

Json describeArgs(const std::string& type, const std::string& path) {
    return {{"constraintType", type}, {"locationPath", path}};
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

// The description of each editable type, with and without an existing constraint: the cases are the rows
// of descriptions.json (the location's xform children, and the values written out by hand from the
// working defaults and the constraint the case installs).
TEST(ConstraintEditAttributes, DescribesEachTypeWithAndWithoutAConstraint) {
    const Json cases = readJsonFile(VEXIL_OPS_CASES_DIR "/descriptions.json");
    ASSERT_FALSE(cases.empty());
    Json children = {{"t", placed({0, 0, 0})}, {"u", placed({0, 0, 0})}};
    Json ops = Json::array();
    for (const Json& c : cases) {
        children[c.at("name").get<std::string>()] = placed({0, 0, 0}, c.at("xform"));
        ops.push_back(op("ConstraintEditAttributes",
                         describeArgs(c.at("type"), "/root/world/" + c.at("name").get<std::string>())));
    }
    CookResult result = cookChain(children, ops);
    for (const Json& c : cases) {
        const std::string name = c.at("name");
        const std::string path = "/root/world/" + name;
        const Json& description = attribute(result.scene, path, "constraintForEditing");
        ASSERT_TRUE(description.is_object()) << name;
        EXPECT_EQ(memberNames(description), (Strings{"type", "locationPath", "exists", "constraintName",
                                                     "values", "defaulted", "hints"}))
            << name;
        EXPECT_EQ(description["type"], c.at("type")) << name;
        EXPECT_EQ(description["locationPath"], path) << name;
        EXPECT_EQ(description["exists"], (Json{{"int", c.at("exists")}})) << name;
        EXPECT_EQ(description["constraintName"], c.at("constraintName")) << name;
        EXPECT_EQ(description["values"], c.at("values")) << name;
        EXPECT_EQ(stringsOf(description["defaulted"]), c.at("defaulted").get<Strings>()) << name;
    }
    // The description is written at the locations asked for only.
    EXPECT_TRUE(attribute(result.scene, "/root/world/t", "constraintForEditing").is_null());
}

// Every value has a hint at the same path, naming its widget (and a popup's options), a label and help:
// the rows of hints.json.
TEST(ConstraintEditAttributes, HintsFollowTheValues) {
    Json expected = readJsonFile(VEXIL_OPS_CASES_DIR "/hints.json");
    expected.erase("why");
    Json children = Json::object();
    Json ops = Json::array();
    for (const auto& [type, hints] : expected.items()) {
        children[type] = placed({0, 0, 0});
        ops.push_back(op("ConstraintEditAttributes", describeArgs(type, "/root/world/" + type)));
    }
    CookResult result = cookChain(children, ops);
    for (const auto& [type, hints] : expected.items()) {
        const std::string path = "/root/world/" + type;
        Strings hintPaths;
        for (const Json& h : hints) {
            const std::string at = h.at("path");
            hintPaths.push_back(at);
            const Json& hint = attribute(result.scene, path, "constraintForEditing.hints." + at);
            ASSERT_TRUE(hint.is_object()) << type << " " << at;
            EXPECT_EQ(hint["widget"], h.at("widget")) << type << " " << at;
            EXPECT_EQ(stringsOf(hint.value("options", Json::array())),
                      stringsOf(h.value("options", Json::array())))
                << type << " " << at;
            EXPECT_FALSE(hint["label"].get<std::string>().empty()) << type << " " << at;
            EXPECT_FALSE(hint["help"].get<std::string>().empty()) << type << " " << at;
            EXPECT_EQ(hint.contains("isArray"), at == "target") << type << " " << at;
            EXPECT_FALSE(attribute(result.scene, path, "constraintForEditing.values." + at).is_null())
                << type << " " << at;
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
