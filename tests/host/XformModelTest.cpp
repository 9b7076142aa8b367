// The transform model against matrices worked out by hand (row vectors: p' = p * M, translation in
// the last row; L = On * ... * O1; W = L * Wparent): local transforms from the table xform.json,
// world transforms and sample times here.
#include "host/xform/XformModel.h"
#include "host/scene/AttributeDecoder.h"
#include "tests/host/HostTestSupport.h"
#include "tests/support/JsonFile.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace VexilHost {
namespace {

using namespace HostTest;
using XformModel::Operations;

using Rows = std::array<double, 16>;

void expectMatrix(const Imath::M44d& m, const Rows& expected, const std::string& what) {
    for (int i = 0; i < 16; ++i) {
        EXPECT_NEAR(m.getValue()[i], expected[static_cast<size_t>(i)], 1e-12) << what << ": element " << i;
    }
}

TEST(XformModel, LocalTransformsOfTheTable) {
    const auto table = VexilTest::readJsonFile(VEXIL_HOST_TEST_DIR "/xform.json");
    for (const auto& c : table["localTransforms"]) {
        const std::string why = c["why"];
        JsonPath path;
        const Operations ops = XformModel::flatten(decodeAttributeGroup(c["xform"], path));
        const float time = c["time"].is_string() ? std::nanf("") : c["time"].get<float>();
        const XformModel::Local local = XformModel::localAt(ops, time);
        expectMatrix(local.matrix, c["matrix"].get<Rows>(), why);
        EXPECT_EQ(local.resetsParent, c["resetsParent"].get<bool>()) << why;
    }
}

TEST(XformModel, OriginDropsTheParentButNotItsSampleTimes) {
    const Operations parent =
        XformModel::flatten(group({{"translate", animated({{0.0f, {3, 0, 0}}, {1.0f, {6, 0, 0}}})}}));
    const Operations child =
        XformModel::flatten(group({{"origin", doubles({0})}, {"scale", doubles({2, 2, 2})}}));
    const std::vector<const Operations*> chain = {&parent, &child};
    for (float t : {0.0f, 0.5f, 1.0f}) {
        expectMatrix(XformModel::worldAt(chain, t), {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1},
                     "origin");
    }
    EXPECT_EQ(XformModel::worldSampleTimes(chain), (std::vector<float>{0.0f, 1.0f}));
}

TEST(XformModel, SampleTimesAreTheUnionOfAllOperationsOutsideConstraints) {
    const Operations a =
        XformModel::flatten(group({{"translate", animated({{-0.25f, {0, 0, 0}}, {0.25f, {1, 0, 0}}})},
                                   {"constraint", group({{"translate", animated({{0.75f, {0, 0, 0}}})}})}}));
    const Operations b =
        XformModel::flatten(group({{"scale", animated({{0.25f, {1, 1, 1}}, {2.0f, {2, 2, 2}}})}}));
    EXPECT_EQ(XformModel::worldSampleTimes({&a, &b}), (std::vector<float>{-0.25f, 0.25f, 2.0f}));
    EXPECT_EQ(XformModel::worldSampleTimes({}), std::vector<float>{0.0f});
    const Operations none = XformModel::flatten(Qn::Attribute());
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(XformModel::worldSampleTimes({&none}), std::vector<float>{0.0f});

    // 0 and -0 are one time: the first met is kept.
    const Operations negativeZero = XformModel::flatten(group({{"scale", animated({{-0.0f, {1, 1, 1}}})}}));
    const Operations zero = XformModel::flatten(group({{"scale", animated({{0.0f, {1, 1, 1}}})}}));
    for (const auto& [chain, negative] :
         {std::pair{std::vector<const Operations*>{&negativeZero, &zero}, true},
          std::pair{std::vector<const Operations*>{&zero, &negativeZero}, false}}) {
        const std::vector<float> times = XformModel::worldSampleTimes(chain);
        ASSERT_EQ(times.size(), 1u);
        EXPECT_EQ(std::signbit(times[0]), negative);
    }

    // Two operations of 100,000 samples each, interleaved: 200,000 times in order.
    std::vector<std::pair<float, std::vector<double>>> even, odd;
    for (int i = 0; i < 100000; ++i) {
        even.push_back({static_cast<float>(2 * i), {1, 1, 1}});
        odd.push_back({static_cast<float>(2 * i + 1), {1, 1, 1}});
    }
    const Operations interleaved =
        XformModel::flatten(group({{"translate", animated(even)}, {"scale", animated(odd)}}));
    const std::vector<float> times = XformModel::worldSampleTimes({&interleaved});
    ASSERT_EQ(times.size(), 200000u);
    for (size_t i = 0; i < times.size(); ++i) {
        ASSERT_EQ(times[i], static_cast<float>(i));
    }
}

} // namespace
} // namespace VexilHost
