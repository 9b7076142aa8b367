// ConstraintSetup through vexil-cook: the order of the constraints it installs. What the authoring ops
// feed ConstraintResolve is in the scenarios (tests/scenarios/authoring_*, setup_*, list_edit_*).
#include "EditTestSupport.h"

#include <gtest/gtest.h>

using namespace VexilTest;

// Entries for one location take fresh names in entry order; prepended ones go before the xform's own
// children (each before the one prepended earlier), the others after them.
TEST(AuthoringChain, SetupPrependsAndAppendsInEntryOrder) {
    const Json point = {{"type", "Point"},
                        {"target", Json::array({"/root/world/t"})},
                        {"args", {{"targetOrigin", "origin"}, {"baseOrigin", "origin"}}}};
    const Json children = {{"t", placed({1, 0, 0})}, {"p", placed({0, 0, 0}, {{"constraint", point}})}};
    Json entries = Json::object();
    for (const bool prepended : {true, false, true}) {
        Json entry = {{"baseLocationPath", "/root/world/p"}, {"constraintGroup", point}};
        if (prepended) {
            entry["prependConstraint"] = ints({1});
        }
        entries["entry" + std::to_string(entries.size())] = entry;
    }
    const CookResult result =
        cookChain(children, Json::array({op("ConstraintSetup", {{"constraints", entries}})}));
    EXPECT_EQ(
        memberNames(attribute(result.scene, "/root/world/p", "xform")),
        (std::vector<std::string>{"constraint3", "constraint1", "translate", "constraint", "constraint2"}));
}
