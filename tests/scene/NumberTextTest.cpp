#include "host/scene/NumberText.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

using namespace VexilHost;

namespace {

template <typename T, typename Bits> Bits bitsOf(T value) {
    Bits bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// What a reader makes of a number text: the JSON number as a double.
double readBack(const std::string& text) {
    return nlohmann::json::parse(text).get<double>();
}

} // namespace

TEST(NumberText, FloatsTakeTheirShortestForm) {
    const struct {
        float value;
        const char* text;
    } cases[] = {
        {0.1f, "0.1"},
        {1.0f, "1"},
        {-2.5f, "-2.5"},
        {0.0f, "0"},
        {-0.0f, "-0.0"},
        {1.0f / 3.0f, "0.33333334"},
        {16777216.0f, "16777216"},
        {1e10f, "1e+10"},
        {std::numeric_limits<float>::max(), "3.4028235e+38"},
        {std::numeric_limits<float>::denorm_min(), "1e-45"},
        {std::numeric_limits<float>::infinity(), "\"inf\""},
        {-std::numeric_limits<float>::infinity(), "\"-inf\""},
        {std::numeric_limits<float>::quiet_NaN(), "\"nan\""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatFloat(c.value), c.text) << c.text;
    }
}

TEST(NumberText, DoublesTakeTheirShortestForm) {
    const struct {
        double value;
        const char* text;
    } cases[] = {
        {0.1, "0.1"},
        {0.1 + 0.2, "0.30000000000000004"},
        {1.0 / 3.0, "0.3333333333333333"},
        {-0.0, "-0.0"},
        {9007199254740992.0, "9007199254740992"},
        {1e300, "1e+300"},
        {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
        {std::numeric_limits<double>::denorm_min(), "5e-324"},
        {-std::numeric_limits<double>::infinity(), "\"-inf\""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatDouble(c.value), c.text) << c.text;
    }
}

// Of all positive finite floats, only this one has a shortest text ("7.038531e-26") that lands on its
// neighbour when read as the nearest double and then the nearest float (found by an exhaustive scan).
TEST(NumberText, TheFloatWhoseShortestTextRoundsTwiceWrongStillReadsBack) {
    const uint32_t bits = 0x15ae43fdu;
    float value;
    std::memcpy(&value, &bits, sizeof value);
    ASSERT_NE((bitsOf<float, uint32_t>(static_cast<float>(readBack("7.038531e-26")))), bits)
        << "the shortest text alone would not read back";
    for (const float v : {value, -value}) {
        const std::string text = formatFloat(v);
        EXPECT_EQ((bitsOf<float, uint32_t>(static_cast<float>(readBack(text)))), (bitsOf<float, uint32_t>(v)))
            << text;
    }
}

TEST(NumberText, SampleTimesArePlainDecimals) {
    const struct {
        float time;
        const char* text;
    } cases[] = {
        {0.0f, "0"},   {-0.0f, "0"},         {0.25f, "0.25"},        {-0.5f, "-0.5"},
        {0.1f, "0.1"}, {1e-7f, "0.0000001"}, {1e10f, "10000000000"}, {100.0f, "100"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(formatSampleTime(c.time), c.text) << c.text;
        float back = 99.0f;
        ASSERT_EQ(parseSampleTime(c.text, back), SampleTimeText::Valid) << c.text;
        EXPECT_EQ(back, c.time) << c.text;
    }
}

TEST(NumberText, SampleTimeKeysAreStrictDecimals) {
    using Read = SampleTimeText;
    const std::string tiny = "0." + std::string(49, '0') + "1";
    const struct {
        std::string text;
        Read read;
        float time;
    } cases[] = {
        {"0", Read::Valid, 0.0f},
        {"-0.25", Read::Valid, -0.25f},
        {"12.5", Read::Valid, 12.5f},
        {"007", Read::Valid, 7.0f},
        {"0.1", Read::Valid, 0.1f},
        {"0.000", Read::Valid, 0.0f},
        {"0." + std::string(44, '0') + "1", Read::Valid, std::numeric_limits<float>::denorm_min()},
        {"", Read::NotDecimal, 0},
        {"-", Read::NotDecimal, 0},
        {".5", Read::NotDecimal, 0},
        {"1.", Read::NotDecimal, 0},
        {"1e3", Read::NotDecimal, 0},
        {"+1", Read::NotDecimal, 0},
        {" 1", Read::NotDecimal, 0},
        {"1 ", Read::NotDecimal, 0},
        {"0x1", Read::NotDecimal, 0},
        {"1.5.2", Read::NotDecimal, 0},
        {"nan", Read::NotDecimal, 0},
        {"inf", Read::NotDecimal, 0},
        {"1,5", Read::NotDecimal, 0},
        {"1000000000000000000000000000000000000000", Read::TooLarge, 0},
        {"-1000000000000000000000000000000000000000.5", Read::TooLarge, 0},
        {tiny, Read::TooSmall, 0},
        {"-" + tiny, Read::TooSmall, 0},
        {"0." + std::string(45, '0') + "7", Read::TooSmall, 0}, // half the smallest float
    };
    for (const auto& c : cases) {
        float time = 99.0f;
        EXPECT_EQ(parseSampleTime(c.text, time), c.read) << '"' << c.text << '"';
        EXPECT_EQ(time, c.read == Read::Valid ? c.time : 99.0f) << c.text;
    }
    EXPECT_EQ(sampleTimeError(tiny, Read::TooSmall),
              "sample time \"" + tiny +
                  "\" is too close to zero for a float time (floats reach down to about 1.4e-45)");
    float negativeZero = 99.0f;
    ASSERT_EQ(parseSampleTime("-0", negativeZero), Read::Valid);
    EXPECT_FALSE(std::signbit(negativeZero)) << "time -0 is time 0";
}
