// Authoring and resolving in one op chain through vexil-cook: the example scenes of the authoring ops,
// and ConstraintSetup and ConstraintListEdit feeding ConstraintResolve.
#include "EditTestSupport.h"

#include <gtest/gtest.h>

using namespace VexilTest;
using Strings = std::vector<std::string>;

namespace {

const double kTolerance = 1e-12;

Imath::M44d frame(const Imath::V3d& x, const Imath::V3d& y, const Imath::V3d& z, const Imath::V3d& t) {
    return Imath::M44d(x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, t.x, t.y, t.z, 1);
}

CookResult cookExample(const std::string& name) {
    CookResult result = cookFile(std::string(VEXIL_EXAMPLES_DIR) + "/" + name, {"--world"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result;
}

Json pointGroup(const Json& targets) {
    return {{"type", "Point"},
            {"target", targets},
            {"args", {{"targetOrigin", "origin"}, {"baseOrigin", "origin"}}}};
}

Json setupEntry(const std::string& base, const Json& constraintGroup, const Json& extra = Json::object()) {
    Json entry = {{"baseLocationPath", base}, {"constraintGroup", constraintGroup}};
    for (auto it = extra.begin(); it != extra.end(); ++it) {
        entry[it.key()] = it.value();
    }
    return entry;
}

Json setupOp(const Json& entries) {
    Json constraints = Json::object();
    for (size_t i = 0; i < entries.size(); ++i) {
        constraints["entry" + std::to_string(i)] = entries[i];
    }
    return op("ConstraintSetup", {{"constraints", constraints}});
}

} // namespace

// Positions and frames in the examples' comments, worked out by hand there.
TEST(AuthoringExamples, EachExampleResolvesWhatItAuthors) {
    CookResult setup = cookExample("authoring_setup.json");
    EXPECT_LT((position(setup.scene, "/root/world/geo/marker") - Imath::V3d(3, 0, -4)).length(), kTolerance);
    EXPECT_EQ(stringValue(setup.scene, "/root/world/geo/marker", "errorMessage"), "");
    // -z onto the unit direction (3,0,-4)/5 about y keeps y up.
    EXPECT_LT(maxDifference(world(setup.scene, "/root/world/pointer"),
                            frame({0.8, 0, 0.6}, {0, 1, 0}, {-0.6, 0, 0.8}, {0, 0, 0})),
              kTolerance);
    bool present = false;
    EXPECT_EQ(constraintList(setup.scene, present, "info.constraintList"),
              (Strings{"/root/world/geo/marker", "/root/world/pointer"}));

    CookResult listEdit = cookExample("authoring_list_edit.json");
    EXPECT_EQ(constraintList(listEdit.scene, present, "info.constraintList"), Strings{"/root/world/a"});
    EXPECT_EQ(attribute(listEdit.scene, "/root/world/grp", "bound"), doubles({-1, 1, -1, 1, -1, 1}));
    for (const char* path : {"/root/world/a", "/root/world/grp/b"}) {
        EXPECT_LT((position(listEdit.scene, path) - Imath::V3d(2, 0, 0)).length(), kTolerance) << path;
    }

    CookResult edit = cookExample("authoring_edit.json");
    EXPECT_LT((position(edit.scene, "/root/world/box") - Imath::V3d(2, 1, 6)).length(), kTolerance);
    EXPECT_EQ(constraintList(edit.scene, present, "info.constraintList"), Strings{"/root/world/box"});

    CookResult attributes = cookExample("authoring_edit_attributes.json");
    EXPECT_LT(maxDifference(world(attributes.scene, "/root/world/arrow"),
                            frame({0, 0, -1}, {0, 1, 0}, {1, 0, 0}, {0, 0, 0})),
              kTolerance);
    const Json& description = attribute(attributes.scene, "/root/world/arrow", "constraintForEditing");
    EXPECT_EQ(description["exists"], (Json{{"int", 1}}));
    EXPECT_EQ(description["values"]["target"], "/root/world/target");
    EXPECT_EQ(description["defaulted"],
              (Json::array({"allowMissingTargets", "requireTargetBounds", "respectMotionBlur"})));
}

// An entry that is not listed is installed, and still resolved, but neither appears in the list nor
// takes the bound of its ancestors; relative targets with ".." resolve as the absolute ones do.
TEST(AuthoringChain, SetupThenResolveInOneChain) {
    const Json bound = doubles({-1, 1, -1, 1, -1, 1});
    const Json children = {
        {"t", placed({1, -2, 5})},
        {"listed", {{"attrs", {{"bound", bound}}}, {"children", {{"a", placed({0, 0, 0})}}}}},
        {"unlisted", {{"attrs", {{"bound", bound}}}, {"children", {{"b", placed({0, 0, 0})}}}}},
        {"relative", {{"attrs", Json::object()}, {"children", {{"c", placed({7, 7, 7})}}}}},
    };
    const Json target = Json::array({"/root/world/t"});
    const Json ops = Json::array({
        setupOp(Json::array({
            setupEntry("/root/world/listed/a", pointGroup(target)),
            setupEntry("/root/world/unlisted/b", pointGroup(target), {{"addToConstraintList", ints({0})}}),
            setupEntry("/root/world/relative/c", pointGroup(target), {{"setRelativeTargets", ints({1})}}),
        })),
        op("ConstraintResolve", Json::object()),
    });
    CookResult result = cookChain(children, ops);
    bool present = false;
    EXPECT_EQ(constraintList(result.scene, present, "info.constraintList"),
              (Strings{"/root/world/listed/a", "/root/world/relative/c"}));
    for (const char* path : {"/root/world/listed/a", "/root/world/unlisted/b", "/root/world/relative/c"}) {
        EXPECT_LT((position(result.scene, path) - Imath::V3d(1, -2, 5)).length(), kTolerance) << path;
        EXPECT_EQ(stringValue(result.scene, path, "errorMessage"), "") << path;
    }
    EXPECT_TRUE(attribute(result.scene, "/root/world/listed", "bound").is_null());
    EXPECT_EQ(attribute(result.scene, "/root/world/unlisted", "bound"), bound);

    // The relative form that the setup installs, before resolution.
    CookResult installed = cookChain(children, Json::array({ops[0]}));
    EXPECT_EQ(attribute(installed.scene, "/root/world/relative/c", "xform.constraint.target"), "../../t");
}

// Through the real host: an add extends the world's list keeping duplicates, and removing the last
// entry deletes the list; the messages are the failure catalogue's.
TEST(AuthoringChain, ListEditExtendsTheWorldListAndDeletesItWhenEmptied) {
    const std::string a = "/root/world/a";
    const std::string b = "/root/world/b";
    const auto edit = [&](const Json& args, const Json& list) {
        return cookChain({{"a", placed({0, 0, 0})}}, Json::array({op("ConstraintListEdit", args)}),
                         {{"globals", {{"constraintList", list}}}});
    };
    CookResult added =
        edit({{"mode", "add"}, {"locationPaths", Json::array({a, b})}}, Json::array({a, b, a}));
    bool present = false;
    EXPECT_EQ(constraintList(added.scene, present), (Strings{a, b, a, a, b}));
    EXPECT_TRUE(present);
    EXPECT_EQ(stringValue(added.scene, "/root/world", "errorMessage"), "");

    CookResult emptied = edit({{"mode", "remove"}, {"locationPaths", Json::array({a})}}, Json::array({a}));
    EXPECT_TRUE(constraintList(emptied.scene, present).empty());
    EXPECT_FALSE(present);
}

// Entries for one location take fresh names in entry order; prepended ones go before the xform's own
// children (each before the one prepended earlier), the others after them.
TEST(AuthoringChain, SetupPrependsAndAppendsInEntryOrder) {
    const Json target = Json::array({"/root/world/t"});
    const Json children = {{"t", placed({1, 0, 0})},
                           {"p", placed({0, 0, 0}, {{"constraint", pointGroup(target)}})}};
    const Json prepend = {{"prependConstraint", ints({1})}};
    const Json ops = Json::array({setupOp(Json::array({
        setupEntry("/root/world/p", pointGroup(target), prepend),
        setupEntry("/root/world/p", pointGroup(target)),
        setupEntry("/root/world/p", pointGroup(target), prepend),
    }))});
    CookResult result = cookChain(children, ops);
    EXPECT_EQ(memberNames(attribute(result.scene, "/root/world/p", "xform")),
              (Strings{"constraint3", "constraint1", "translate", "constraint", "constraint2"}));
}
