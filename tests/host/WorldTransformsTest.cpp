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

TEST(WorldTransforms, EveryLocationGetsItsWorldTransformAtItsSampleTimes) {
    // arm: translate (0,0,0) at 0 -> (2,0,0) at 1; hand: rotate 90 about z at 0.5 only, then
    // translate (0,1,0); reset: origin then scale 3, below the animated arm.
    SceneLocation root = location(
        "root", {{"type", strings({"group"})}},
        {location("arm",
                  {{"xform", group({{"translate", animated({{0.0f, {0, 0, 0}}, {1.0f, {2, 0, 0}}}, 3)}})}},
                  {location("hand", {{"xform", group({{"rotate", animated({{0.5f, {90, 0, 0, 1}}}, 4)},
                                                      {"translate", doubles({0, 1, 0})}})}}),
                   location("reset", {{"xform", group({{"origin", Qn::IntAttribute(1)},
                                                       {"scale", doubles({3, 3, 3})}})}})})});
    addWorldAttributes(root);

    const Qn::DoubleAttribute rootWorld(attrOf(root, "/root", "world"));
    EXPECT_EQ(rootWorld.getSampleTimes(), std::vector<float>{0.0f});
    EXPECT_EQ(rootWorld.getTupleSize(), 16);
    EXPECT_EQ(sampleAt(rootWorld, 0), (std::vector<double>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    // Attributes already there stay, in front of "world".
    EXPECT_EQ(attrNamesOf(root, "/root"), (std::vector<std::string>{"type", "world"}));

    const Qn::DoubleAttribute arm(attrOf(root, "/root/arm", "world"));
    EXPECT_EQ(arm.getSampleTimes(), (std::vector<float>{0.0f, 1.0f}));
    EXPECT_EQ(sampleAt(arm, 1.0f), (std::vector<double>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 2, 0, 0, 1}));

    // hand: T(0,1,0) * R * T_arm(t). Its origin: (0,1,0) turned to (-1,0,0), then moved by (2t,0,0).
    const Qn::DoubleAttribute hand(attrOf(root, "/root/arm/hand", "world"));
    EXPECT_EQ(hand.getSampleTimes(), (std::vector<float>{0.0f, 0.5f, 1.0f}));
    const std::vector<std::pair<float, double>> expectedX = {{0.0f, -1.0}, {0.5f, 0.0}, {1.0f, 1.0}};
    for (const auto& e : expectedX) {
        const std::vector<double> m = sampleAt(hand, e.first);
        const std::vector<double> rows = {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, e.second, 0, 0, 1};
        for (size_t i = 0; i < 16; ++i) {
            EXPECT_NEAR(m[i], rows[i], 1e-12) << e.first << " element " << i;
        }
    }

    // reset: the origin drops the arm's motion but its sample times remain.
    const Qn::DoubleAttribute reset(attrOf(root, "/root/arm/reset", "world"));
    EXPECT_EQ(reset.getSampleTimes(), (std::vector<float>{0.0f, 1.0f}));
    EXPECT_EQ(sampleAt(reset, 1.0f), (std::vector<double>{3, 0, 0, 0, 0, 3, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1}));
}

TEST(WorldTransforms, ASubtreeTakesItsAncestorsTransformsFromTheCaller) {
    SceneLocation hand = location("hand", {{"xform", group({{"translate", doubles({0, 1, 0})}})}});
    addWorldAttributes(hand, {Qn::Attribute(), group({{"translate", doubles({5, 0, 0})}})});
    const Qn::DoubleAttribute world(hand.attrs.getChildByName("world"));
    EXPECT_EQ(sampleAt(world, 0), (std::vector<double>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 1, 0, 1}));
}

} // namespace
} // namespace VexilHost
