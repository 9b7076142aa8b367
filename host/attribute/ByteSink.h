// Little-endian byte encoding shared by the content hash and the binary serialised form.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace VexilHost {

/// Receives encoded bytes; the encoding is little-endian whatever the machine.
class ByteSink {
public:
    virtual ~ByteSink() = default;
    /// Appends `length` raw bytes.
    virtual void write(const void* bytes, size_t length) = 0;

    void u8(uint8_t v) { write(&v, 1); }
    void u32(uint32_t v) {
        uint8_t b[4];
        for (int i = 0; i < 4; ++i)
            b[i] = static_cast<uint8_t>(v >> (8 * i));
        write(b, 4);
    }
    void u64(uint64_t v) {
        uint8_t b[8];
        for (int i = 0; i < 8; ++i)
            b[i] = static_cast<uint8_t>(v >> (8 * i));
        write(b, 8);
    }
    void i64(int64_t v) { u64(static_cast<uint64_t>(v)); }
    void i32(int32_t v) { u32(static_cast<uint32_t>(v)); }
    /// IEEE-754 bit pattern, so -0.0 and 0.0 (and NaN payloads) stay distinct.
    void f32(float v) {
        uint32_t bits;
        std::memcpy(&bits, &v, 4);
        u32(bits);
    }
    void f64(double v) {
        uint64_t bits;
        std::memcpy(&bits, &v, 8);
        u64(bits);
    }
    /// A 64-bit length followed by the bytes.
    void text(std::string_view s) {
        u64(s.size());
        write(s.data(), s.size());
    }
};

/// Collects the bytes in memory.
class VectorSink : public ByteSink {
public:
    void write(const void* bytes, size_t length) override {
        if (length == 0)
            return;
        const size_t used = m_bytes.size();
        m_bytes.resize(used + length);
        std::memcpy(m_bytes.data() + used, bytes, length);
    }
    const std::vector<uint8_t>& bytes() const { return m_bytes; }

private:
    std::vector<uint8_t> m_bytes;
};

} // namespace VexilHost
