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

/// Reads a sample-time key: an optional minus sign, digits, optionally a point and more digits
/// ("0", "-0.25", "12.5"). Returns false for any other text or a value outside the float range.
bool parseSampleTime(const std::string& text, float& time);

} // namespace VexilHost
