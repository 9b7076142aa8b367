// The text of numbers in scene files: shortest round-trip forms for output, strict decimal sample
// times for input.
#pragma once

#include <string>

namespace VexilHost {

/// The shortest JSON number text that reads back (nearest double, then nearest float) to exactly
/// `value`; negative zero is "-0.0", and nan, inf and -inf are the quoted strings "nan", "inf", "-inf".
std::string formatFloat(float value);

/// The shortest JSON number text that reads back to exactly `value`; negative zero is "-0.0", and
/// nan, inf and -inf are the quoted strings "nan", "inf", "-inf".
std::string formatDouble(double value);

/// The shortest plain decimal text (no exponent) of a sample time that reads back to exactly `time`.
std::string formatSampleTime(float time);

/// What reading a sample-time key found.
enum class SampleTimeText {
    Valid,
    NotDecimal, ///< not an optional minus sign, digits, optionally a point and more digits
    TooSmall,   ///< not zero, but nearer to zero than the smallest float
    TooLarge,   ///< beyond the float range
};

/// Reads a sample-time key: an optional minus sign, digits, optionally a point and more digits
/// ("0", "-0.25", "12.5"); sets `time` only when the text is Valid.
SampleTimeText parseSampleTime(const std::string& text, float& time);

/// What is wrong with a sample-time key that is not Valid: `sample time "<text>" is not a decimal
/// number (such as "0" or "-0.25")`, `... is too close to zero for a float time (floats reach down to
/// about 1.4e-45)` or `... is outside the float range`.
std::string sampleTimeError(const std::string& text, SampleTimeText read);

} // namespace VexilHost
