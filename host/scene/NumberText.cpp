#include "host/scene/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace VexilHost {

namespace {

// Without a format, to_chars picks the shorter of the plain and the exponent form (plain on a tie).
template <typename T> std::string shortest(T value) {
    std::array<char, 64> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    if (result.ec != std::errc()) {
        throw std::logic_error("number formatting buffer too small");
    }
    return std::string(buffer.data(), result.ptr);
}

template <typename T> std::string plainDecimal(T value) {
    std::array<char, 64> buffer{};
    const auto result =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed);
    if (result.ec != std::errc()) {
        throw std::logic_error("number formatting buffer too small");
    }
    return std::string(buffer.data(), result.ptr);
}

template <typename T> const char* nonFiniteText(T value) {
    if (std::isnan(value)) {
        return "\"nan\"";
    }
    return value > 0 ? "\"inf\"" : "\"-inf\"";
}

// "-0" would read back as the integer 0 and lose its sign.
std::string signedZero() {
    return "-0.0";
}

} // namespace

std::string formatDouble(double value) {
    if (!std::isfinite(value)) {
        return nonFiniteText(value);
    }
    if (value == 0.0 && std::signbit(value)) {
        return signedZero();
    }
    return shortest(value);
}

std::string formatFloat(float value) {
    if (!std::isfinite(value)) {
        return nonFiniteText(value);
    }
    if (value == 0.0f && std::signbit(value)) {
        return signedZero();
    }
    std::string text = shortest(value);
    // A reader takes JSON numbers as doubles first; the shortest float text can in rare cases lie so
    // close to a midpoint between two floats that rounding twice lands on the neighbour. The double
    // text of the same value always reads back exactly.
    double asDouble = 0.0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), asDouble);
    if (parsed.ec != std::errc() || static_cast<float>(asDouble) != value) {
        text = shortest(static_cast<double>(value));
    }
    return text;
}

std::string formatSampleTime(float time) {
    if (time == 0.0f) {
        return "0";
    }
    return plainDecimal(time);
}

SampleTimeText parseSampleTime(const std::string& text, float& time) {
    size_t i = 0;
    if (i < text.size() && text[i] == '-') {
        ++i;
    }
    const size_t digitsStart = i;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
        ++i;
    }
    if (i == digitsStart) {
        return SampleTimeText::NotDecimal;
    }
    if (i < text.size() && text[i] == '.') {
        ++i;
        const size_t fractionStart = i;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9') {
            ++i;
        }
        if (i == fractionStart) {
            return SampleTimeText::NotDecimal;
        }
    }
    if (i != text.size()) {
        return SampleTimeText::NotDecimal;
    }
    float value = 0.0f;
    const auto parsed =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (parsed.ec == std::errc::result_out_of_range) {
        // The text is all digits, so it is out of range at one end or the other: a whole part other
        // than zero means too large.
        const size_t wholeEnd = std::min(text.find('.'), text.size());
        const bool wholeIsZero = text.find_first_not_of('0', digitsStart) >= wholeEnd;
        return wholeIsZero ? SampleTimeText::TooSmall : SampleTimeText::TooLarge;
    }
    if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size() || !std::isfinite(value)) {
        return SampleTimeText::NotDecimal;
    }
    time = value == 0.0f ? 0.0f : value; // "-0" is time 0
    return SampleTimeText::Valid;
}

std::string sampleTimeError(const std::string& text, SampleTimeText read) {
    const std::string quoted = "sample time \"" + text + "\"";
    switch (read) {
    case SampleTimeText::TooSmall:
        return quoted + " is too close to zero for a float time (floats reach down to about 1.4e-45)";
    case SampleTimeText::TooLarge:
        return quoted + " is outside the float range";
    default:
        return quoted + " is not a decimal number (such as \"0\" or \"-0.25\")";
    }
}

} // namespace VexilHost
