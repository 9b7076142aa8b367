// The transform model against matrices worked out by hand (row vectors: p' = p * M, translation in
// the last row; L = On * ... * O1; W = L * Wparent).
#include "host/xform/XformModel.h"
#include "tests/host/HostTestSupport.h"

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

Qn::IntAttribute ints(const std::vector<int32_t>& values) {
    useHostAttributes();
    return Qn::IntAttribute(values);
}

Qn::FloatAttribute floats(const std::vector<float>& values) {
    useHostAttributes();
    return Qn::FloatAttribute(values);
}

struct LocalCase {
    const char* what;
    NamedAttrs xform;
    float time;
    Rows expected;
    bool resetsParent;
};

TEST(XformModel, LocalTransformsOfSingleAndComposedOperations) {
    const Rows identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const std::vector<LocalCase> cases = {
        {"translate",
         {{"translate", doubles({1, 2, 3})}},
         0,
         {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1},
         false},
        // +90 degrees about +z takes +x to +y: the first row (image of x) is (0, 1, 0).
        {"rotate z",
         {{"rotate", doubles({90, 0, 0, 1})}},
         0,
         {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1},
         false},
        // +90 about +x takes +y to +z.
        {"rotate x",
         {{"rotate", doubles({90, 1, 0, 0})}},
         0,
         {1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1},
         false},
        // 120 degrees about (1, 1, 1) cycles x -> y -> z -> x; the axis need not be unit length.
        {"rotate diagonal",
         {{"rotate", doubles({120, 2, 2, 2})}},
         0,
         {0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1},
         false},
        {"zero axis", {{"rotate", doubles({45, 0, 0, 0})}}, 0, identity, false},
        {"scale",
         {{"scale", doubles({2, 3, 4})}},
         0,
         {2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1},
         false},
        {"matrix",
         {{"matrix", doubles({1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 1})}},
         0,
         {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 1},
         false},
        // translate(1,0,0), rotate(90,z), scale(2): L = S * R * T; x -> (2,0,0) -> (0,2,0) -> (1,2,0).
        {"translate rotate scale",
         {{"translate", doubles({1, 0, 0})},
          {"rotate", doubles({90, 0, 0, 1})},
          {"scale", doubles({2, 2, 2})}},
         0,
         {0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 2, 0, 1, 0, 0, 1},
         false},
        // The same operations in the other order: L = T * R * S; the translation is applied last.
        {"scale rotate translate",
         {{"scale", doubles({2, 2, 2})},
          {"rotate", doubles({90, 0, 0, 1})},
          {"translate", doubles({1, 0, 0})}},
         0,
         {0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 2, 0, 0, 2, 0, 1},
         false},
        // Groups are read recursively, in order; constraint groups and unknown children add nothing.
        {"nested groups",
         {{"a", group({{"translate", doubles({1, 0, 0})}})},
          {"constraint", group({{"translate", doubles({100, 100, 100})}})},
          {"constraint1", group({{"matrix", doubles({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})}})},
          {"unknown", doubles({7, 7, 7})},
          {"b", group({{"c", group({{"translate", doubles({0, 2, 0})}})}})}},
         0,
         {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 0, 1},
         false},
        // A resolved constraint's matrix is an ordinary group child; appended last, it is applied to
        // points first: the origin goes to (0,0,5) and then by the translate to (1,0,5).
        {"resolved constraint",
         {{"translate", doubles({1, 0, 0})},
          {"resolvedconstraint",
           group({{"matrix", doubles({2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 5, 1})}})}},
         0,
         {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 1, 0, 5, 1},
         false},
        // Origin drops what came before it (and the parent); later operations still apply.
        {"origin",
         {{"before", group({{"translate", doubles({5, 0, 0})}})},
          {"origin", ints({1})},
          {"after", group({{"translate", doubles({0, 1, 0})}})}},
         0,
         {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 1, 0, 1},
         true},
        {"origin of another kind inside a group",
         {{"translate", doubles({5, 0, 0})}, {"g", group({{"origin", strings({"reset"})}})}},
         0,
         identity,
         true},
        // Values of any numeric kind count. L = S * T: points are scaled, then translated.
        {"int and float values",
         {{"translate", ints({1, 2, 3})}, {"scale", floats({2, 2, 2})}},
         0,
         {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 1, 2, 3, 1},
         false},
        // Too few values or a string contribute nothing.
        {"unusable values",
         {{"translate", doubles({1, 2})}, {"rotate", strings({"90", "0", "0", "1"})}, {"scale", doubles({})}},
         0,
         identity,
         false},
    };
    for (const LocalCase& c : cases) {
        const Operations ops = XformModel::flatten(group(c.xform));
        const XformModel::Local local = XformModel::localAt(ops, c.time);
        expectMatrix(local.matrix, c.expected, c.what);
        EXPECT_EQ(local.resetsParent, c.resetsParent) << c.what;
    }
}

TEST(XformModel, InterpolatesLinearlyAndClampsAtTheEnds) {
    const Operations ops =
        XformModel::flatten(group({{"translate", animated({{0.0f, {0, 0, 0}}, {1.0f, {10, 4, -2}}})}}));
    ASSERT_EQ(ops.size(), 1u);
    const struct {
        float time;
        double x, y, z;
    } cases[] = {{-1.0f, 0, 0, 0},
                 {0.0f, 0, 0, 0},
                 {0.25f, 2.5, 1, -0.5},
                 {0.5f, 5, 2, -1},
                 {1.0f, 10, 4, -2},
                 {3.0f, 10, 4, -2},
                 // A time that is not a number has no bracket: the first sample, as for attributes.
                 {std::nanf(""), 0, 0, 0}};
    for (const auto& c : cases) {
        const Imath::M44d m = XformModel::localAt(ops, c.time).matrix;
        EXPECT_NEAR(m[3][0], c.x, 1e-12) << c.time;
        EXPECT_NEAR(m[3][1], c.y, 1e-12) << c.time;
        EXPECT_NEAR(m[3][2], c.z, 1e-12) << c.time;
    }
}

TEST(XformModel, InterpolatesRotationAnglesNotMatrices) {
    // 0 degrees at time 0, 180 at time 1: at 0.5 the angle is 90, a true rotation (a blend of the
    // two matrices would be singular).
    const Operations ops =
        XformModel::flatten(group({{"rotate", animated({{0.0f, {0, 0, 0, 1}}, {1.0f, {180, 0, 0, 1}}})}}));
    expectMatrix(XformModel::localAt(ops, 0.5f).matrix, {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1},
                 "rotate 90");
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
