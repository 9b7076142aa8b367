// The constraint list's sorted index: entry positions found by binary search, duplicates and prefixes
// included, and the ancestor test, over the real attribute library.
#include "constraints/resolve/ConstraintListData.h"

#include <gtest/gtest.h>

#include <memory>

using namespace Vexil3Constraints::Private;

namespace {

std::unique_ptr<ConstraintListData> listOf(const std::vector<std::string>& paths) {
    if (!Qn::Attribute::suite()) {
        Qn::Attribute::loadSuite(VEXIL_BUILD_DIR);
    }
    return std::unique_ptr<ConstraintListData>(ConstraintListData::build(Qn::StringAttribute(paths)));
}

TEST(ConstraintListData, FirstAndLastPositionsOfEveryEntry) {
    // Unsorted, with a path listed three times and names that are prefixes of one another.
    const auto list = listOf({"/root/world/b", "/root/world/a", "/root/world/b", "/root/world/a/x",
                              "/root/world/ab", "/root/world/b", "/root/world/a"});
    const size_t none = ConstraintListData::kNotListed;
    const struct {
        const char* path;
        size_t first;
        size_t last;
    } cases[] = {
        {"/root/world/a", 1, 6},  {"/root/world/b", 0, 5},        {"/root/world/a/x", 3, 3},
        {"/root/world/ab", 4, 4}, {"/root/world", none, none},    {"/root/world/c", none, none},
        {"", none, none},         {"/root/world/a/", none, none},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(list->firstIndexOf(c.path), c.first) << c.path;
        EXPECT_EQ(list->lastIndexOf(c.path), c.last) << c.path;
        EXPECT_EQ(list->contains(c.path), c.first != none) << c.path;
    }
}

TEST(ConstraintListData, EmptyListHoldsNothing) {
    const auto list = listOf({});
    EXPECT_EQ(list->firstIndexOf("/root/world/a"), ConstraintListData::kNotListed);
    EXPECT_EQ(list->lastIndexOf("/root/world/a"), ConstraintListData::kNotListed);
    EXPECT_FALSE(list->contains("/root/world/a"));
    EXPECT_FALSE(list->isStrictAncestorOfListed("/root"));
}

} // namespace

TEST(ConstraintListData, StrictAncestorsOfListedEntries) {
    // Entries with a trailing slash, a doubled slash, a relative path, a bare "/" and names that are
    // prefixes of their siblings.
    const auto list = listOf({"/root/world/geo/a", "/root/world/cams/c1/", "/root/world/x//y", "rel/path",
                              "/", "/root/world/geo-b"});
    const struct {
        const char* location;
        bool expected;
    } cases[] = {
        {"/", true},
        {"/root", true},
        {"/root/world", true},
        {"/root/world/geo", true},
        {"/root/world/geo/a", false}, // listed itself, nothing below it
        {"/root/world/ge", false},    // a prefix of a name, not an ancestor
        {"/root/world/geo-b", false},
        {"/root/world/cams/c1", false}, // the entry's trailing slash is ignored
        {"/root/world/cams", true},
        {"/root/world/x", true},
        {"/root/world/x/", true}, // written with a trailing slash, as the entry goes on with "/y"
        {"/root/world/x//y", false},
        {"rel", true},
        {"/rel", false},
        {"/root/world/geo/", true},
        {"/root/world/geo/a/", false},
        {"", false},
        {"/other", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(list->isStrictAncestorOfListed(c.location), c.expected) << c.location;
    }
}

TEST(ConstraintListData, MembershipOfPathsOfEveryLength) {
    // Entries of equal length that differ, an empty entry, the root, and one longer than any length the
    // quick length check knows about: the long one and its near miss must still be told apart. An entry
    // with a trailing slash names the location without it.
    const std::string longPath = "/root/world/" + std::string(300, 'x');
    std::string longMiss = longPath;
    longMiss.back() = 'y';
    const auto list = listOf({"/root/world/ab", "", "/", longPath, "/root/world/a/"});
    const struct {
        std::string path;
        bool listed;
    } cases[] = {
        {"/root/world/ab", true},
        {"/root/world/ac", false},
        {"/root/world/a", true},
        {"/root/world/a/", false},
        {"", true},
        {"/", true},
        {longPath, true},
        {longMiss, false},
        {longPath + "/", false},
        {"/root", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(list->contains(c.path), c.listed) << c.path;
    }
}

TEST(ConstraintListData, AncestorsSharedByEntriesInAnyOrder) {
    // Entries sharing ancestors: a deeper one after a shallower one, siblings, relative paths.
    const auto list = listOf({"/a/b/c", "/a/d/e", "/p/q", "/p/q/r/s", "x/y/z", "x/w", "/a/b/c/d/e"});
    const struct {
        const char* location;
        bool expected;
    } cases[] = {
        {"/", true},        {"/a", true},          {"/a/b", true},      {"/a/d", true},   {"/a/b/c", true},
        {"/a/b/c/d", true}, {"/p", true},          {"/p/q", true},      {"/p/q/r", true}, {"x", true},
        {"x/y", true},      {"/a/d/e", false},     {"/p/q/r/s", false}, {"x/w", false},   {"x/y/z", false},
        {"/x", false},      {"/a/b/c/d/e", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(list->isStrictAncestorOfListed(c.location), c.expected) << c.location;
    }
}
