// The "world" attribute added to a cooked scene: one sample per world-transform sample time.
#include "host/xform/WorldTransforms.h"
#include "tests/host/HostTestSupport.h"

#include <gtest/gtest.h>

namespace VexilHost {
namespace {

using namespace HostTest;

std::vector<double> sampleAt(const Qn::DoubleAttribute& attr, float time) {
    const auto view = attr.getNearestSample(time);
    return std::vector<double>(view.begin(), view.end());
}

TEST(WorldTransforms, ASubtreeTakesItsAncestorsTransformsFromTheCaller) {
    SceneLocation hand =
        readScene({{"attrs", {{"xform", {{"translate", doubles({0, 1, 0})}}}}}}, Json::array()).root;
    addWorldAttributes(hand, {Qn::Attribute(), decoded({{"translate", doubles({5, 0, 0})}})});
    const Qn::DoubleAttribute world(hand.attrs.getChildByName("world"));
    EXPECT_EQ(sampleAt(world, 0), (std::vector<double>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 1, 0, 1}));
}

} // namespace
} // namespace VexilHost
