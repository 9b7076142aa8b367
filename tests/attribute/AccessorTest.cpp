// Sample accessor records in both layouts (the bounding sample times are the attribute fuzz target's).
#include "tests/attribute/AttributeTestSupport.h"

using namespace AttributeTests;

namespace {

using AccessorTest = AttributeTest;

TEST_F(AccessorTest, SingleSampleHandsOutAnEmbeddedContiguousRecord) {
    const FloatAttribute attr(std::vector<float>{1.5f, 2.5f, 3.5f}, 3);
    const QnSampleAccessor* a = suite()->getSampleAccessor(attr.getHandle(), QN_ATTRIBUTE_TYPE_FLOAT, 1);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->flags, QN_SAMPLE_ACCESSOR_CONTIGUOUS);
    EXPECT_EQ(a->numSamples, 1);
    EXPECT_EQ(a->valuesPerSample, 3);
    EXPECT_EQ(a->times[0], 0.0f);
    const float* values = static_cast<const float*>(a->values);
    EXPECT_EQ(values[0], 1.5f);
    EXPECT_EQ(values[2], 3.5f);
    // The same record every time: it lives inside the attribute, holding no reference of its own.
    const Live held = liveCounts();
    EXPECT_EQ(suite()->getSampleAccessor(attr.getHandle(), QN_ATTRIBUTE_TYPE_FLOAT, 1), a);
    EXPECT_EQ(liveCounts().attributes, held.attributes);
    suite()->releaseSampleAccessor(a); // not to be handed back, but harmless
    EXPECT_EQ(static_cast<const float*>(a->values)[1], 2.5f);
}

TEST_F(AccessorTest, SeveralSamplesHandOutAnAllocatedRecordWithOnePointerPerSample) {
    const QnSampleAccessor* a = nullptr;
    {
        const DoubleAttribute attr(
            std::map<float, std::vector<double>>{{-0.5f, {1, 2}}, {0.0f, {3, 4}}, {0.5f, {5, 6}}}, 2);
        a = suite()->getSampleAccessor(attr.getHandle(), QN_ATTRIBUTE_TYPE_DOUBLE, 1);
        ASSERT_NE(a, nullptr);
        EXPECT_EQ(a->flags, QN_SAMPLE_ACCESSOR_HAND_BACK);
        EXPECT_EQ(a->numSamples, 3);
        EXPECT_EQ(a->valuesPerSample, 2);
        EXPECT_EQ(a->times[0], -0.5f);
        EXPECT_EQ(a->times[2], 0.5f);
    }
    // The record keeps the attribute alive after the last client reference went away.
    const auto* const* samples = static_cast<const double* const*>(a->values);
    EXPECT_EQ(samples[0][0], 1.0);
    EXPECT_EQ(samples[1][1], 4.0);
    EXPECT_EQ(samples[2][0], 5.0);
    const Live held = liveCounts();
    suite()->releaseSampleAccessor(a);
    EXPECT_EQ(liveCounts().attributes, held.attributes - 1);
}

TEST_F(AccessorTest, NoRecordForOtherKindsMismatchesOrVersions) {
    const FloatAttribute f(1.0f);
    const DoubleAttribute d(1.0);
    const Qn::IntAttribute i(1);
    const Qn::StringAttribute s("x");
    struct Case {
        const char* what;
        QnAttributeHandle handle;
        int32_t code;
        int32_t version;
    };
    const Case cases[] = {
        {"float asked as double", f.getHandle(), QN_ATTRIBUTE_TYPE_DOUBLE, 1},
        {"double asked as float", d.getHandle(), QN_ATTRIBUTE_TYPE_FLOAT, 1},
        {"int", i.getHandle(), QN_ATTRIBUTE_TYPE_INT, 1},
        {"string", s.getHandle(), QN_ATTRIBUTE_TYPE_STRING, 1},
        {"version 2", f.getHandle(), QN_ATTRIBUTE_TYPE_FLOAT, 2},
        {"version 0", d.getHandle(), QN_ATTRIBUTE_TYPE_DOUBLE, 0},
        {"null handle", nullptr, QN_ATTRIBUTE_TYPE_FLOAT, 1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(suite()->getSampleAccessor(c.handle, c.code, c.version), nullptr) << c.what;
    suite()->releaseSampleAccessor(nullptr);
}

} // namespace
