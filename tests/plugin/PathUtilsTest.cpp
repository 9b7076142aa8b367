// Location-path ancestry and relative paths.
#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace {

using namespace Qn::PathUtils;

// The one rule by which a written path names a location, for targets, list entries, base paths and the
// command line alike.
TEST(PathUtilsTest, WrittenPathsNameOneLocation) {
    const std::vector<std::array<std::string, 3>> cases = {
        {"/root/world/a", "/root/world/t", "/root/world/t"},
        {"/root/world/a", "../t", "/root/world/t"},
        {"/root/world/geo/a", "../b", "/root/world/geo/b"},
        {"/root/world/a", "child", "/root/world/a/child"},
        {"/root/world/a", "./x", "/root/world/a/x"},
        {"/root/world/a", ".", "/root/world/a"},
        {"/root/world/a", "../../world/./t/", "/root/world/t"},
        {"/root/world/a", "/root//world/t/", "/root/world/t"},
        {"", "/root/world/./t//", "/root/world/t"},
        {"/root/world/a", "/", "/"},
        {"/root/world/a", "../../../..", ""}, // above the top
        {"/root/world/a", "", ""},
        {"", "relative/t", ""}, // a relative path without a base names nothing
        {"/root/world/a", std::string("/root/wor\0ld", 13), ""},
    };
    for (const auto& [base, path, expected] : cases) {
        EXPECT_EQ(normalisedPath(base, path), expected) << base << " + " << path;
        if (!expected.empty()) {
            EXPECT_TRUE(isNormalisedPath(expected)) << expected;
        }
    }
    for (const char* name : {"", ".", "..", "a/b"}) {
        EXPECT_FALSE(isLocationName(name)) << name;
    }
    EXPECT_FALSE(isLocationName(std::string("a\0b", 3)));
    EXPECT_TRUE(isLocationName("geo.001"));
}

TEST(PathUtilsTest, StrictAncestry) {
    struct Case {
        const char* ancestor;
        const char* path;
        bool expected;
    };
    const Case cases[] = {
        {"/root/world", "/root/world/geo/a", true},
        {"/root/world/", "/root/world/geo", true},
        {"/root/world", "/root/world/geo//", true},
        {"/", "/root", true},
        {"///", "/root", true},
        {"/root/world", "/root/world", false},  // not its own ancestor
        {"/root/world", "/root/world/", false}, // trailing slashes ignored
        {"/root/world/geo", "/root/world/geometry", false},
        {"/root/world/geo/a", "/root/world/geo", false},
        {"", "/root", false},
        {"/root", "", false},
        {"/", "/", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(isStrictAncestor(c.ancestor, c.path), c.expected) << c.ancestor << " above " << c.path;
    }
}

TEST(PathUtilsTest, RelativePaths) {
    struct Case {
        const char* base;
        const char* target;
        const char* expected;
    };
    const Case cases[] = {
        {"/root/world/geo/a", "/root/world/geo/b", "../b"},
        {"/root/world/a", "/root/world/a/child", "child"},
        {"/root/world/a", "/root/world/a/child/leaf", "child/leaf"},
        {"/root/world/geo/a", "/root/world/cam", "../../cam"},
        {"/root/world/geo/a", "/root/world/geo", ".."},
        {"/root/world/a", "/root/world/a", ""},
        {"/root/world/a", "/other", "../../../other"},
        {"/root/world/a", "relative/b", "../../../../relative/b"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(makeRelativePath(c.base, c.target), c.expected) << c.base << " -> " << c.target;
    }
}

TEST(PathUtilsTest, SplitKeepsEmptyComponents) {
    EXPECT_EQ(splitPath("/root/world"), (std::vector<std::string>{"", "root", "world"}));
    EXPECT_EQ(splitPath("a//b/"), (std::vector<std::string>{"a", "", "b", ""}));
    EXPECT_EQ(stripTrailingSlashes("/root/world//"), "/root/world");
    EXPECT_EQ(stripTrailingSlashes("//"), "/");
    EXPECT_EQ(stripTrailingSlashes(""), "");
}

} // namespace
