// The values of vexil-cook's options that have a form of their own: frame ranges, byte sizes and
// per-frame file names.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace VexilHost {

/// The frames of `--frames A-B[:S]`: whole frames from A to B (both included, either may be negative)
/// every S frames.
struct FrameRange {
    int first = 0;
    int last = 0;
    int step = 1;
    /// How many frames the range holds.
    std::int64_t count() const { return (static_cast<std::int64_t>(last) - first) / step + 1; }
    /// The frames, in order.
    std::vector<int> frames() const;
};

/// Reads "A-B" or "A-B:S" with A <= B and S >= 1; nothing for text of another form.
std::optional<FrameRange> parseFrameRange(const std::string& text);

/// A byte count written as digits with an optional unit K, M, G or T (powers of 1024; "512M",
/// "2G"); nothing for other text, zero, or a count beyond 2^63.
std::optional<std::uint64_t> parseByteSize(const std::string& text);

/// `pattern` with its first run of "#" replaced by `frame`, zero-padded to the run's length ("-"
/// before the digits of a negative frame); `pattern` itself when it holds no "#".
std::string frameFileName(const std::string& pattern, int frame);

} // namespace VexilHost
