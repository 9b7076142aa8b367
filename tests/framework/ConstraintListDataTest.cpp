// The constraint list's sorted index over the real attribute library: entry positions found by binary
// search (duplicates and prefixes included), membership and the ancestor test. The cases are the rows of
// constraint-lists.json.
#include "constraints/resolve/ConstraintListData.h"
#include "tests/support/JsonFile.h"

#include <gtest/gtest.h>

#include <memory>

using namespace Vexil3Constraints::Private;
using Json = nlohmann::ordered_json;

TEST(ConstraintListData, PositionsMembershipAndAncestorsOfListedEntries) {
    ASSERT_TRUE(Qn::Attribute::loadSuite(VEXIL_BUILD_DIR));
    const Json cases = VexilTest::readJsonFile(VEXIL_FRAMEWORK_CASES_DIR "/constraint-lists.json");
    for (const Json& c : cases.at("lists")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        const std::unique_ptr<ConstraintListData> list(
            ConstraintListData::build(Qn::StringAttribute(c.at("list").get<std::vector<std::string>>())));
        for (const Json& p : c.value("positions", Json::array())) {
            const std::string path = p.at(0);
            const size_t first = p.at(1).is_null() ? ConstraintListData::kNotListed : p.at(1).get<size_t>();
            const size_t last = p.at(2).is_null() ? ConstraintListData::kNotListed : p.at(2).get<size_t>();
            EXPECT_EQ(list->firstIndexOf(path), first) << path;
            EXPECT_EQ(list->lastIndexOf(path), last) << path;
            EXPECT_EQ(list->contains(path), !p.at(1).is_null()) << path;
        }
        for (const Json& l : c.value("listed", Json::array())) {
            EXPECT_EQ(list->contains(l.at(0).get<std::string>()), l.at(1).get<bool>()) << l.at(0);
        }
        for (const Json& a : c.value("ancestors", Json::array())) {
            EXPECT_EQ(list->isStrictAncestorOfListed(a.at(0).get<std::string>()), a.at(1).get<bool>())
                << a.at(0);
        }
    }
}
