// Number texts: the rows of number-text.json, and the one float that the shortest text alone would
// not give back.
#include "host/scene/NumberText.h"
#include "tests/support/JsonFile.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace VexilHost;
using Json = nlohmann::ordered_json;

namespace {

uint32_t bitsOf(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

float floatOf(const Json& text) {
    return std::strtof(text.get<std::string>().c_str(), nullptr);
}

const Json& cases(const char* name) {
    static const Json file = VexilTest::readJsonFile(VEXIL_SCENE_CASES_DIR "/number-text.json");
    return file.at(name);
}

} // namespace

TEST(NumberText, ValuesAndSampleTimesTakeTheirShortestForm) {
    for (const Json& c : cases("floats")) {
        EXPECT_EQ(formatFloat(floatOf(c[0])), c[1]) << c[0];
    }
    for (const Json& c : cases("doubles")) {
        EXPECT_EQ(formatDouble(std::strtod(c[0].get<std::string>().c_str(), nullptr)), c[1]) << c[0];
    }
    for (const Json& c : cases("sampleTimes")) {
        EXPECT_EQ(formatSampleTime(floatOf(c[0])), c[1]) << c[0];
        float back = 99.0f;
        ASSERT_EQ(parseSampleTime(c[1], back), SampleTimeText::Valid) << c[1];
        EXPECT_EQ(back, floatOf(c[0])) << c[1];
    }
}

TEST(NumberText, SampleTimeKeysAreStrictDecimals) {
    const char* const names[] = {"Valid", "NotDecimal", "TooSmall", "TooLarge"};
    for (const Json& c : cases("sampleTimeKeys")) {
        float time = 99.0f;
        EXPECT_EQ(names[static_cast<int>(parseSampleTime(c[0], time))], c[1]) << '"' << c[0] << '"';
        // Bits, so that "-0" must give time 0, not -0.
        EXPECT_EQ(bitsOf(time), bitsOf(c[2].is_null() ? 99.0f : floatOf(c[2]))) << '"' << c[0] << '"';
    }
}

// Of all positive finite floats, only this one has a shortest text ("7.038531e-26") that lands on its
// neighbour when read as the nearest double and then the nearest float (found by an exhaustive scan).
TEST(NumberText, TheFloatWhoseShortestTextRoundsTwiceWrongStillReadsBack) {
    const uint32_t bits = 0x15ae43fdu;
    float value;
    std::memcpy(&value, &bits, sizeof value);
    const auto readBack = [](const std::string& text) {
        return static_cast<float>(Json::parse(text).get<double>());
    };
    ASSERT_NE(bitsOf(readBack("7.038531e-26")), bits) << "the shortest text alone would not read back";
    for (const float v : {value, -value}) {
        EXPECT_EQ(bitsOf(readBack(formatFloat(v))), bitsOf(v)) << formatFloat(v);
    }
}
