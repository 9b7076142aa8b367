// The failure catalogue: for every failure text of the constraint resolvers, the resolve framework and
// the ops, one scene that provokes it (a row of catalogue.json), cooked through vexil-cook. Each text
// must appear exactly, on its location and attribute; every other location must carry no message, and a
// healthy Point constraint added to the same scene must still move its location onto its target.
//
// A row holds `name`, the `messages` ([path, "errorMessage" or "warningMessage", text]), the children of
// /root/world (`world`), and optionally the `ops` to cook (ConstraintResolve alone by default) and the
// constraint list (`listed`, the subject alone by default); `why` says what makes an unusual scene fail.
//
// Not provokable by a scene, since the framework gathers every sample time of base and targets and
// never runs a resolver without a target: "<Kind> constraint resolver: incorrect time samples for base
// xform" / "... for target xform", "... no target xform", "... no target location path", the
// "internal error" size checks of Aim and Billboard, "Incorrect time samples for xform (<path>).",
// "Cannot get bounds attribute <path>)." and "Error building attribute time samples are different
// sizes."; nor "<Op> Op: Unknown exception during op cook" (every op throws standard exceptions).
#include "CookTestSupport.h"
#include "JsonFile.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace VexilTest;

const char* const kSubject = "/root/world/subject";

const Json& catalogue() {
    static const Json rows = readJsonFile(VEXIL_CATALOGUE_FILE);
    return rows;
}

Json group(const Json& xform) {
    return {{"attrs", {{"type", "group"}, {"xform", xform}}}, {"children", Json::object()}};
}

void runRow(const Json& row) {
    const std::string name = row.at("name");
    SCOPED_TRACE(name);
    // The healthy pair: a Point constraint at (0,0,-5) that must still move "sentinel" onto (3,4,5).
    Json children = row.at("world");
    children["sentinelTarget"] = group({{"translate", doubles({3, 4, 5})}});
    children["sentinel"] = group({{"translate", doubles({0, 0, -5})},
                                  {"constraint",
                                   {{"type", "Point"},
                                    {"target", Json::array({"/root/world/sentinelTarget"})},
                                    {"args", {{"targetOrigin", "origin"}, {"baseOrigin", "origin"}}}}}});
    std::vector<std::string> listed = row.value("listed", std::vector<std::string>{kSubject});
    listed.push_back("/root/world/sentinel");
    const Json ops = row.contains("ops") ? row["ops"] : resolveOps();
    const CookResult result =
        cook(sceneFile(children, ops, 0.0f, 0.0f, 1, {{"globals", {{"constraintList", listed}}}}));
    ASSERT_EQ(0, result.exitCode) << result.err;

    const Json& messages = row.at("messages");
    for (const Json& m : messages) {
        EXPECT_EQ(m[2].get<std::string>(), stringValue(result.scene, m[0], m[1])) << m[0] << " " << m[1];
        if (m[1] == "errorMessage") {
            EXPECT_EQ("error", stringValue(result.scene, m[0], "type")) << m[0];
        }
    }
    for (const std::string& path : locationPaths(result.scene)) {
        for (const char* attr : {"errorMessage", "warningMessage"}) {
            const bool expected = std::any_of(messages.begin(), messages.end(),
                                              [&](const Json& m) { return m[0] == path && m[1] == attr; });
            if (!expected) {
                EXPECT_EQ("", stringValue(result.scene, path, attr))
                    << path << " carries an unexpected " << attr;
            }
        }
    }
    const Imath::M44d sentinel = world(result.scene, "/root/world/sentinel");
    EXPECT_NEAR(3.0, sentinel[3][0], 1e-12);
    EXPECT_NEAR(4.0, sentinel[3][1], 1e-12);
    EXPECT_NEAR(5.0, sentinel[3][2], 1e-12);
}

void runGroup(const char* name) {
    ASSERT_FALSE(catalogue().at(name).empty());
    for (const Json& row : catalogue().at(name)) {
        runRow(row);
    }
}

} // namespace

TEST(FailureCatalogue, FrameworkTextsOnTheConstrainedLocation) {
    runGroup("FrameworkTextsOnTheConstrainedLocation");
}

TEST(FailureCatalogue, TargetGeometryTexts) {
    runGroup("TargetGeometryTexts");
}

TEST(FailureCatalogue, TransformConstraintTexts) {
    runGroup("TransformConstraintTexts");
}

TEST(FailureCatalogue, CameraConstraintTexts) {
    runGroup("CameraConstraintTexts");
}

TEST(FailureCatalogue, OpTexts) {
    runGroup("OpTexts");
}
