#include "tools/vexil-cook/OptionValues.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>

namespace VexilHost {

namespace {

// Reads an optionally negative whole number from `text` at `at`, moving `at` past it.
bool readInt(const std::string& text, std::size_t& at, long long& value) {
    const char* first = text.data() + at;
    const char* last = text.data() + text.size();
    const auto result = std::from_chars(first, last, value);
    if (result.ec != std::errc() || result.ptr == first) {
        return false;
    }
    at = static_cast<std::size_t>(result.ptr - text.data());
    return true;
}

} // namespace

std::optional<FrameRange> parseFrameRange(const std::string& text) {
    std::size_t at = 0;
    long long first = 0;
    long long last = 0;
    long long step = 1;
    if (!readInt(text, at, first) || at >= text.size() || text[at] != '-') {
        return std::nullopt;
    }
    ++at;
    if (!readInt(text, at, last)) {
        return std::nullopt;
    }
    if (at < text.size()) {
        if (text[at] != ':') {
            return std::nullopt;
        }
        ++at;
        if (!readInt(text, at, step) || at != text.size()) {
            return std::nullopt;
        }
    }
    constexpr long long kLimit = std::numeric_limits<int>::max();
    if (first > last || step < 1 || first < -kLimit || last > kLimit || step > kLimit) {
        return std::nullopt;
    }
    return FrameRange{static_cast<int>(first), static_cast<int>(last), static_cast<int>(step)};
}

std::vector<int> FrameRange::frames() const {
    std::vector<int> frames;
    for (long long frame = first; frame <= last; frame += step) {
        frames.push_back(static_cast<int>(frame));
    }
    return frames;
}

std::optional<std::uint64_t> parseByteSize(const std::string& text) {
    std::uint64_t count = 0;
    const char* first = text.data();
    const char* last = text.data() + text.size();
    const auto result = std::from_chars(first, last, count);
    if (result.ec != std::errc() || result.ptr == first || count == 0) {
        return std::nullopt;
    }
    int shift = 0;
    if (result.ptr != last) {
        if (result.ptr + 1 != last) {
            return std::nullopt;
        }
        switch (*result.ptr) {
        case 'K':
            shift = 10;
            break;
        case 'M':
            shift = 20;
            break;
        case 'G':
            shift = 30;
            break;
        case 'T':
            shift = 40;
            break;
        default:
            return std::nullopt;
        }
    }
    if (count > (std::uint64_t(1) << (63 - shift))) {
        return std::nullopt;
    }
    return count << shift;
}

std::string frameFileName(const std::string& pattern, int frame) {
    const std::size_t start = pattern.find('#');
    if (start == std::string::npos) {
        return pattern;
    }
    const std::size_t end = std::min(pattern.find_first_not_of('#', start), pattern.size());
    std::string digits = std::to_string(std::llabs(static_cast<long long>(frame)));
    if (digits.size() < end - start) {
        digits.insert(0, end - start - digits.size(), '0');
    }
    return pattern.substr(0, start) + (frame < 0 ? "-" : "") + digits + pattern.substr(end);
}

} // namespace VexilHost
