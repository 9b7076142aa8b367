// Location-path ancestry and relative paths against the hand-worked table paths.json.
#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "tests/support/JsonFile.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace Qn::PathUtils;

TEST(PathUtilsTest, CasesOfTheTable) {
    const auto table = VexilTest::readJsonFile(VEXIL_PLUGIN_TEST_DIR "/paths.json");
    const auto text = [](const nlohmann::ordered_json& value) {
        return value.get<std::string>();
    };
    // The one rule by which a written path names a location, for targets, list entries, base paths and
    // the command line alike.
    for (const auto& c : table["normalisedPath"]) {
        const std::string expected = text(c[2]);
        EXPECT_EQ(normalisedPath(text(c[0]), text(c[1])), expected) << c;
        EXPECT_TRUE(expected.empty() || isNormalisedPath(expected)) << c;
    }
    for (const auto& c : table["isStrictAncestor"]) {
        EXPECT_EQ(isStrictAncestor(text(c[0]), text(c[1])), c[2].get<bool>()) << c;
    }
    for (const auto& c : table["makeRelativePath"]) {
        EXPECT_EQ(makeRelativePath(text(c[0]), text(c[1])), text(c[2])) << c;
    }
    for (const auto& c : table["isLocationName"]) {
        EXPECT_EQ(isLocationName(text(c[0])), c[1].get<bool>()) << c;
    }
    for (const auto& c : table["splitPath"]) {
        EXPECT_EQ(splitPath(text(c[0])), c[1].get<std::vector<std::string>>()) << c;
    }
    for (const auto& c : table["stripTrailingSlashes"]) {
        EXPECT_EQ(stripTrailingSlashes(text(c[0])), text(c[1])) << c;
    }
}

} // namespace
