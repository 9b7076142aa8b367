// Sizes the fuzzer's small shapes never reach: long strings in every layout (up to 100,000 samples)
// read back exactly and survive a serialised round trip; counts no memory could hold are refused.
#include "tests/attribute/AttributeTestSupport.h"

#include <map>
#include <string>
#include <vector>

using namespace AttributeTests;

namespace {

struct Layout {
    int64_t samples;
    int64_t valuesPerSample;
    int64_t tupleSize;
};

// Odd counts of 4-byte values leave the times right after them at a 4-byte boundary only.
const Layout kLayouts[] = {{1, 0, 1}, {3, 0, 1},   {1, 1, 1},     {3, 3, 3},
                           {5, 7, 7}, {2, 16, 16}, {100000, 3, 3}};

float timeOf(int64_t sample) {
    return 0.5f * static_cast<float>(sample) - 1.0f;
}

/// Whole numbers below 2^24: exact in every numeric kind.
int32_t valueOf(int64_t sample, int64_t index) {
    return static_cast<int32_t>(sample * 100 + index) - 50;
}

std::string textOf(int64_t sample, int64_t index) {
    return "a string longer than any inline buffer " + std::to_string(valueOf(sample, index));
}

Attribute roundTrip(const Attribute& a) {
    const std::string bytes = a.serialise();
    return Attribute::deserialise(bytes.data(), bytes.size());
}

using StorageTest = AttributeTest;

TEST_F(StorageTest, LongStringsOfEveryLayoutReadBack) {
    for (const Layout& l : kLayouts) {
        SCOPED_TRACE(std::to_string(l.samples) + " x " + std::to_string(l.valuesPerSample));
        std::map<float, std::vector<std::string>> samples;
        for (int64_t i = 0; i < l.samples; ++i)
            for (int64_t j = 0; j < l.valuesPerSample; ++j)
                samples[timeOf(i)].push_back(textOf(i, j));
        for (int64_t i = 0; l.valuesPerSample == 0 && i < l.samples; ++i)
            samples[timeOf(i)];
        const StringAttribute a(samples, l.tupleSize);
        ASSERT_TRUE(a.isValid());
        EXPECT_EQ(a.getNumberOfTimeSamples(), l.samples);
        for (int64_t i = 0; i < l.samples; ++i) {
            EXPECT_EQ(a.getSampleTime(i), timeOf(i));
            const std::vector<std::string> got = a.getNearestSampleStrings(timeOf(i));
            ASSERT_EQ(got.size(), static_cast<size_t>(l.valuesPerSample));
            for (int64_t j = 0; j < l.valuesPerSample; ++j)
                ASSERT_EQ(got[static_cast<size_t>(j)], textOf(i, j));
        }
        const Attribute back = roundTrip(a);
        EXPECT_TRUE(a.isContentEqual(back));
        EXPECT_EQ(a.getHash(), back.getHash());
    }
}

TEST_F(StorageTest, CountsNoMemoryCouldHoldGiveANullHandle) {
    const float times[] = {0.0f, 1.0f};
    const int32_t ints[] = {1};
    const float floats[] = {1.0f};
    const double doubles[] = {1.0};
    const char* const strings[] = {"a"};
    const int32_t* intSamples[] = {ints, ints};
    const float* floatSamples[] = {floats, floats};
    const double* doubleSamples[] = {doubles, doubles};
    const char* const* stringSamples[] = {strings, strings};
    // Only the counts are checked before the attempt to allocate: no value past the first is read.
    for (const int64_t count : {INT64_MAX, INT64_MAX / 2, int64_t(1) << 61, int64_t(1) << 58}) {
        SCOPED_TRACE(count);
        EXPECT_EQ(suite()->createIntSamples(times, 2, intSamples, count, 1), nullptr);
        EXPECT_EQ(suite()->createFloatSamples(times, 2, floatSamples, count, 1), nullptr);
        EXPECT_EQ(suite()->createDoubleSamples(times, 2, doubleSamples, count, 1), nullptr);
        EXPECT_EQ(suite()->createStringSamples(times, 2, stringSamples, count, 1), nullptr);
    }
}

} // namespace
