// The transform model against matrices worked out by hand (row vectors: p' = p * M, translation in
// the last row; L = On * ... * O1; W = L * Wparent): local transforms from the table xform.json,
// world transforms and sample times here.
#include "host/xform/XformModel.h"
#include "tests/host/HostTestSupport.h"
#include "tests/support/JsonFile.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>

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
        const Operations ops = XformModel::flatten(decoded(c["xform"]));
        const float time = c["time"].is_string() ? std::nanf("") : c["time"].get<float>();
        const XformModel::Local local = XformModel::localAt(ops, time);
        expectMatrix(local.matrix, c["matrix"].get<Rows>(), why);
        EXPECT_EQ(local.resetsParent, c["resetsParent"].get<bool>()) << why;
    }
}

TEST(XformModel, AFirstTranslateOrScaleGivesTheBitsOfItsProductWithTheIdentity) {
    // Signs of zero, subnormals and infinities, which a tolerance cannot see: the local transform must
    // hold exactly what the general product with the identity gives (a -0 comes out as +0).
    const double inf = std::numeric_limits<double>::infinity();
    for (const char* kind : {"translate", "scale"}) {
        for (const std::vector<double>& values :
             {std::vector<double>{-0.0, 2.5, 1e-310}, {0.0, -0.0, -3.0}, {inf, 1.0, -0.0}}) {
            Qn::GroupBuilder xform;
            xform.set(kind, Qn::DoubleAttribute(values, 3));
            const Operations ops = XformModel::flatten(xform.build());
            ASSERT_EQ(ops.size(), 1u);
            const Imath::M44d expected = XformModel::operationMatrix(ops[0], 0.0f) * Imath::M44d();
            const Imath::M44d local = XformModel::localAt(ops, 0.0f).matrix;
            EXPECT_EQ(std::memcmp(local.getValue(), expected.getValue(), sizeof(double) * 16), 0)
                << kind << " " << values[0] << " " << values[1] << " " << values[2];
        }
    }
}

TEST(XformModel, OriginDropsTheParentButNotItsSampleTimes) {
    const Operations parent =
        XformModel::flatten(decoded({{"translate", sampledDoubles({{"0", {3, 0, 0}}, {"1", {6, 0, 0}}})}}));
    const Operations child =
        XformModel::flatten(decoded({{"origin", doubles({0})}, {"scale", doubles({2, 2, 2})}}));
    const std::vector<const Operations*> chain = {&parent, &child};
    for (float t : {0.0f, 0.5f, 1.0f}) {
        expectMatrix(XformModel::worldAt(chain, t), {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1},
                     "origin");
    }
    EXPECT_EQ(XformModel::worldSampleTimes(chain), (std::vector<float>{0.0f, 1.0f}));
}

TEST(XformModel, SampleTimesAreTheUnionOfAllOperationsOutsideConstraints) {
    const Operations a = XformModel::flatten(
        decoded({{"translate", sampledDoubles({{"-0.25", {0, 0, 0}}, {"0.25", {1, 0, 0}}})},
                 {"constraint", {{"translate", sampledDoubles({{"0.75", {0, 0, 0}}})}}}}));
    const Operations b =
        XformModel::flatten(decoded({{"scale", sampledDoubles({{"0.25", {1, 1, 1}}, {"2", {2, 2, 2}}})}}));
    EXPECT_EQ(XformModel::worldSampleTimes({&a, &b}), (std::vector<float>{-0.25f, 0.25f, 2.0f}));
    EXPECT_EQ(XformModel::worldSampleTimes({}), std::vector<float>{0.0f});
    const Operations none = XformModel::flatten(Qn::Attribute());
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(XformModel::worldSampleTimes({&none}), std::vector<float>{0.0f});

    // Made with the attribute classes themselves: a scene file reads the time "-0" as 0, and a JSON
    // object of 100,000 sample times is slow to build.
    const auto flattened =
        [](const std::vector<std::pair<const char*, std::map<float, std::vector<double>>>>& operations) {
            Qn::GroupBuilder xform;
            for (const auto& [name, samples] : operations) {
                xform.set(name, Qn::DoubleAttribute(samples, 1));
            }
            return XformModel::flatten(xform.build());
        };
    // 0 and -0 are one time: the first met is kept.
    const Operations negativeZero = flattened({{"scale", {{-0.0f, {1, 1, 1}}}}});
    const Operations zero = flattened({{"scale", {{0.0f, {1, 1, 1}}}}});
    for (const auto& [chain, negative] :
         {std::pair{std::vector<const Operations*>{&negativeZero, &zero}, true},
          std::pair{std::vector<const Operations*>{&zero, &negativeZero}, false}}) {
        const std::vector<float> times = XformModel::worldSampleTimes(chain);
        ASSERT_EQ(times.size(), 1u);
        EXPECT_EQ(std::signbit(times[0]), negative);
    }

    // Two operations of 100,000 samples each, interleaved: 200,000 times in order.
    std::map<float, std::vector<double>> even, odd;
    for (int i = 0; i < 100000; ++i) {
        even[static_cast<float>(2 * i)] = {1, 1, 1};
        odd[static_cast<float>(2 * i + 1)] = {1, 1, 1};
    }
    const Operations interleaved = flattened({{"translate", even}, {"scale", odd}});
    const std::vector<float> times = XformModel::worldSampleTimes({&interleaved});
    ASSERT_EQ(times.size(), 200000u);
    for (size_t i = 0; i < times.size(); ++i) {
        ASSERT_EQ(times[i], static_cast<float>(i));
    }
}

} // namespace
} // namespace VexilHost
