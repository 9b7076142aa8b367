// Data attributes: creation, getters and their messages, nearest samples and interpolation.
#include "tests/attribute/AttributeTestSupport.h"

#include <cmath>
#include <limits>

using namespace AttributeTests;

namespace {

using DataAttributeTest = AttributeTest;

TEST_F(DataAttributeTest, GettersWithoutAValueThrowTheirMessagesOrReturnTheDefault) {
    EXPECT_EQ(thrownMessage([] { IntAttribute().getValue(); }), "Error getting int value from IntAttribute.");
    EXPECT_EQ(thrownMessage([] { FloatAttribute().getValue(); }),
              "Error getting float value from FloatAttribute.");
    EXPECT_EQ(thrownMessage([] { DoubleAttribute().getValue(); }),
              "Error getting double value from DoubleAttribute.");
    EXPECT_EQ(thrownMessage([] { StringAttribute().getValue(); }),
              "Error getting string value from StringAttribute.");
    EXPECT_EQ(IntAttribute().getValue(-4, false), -4);
    EXPECT_EQ(FloatAttribute().getValue(2.5f, false), 2.5f);
    EXPECT_EQ(DoubleAttribute().getValue(-0.125, false), -0.125);
    EXPECT_EQ(StringAttribute().getValue("fallback", false), "fallback");
    // A valid attribute without values has no value to get either.
    const IntAttribute empty(std::vector<int32_t>{});
    ASSERT_TRUE(empty.isValid());
    EXPECT_EQ(thrownMessage([&] { empty.getValue(); }), "Error getting int value from IntAttribute.");
    EXPECT_EQ(empty.getValue(11, false), 11);
    EXPECT_EQ(StringAttribute(std::vector<std::string>{}).getValue("none", false), "none");
}

TEST_F(DataAttributeTest, KindMismatchMakesAnInvalidAttributeWithoutError) {
    const IntAttribute integer(7);
    const StringAttribute fromInt(integer);
    EXPECT_FALSE(fromInt.isValid());
    EXPECT_EQ(fromInt.getType(), QN_ATTRIBUTE_TYPE_NULL);
    EXPECT_EQ(fromInt.getValue("default", false), "default");

    const FloatAttribute fromDouble{Attribute(DoubleAttribute(1.0))};
    EXPECT_FALSE(fromDouble.isValid());
    const Qn::GroupAttribute fromString{Attribute(StringAttribute("x"))};
    EXPECT_FALSE(fromString.isValid());

    // The matching kind keeps the same handle.
    const Attribute generic = integer;
    const IntAttribute back(generic);
    EXPECT_TRUE(back == integer);
    EXPECT_EQ(back.getValue(), 7);
}

TEST_F(DataAttributeTest, ScalarGetterTakesTheSampleNearestToTimeZero) {
    EXPECT_EQ(IntAttribute(std::map<float, std::vector<int32_t>>{{-1.0f, {1}}, {0.5f, {2}}}, 1).getValue(),
              2);
    // -0.5 and 0.5 are equally far from 0: the earlier sample wins.
    EXPECT_EQ(IntAttribute(std::map<float, std::vector<int32_t>>{{-0.5f, {1}}, {0.5f, {2}}}, 1).getValue(),
              1);
    EXPECT_EQ(
        StringAttribute(std::map<float, std::vector<std::string>>{{-2.0f, {"early"}}, {0.25f, {"late"}}}, 1)
            .getValue(),
        "late");
}

// Bad shapes (counts, tuple sizes, time order) are the attribute fuzz target's; these are the pointers
// and the client's own checks it never passes.
TEST_F(DataAttributeTest, CreationRejectsNullPointersWithANullHandle) {
    const float t2[] = {0.0f, 1.0f};
    const float v0[] = {1, 2, 3, 4, 5, 6};
    const float* v2[] = {v0, v0};
    const float* vNull[] = {v0, nullptr};
    const struct {
        const char* what;
        const float* times;
        int64_t samples;
        const float* const* values;
    } cases[] = {
        {"null times", nullptr, 2, v2},
        {"negative samples", t2, -1, v2},
        {"null values", t2, 2, nullptr},
        {"null sample", t2, 2, vNull},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(suite()->createFloatSamples(c.times, c.samples, c.values, 6, 1), nullptr) << c.what;
        EXPECT_FALSE(FloatAttribute(c.times, c.samples, c.values, 6, 1).isValid()) << c.what;
    }
    EXPECT_TRUE(FloatAttribute(t2, 2, v2, 6, 3).isValid());
    // Zero values need no value pointers.
    EXPECT_TRUE(FloatAttribute(t2, 2, nullptr, 0, 1).isValid());

    const char* strings[] = {"a", nullptr};
    const char* const* stringSamples[] = {strings};
    EXPECT_EQ(suite()->createStringSamples(t2, 1, stringSamples, 2, 1), nullptr);
    EXPECT_EQ(suite()->createString(nullptr), nullptr);
    // Samples of different sizes cannot form one attribute.
    EXPECT_FALSE(
        DoubleAttribute(std::map<float, std::vector<double>>{{0.0f, {1, 2}}, {1.0f, {3}}}, 1).isValid());
    EXPECT_FALSE(IntAttribute(std::map<float, std::vector<int32_t>>{}, 1).isValid());
}

TEST_F(DataAttributeTest, QueriesOnTheNullHandleAreSafe) {
    EXPECT_EQ(suite()->getType(nullptr), QN_ATTRIBUTE_TYPE_NULL);
    EXPECT_EQ(suite()->getNumberOfValues(nullptr), 0);
    EXPECT_EQ(suite()->getTupleSize(nullptr), 0);
    EXPECT_EQ(suite()->getNumberOfTimeSamples(nullptr), 0);
    EXPECT_EQ(suite()->getSampleTime(nullptr, 0), 0.0f);
    EXPECT_EQ(suite()->getNumberOfChildren(nullptr), 0);
    int64_t count = 99;
    EXPECT_EQ(suite()->getFloatNearestSample(nullptr, 0.0f, &count), nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(suite()->getStringNearestSample(nullptr, 0.0f, nullptr), nullptr);
    int32_t length = 5;
    EXPECT_EQ(suite()->getChildName(nullptr, 0, &length), nullptr);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(suite()->getChildByName(nullptr, "a", 1), nullptr);
    EXPECT_EQ(suite()->getChildByIndex(nullptr, 0), nullptr);
    float left = 7, right = 7;
    suite()->getBoundingSampleTimes(nullptr, 3.0f, &left, &right);
    EXPECT_EQ(left, 0.0f);
    EXPECT_EQ(right, 0.0f);
    uint64_t words[2] = {1, 1};
    suite()->getHash(nullptr, words);
    EXPECT_EQ(words[0], 0u);
    EXPECT_EQ(words[1], 0u);
    suite()->retain(nullptr);
    suite()->release(nullptr);
    // Wrong kinds answer like the null handle.
    const IntAttribute i(3);
    EXPECT_EQ(suite()->getFloatNearestSample(i.getHandle(), 0.0f, &count), nullptr);
    EXPECT_EQ(suite()->getNumberOfChildren(i.getHandle()), 0);
}

// ---- interpolated fill, the same for float and double ----

template <typename A> class InterpolationTest : public AttributeTest {};
using InterpolatedKinds = ::testing::Types<FloatAttribute, DoubleAttribute>;
TYPED_TEST_SUITE(InterpolationTest, InterpolatedKinds);

template <typename A> A twoSamples() {
    using T = typename A::value_type;
    return A(std::map<float, std::vector<T>>{{0.0f, {0, 10}}, {2.0f, {2, 20}}}, 1);
}

TYPED_TEST(InterpolationTest, FillsBetweenAndBeyondTheSamples) {
    using T = typename TypeParam::value_type;
    const TypeParam attr = twoSamples<TypeParam>();
    struct Case {
        float time;
        T first, second;
    };
    // Values on the line through (0, 0)-(2, 2) and (0, 10)-(2, 20); clamped outside [0, 2].
    const Case cases[] = {{1.0f, 1, 15}, {0.5f, 0.5, 12.5}, {1.5f, 1.5, 17.5}, {0.0f, 0, 10},
                          {2.0f, 2, 20}, {-3.0f, 0, 10},    {7.0f, 2, 20}};
    for (const Case& c : cases) {
        T out[2] = {-1, -1};
        attr.fillInterpolatedValues(out, 2, c.time);
        EXPECT_EQ(out[0], c.first) << "time " << c.time;
        EXPECT_EQ(out[1], c.second) << "time " << c.time;
    }
}

TYPED_TEST(InterpolationTest, WeightIsComputedInTheValuePrecision) {
    using T = typename TypeParam::value_type;
    const TypeParam attr(std::map<float, std::vector<T>>{{0.0f, {0}}, {3.0f, {1}}}, 1);
    T out = 0;
    attr.fillInterpolatedValues(&out, 1, 1.0f);
    EXPECT_EQ(out, T(1) / T(3));
}

TYPED_TEST(InterpolationTest, MissingValuesTakeTheDefaultOrThrow) {
    using T = typename TypeParam::value_type;
    const bool isFloat = std::is_same_v<T, float>;
    const std::string countMessage =
        isFloat ? "Error interpolating FloatAttribute. Attrs do not have sufficient value counts."
                : "Error interpolating DoubleAttribute. Attrs do not have sufficient value counts.";
    const std::string fillMessage = isFloat ? "Error filling interpolated float value from FloatAttribute."
                                            : "Error filling interpolated double value from DoubleAttribute.";
    const TypeParam attr = twoSamples<TypeParam>();

    T out[4] = {-1, -1, -1, -1};
    attr.fillInterpolatedValues(out, 4, 1.0f, T(9), false);
    EXPECT_EQ(std::vector<T>(out, out + 4), (std::vector<T>{1, 15, 9, 9}));

    EXPECT_EQ(thrownMessage([&] { attr.fillInterpolatedValues(out, 3, 1.0f, T(9), true); }), countMessage);
    EXPECT_EQ(thrownMessage([&] { attr.fillInterpolatedValues(nullptr, 2, 1.0f, T(0), true); }), fillMessage);
    EXPECT_EQ(thrownMessage([&] { TypeParam().fillInterpolatedValues(out, 2, 1.0f, T(0), true); }),
              fillMessage);

    // Without throwing, a null output or an invalid attribute writes nothing.
    attr.fillInterpolatedValues(nullptr, 2, 1.0f, T(0), false);
    T untouched[2] = {5, 6};
    TypeParam().fillInterpolatedValues(untouched, 2, 1.0f, T(0), false);
    EXPECT_EQ(untouched[0], T(5));
    EXPECT_EQ(untouched[1], T(6));

    // Fewer values requested than available: only those are written.
    T one[2] = {-1, -1};
    attr.fillInterpolatedValues(one, 1, 1.0f);
    EXPECT_EQ(one[0], T(1));
    EXPECT_EQ(one[1], T(-1));

    // No values at all: every requested value is the default.
    const TypeParam empty(std::vector<T>{});
    T defaults[3] = {0, 0, 0};
    empty.fillInterpolatedValues(defaults, 3, 0.0f, T(2), false);
    EXPECT_EQ(std::vector<T>(defaults, defaults + 3), (std::vector<T>{2, 2, 2}));
    EXPECT_EQ(thrownMessage([&] { empty.fillInterpolatedValues(defaults, 1, 0.0f, T(2), true); }),
              countMessage);
}

} // namespace
