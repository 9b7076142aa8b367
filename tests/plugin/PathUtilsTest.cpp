// Location-path ancestry and relative paths.
#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"

#include <gtest/gtest.h>

namespace {

using namespace Qn::PathUtils;

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
