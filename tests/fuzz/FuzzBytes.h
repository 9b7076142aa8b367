// Reads typed values from the fuzzer's bytes, front to back. Once the bytes run out every read gives
// zero, so a generator always finishes and short inputs give small, valid structures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace VexilFuzz {

/// A cursor over borrowed bytes; the bytes must outlive it.
class FuzzBytes {
public:
    FuzzBytes(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    /// True while unread bytes remain.
    bool more() const { return m_pos < m_size; }

    /// One byte (0 when exhausted).
    uint8_t byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }

    /// A value in [0, count) (0 when count is 0); one byte for counts up to 256, two above.
    uint32_t below(uint32_t count) {
        if (count <= 1) {
            return 0;
        }
        const uint32_t raw = count <= 256 ? byte() : (uint32_t(byte()) << 8 | byte());
        return raw % count;
    }

    /// A value in [low, high].
    int32_t range(int32_t low, int32_t high) { return low + int32_t(below(uint32_t(high - low + 1))); }

    /// True with roughly the given percentage.
    bool chance(uint32_t percent) { return below(100) < percent; }

    /// Raw bits of a 32-bit integer (any value, negative ones included).
    int32_t anyInt() {
        uint32_t bits = 0;
        for (int i = 0; i < 4; ++i) {
            bits = bits << 8 | byte();
        }
        int32_t value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    /// One of the entries of a non-empty array.
    template <typename T, size_t N> const T& pick(const T (&entries)[N]) { return entries[below(N)]; }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

} // namespace VexilFuzz
