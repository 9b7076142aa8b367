#include "host/attribute/Serialiser.h"

#include "host/attribute/DataValue.h"
#include "host/attribute/GroupValue.h"

#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace VexilHost {

namespace {

/// A corrupt input; carries the message handed back to the caller.
struct CorruptInput : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Bounds-checked little-endian reader.
class Reader {
public:
    Reader(const uint8_t* bytes, size_t length) : m_bytes(bytes), m_length(length) {}

    size_t offset() const { return m_offset; }
    size_t remaining() const { return m_length - m_offset; }
    const uint8_t* take(size_t n, const char* what) {
        if (n > remaining())
            throw CorruptInput("Corrupt serialised attribute: truncated " + std::string(what) + " at byte " +
                               std::to_string(m_offset) + ".");
        const uint8_t* p = m_bytes + m_offset;
        m_offset += n;
        return p;
    }
    uint8_t u8(const char* what) { return *take(1, what); }
    uint64_t u64(const char* what) {
        const uint8_t* p = take(8, what);
        uint64_t v = 0;
        for (int i = 7; i >= 0; --i)
            v = (v << 8) | p[i];
        return v;
    }
    uint32_t u32(const char* what) {
        const uint8_t* p = take(4, what);
        uint32_t v = 0;
        for (int i = 3; i >= 0; --i)
            v = (v << 8) | p[i];
        return v;
    }
    int64_t i64(const char* what) { return static_cast<int64_t>(u64(what)); }
    float f32(const char* what) {
        const uint32_t bits = u32(what);
        float v;
        std::memcpy(&v, &bits, 4);
        return v;
    }
    double f64(const char* what) {
        const uint64_t bits = u64(what);
        double v;
        std::memcpy(&v, &bits, 8);
        return v;
    }
    std::string text(const char* what) {
        const uint64_t n = u64(what);
        if (n > remaining())
            throw CorruptInput("Corrupt serialised attribute: truncated " + std::string(what) + " at byte " +
                               std::to_string(m_offset) + ".");
        const uint8_t* p = take(static_cast<size_t>(n), what);
        return std::string(reinterpret_cast<const char*>(p), static_cast<size_t>(n));
    }
    [[noreturn]] void fail(const std::string& why, size_t at) const {
        throw CorruptInput("Corrupt serialised attribute: " + why + " at byte " + std::to_string(at) + ".");
    }

private:
    const uint8_t* m_bytes;
    size_t m_length;
    size_t m_offset = 0;
};

/// Owns one reference until handed over.
struct ValueRef {
    const AttributeValue* value = nullptr;
    ~ValueRef() {
        if (value)
            value->release();
    }
    const AttributeValue* take() {
        const AttributeValue* v = value;
        value = nullptr;
        return v;
    }
};

template <typename T> const AttributeValue* readData(Reader& in, size_t start) {
    const int64_t tupleSize = in.i64("tuple size");
    const int64_t numSamples = in.i64("sample count");
    const int64_t valuesPerSample = in.i64("value count");
    if (tupleSize < 1 || numSamples < 1 || valuesPerSample < 0 || valuesPerSample % tupleSize != 0)
        in.fail("bad data layout", start);
    // Every value takes at least 4 bytes (8 for a string's length), every time 4: refuse counts the
    // remaining bytes cannot hold before allocating anything.
    const uint64_t minValueBytes = std::is_same_v<T, double> || std::is_same_v<T, std::string> ? 8 : 4;
    const uint64_t limit = in.remaining();
    if (static_cast<uint64_t>(numSamples) > limit / 4 ||
        (valuesPerSample > 0 &&
         static_cast<uint64_t>(valuesPerSample) > limit / minValueBytes / static_cast<uint64_t>(numSamples)))
        in.fail("counts exceed the data", start);

    return DataValue<T>::create(numSamples, valuesPerSample, tupleSize, [&](float* times, T* values) {
        for (int64_t i = 0; i < numSamples; ++i) {
            times[i] = in.f32("sample time");
            if (!std::isfinite(times[i]) || (i > 0 && !(times[i] > times[i - 1])))
                in.fail("sample times not ascending", start);
        }
        for (int64_t i = 0; i < numSamples * valuesPerSample; ++i) {
            T& v = values[i];
            if constexpr (std::is_same_v<T, int32_t>)
                v = static_cast<int32_t>(in.u32("int value"));
            else if constexpr (std::is_same_v<T, float>)
                v = in.f32("float value");
            else if constexpr (std::is_same_v<T, double>)
                v = in.f64("double value");
            else
                v = in.text("string value");
        }
    });
}

const AttributeValue* readValue(Reader& in, int depth);

const AttributeValue* readGroup(Reader& in, size_t start, int depth) {
    const int64_t n = in.i64("child count");
    // A child takes at least 9 bytes: its name length and its kind.
    if (n < 0 || static_cast<uint64_t>(n) > in.remaining() / 9)
        in.fail("bad child count", start);
    std::vector<std::pair<std::string, const AttributeValue*>> children;
    children.reserve(static_cast<size_t>(n));
    const auto releaseAll = [&children] {
        for (const auto& c : children)
            c.second->release();
    };
    try {
        for (int64_t i = 0; i < n; ++i) {
            std::string name = in.text("child name");
            const AttributeValue* child = readValue(in, depth + 1);
            children.emplace_back(std::move(name), child);
        }
        const GroupValue* group = GroupValue::create(
            children.size(), [&](size_t i) -> std::string_view { return children[i].first; },
            [&](size_t i) {
                children[i].second->retain();
                return children[i].second;
            });
        releaseAll();
        return group;
    } catch (...) {
        releaseAll();
        throw;
    }
}

const AttributeValue* readValue(Reader& in, int depth) {
    const size_t start = in.offset();
    if (depth > kMaxSerialDepth)
        in.fail("groups nested too deeply", start);
    switch (in.u8("kind")) {
    case QN_ATTRIBUTE_TYPE_INT:
        return readData<int32_t>(in, start);
    case QN_ATTRIBUTE_TYPE_FLOAT:
        return readData<float>(in, start);
    case QN_ATTRIBUTE_TYPE_DOUBLE:
        return readData<double>(in, start);
    case QN_ATTRIBUTE_TYPE_STRING:
        return readData<std::string>(in, start);
    case QN_ATTRIBUTE_TYPE_GROUP:
        return readGroup(in, start, depth);
    default:
        in.fail("unknown kind", start);
    }
}

} // namespace

std::vector<uint8_t> serialiseAttribute(const AttributeValue& value) {
    VectorSink sink;
    sink.write(kSerialMagic, sizeof(kSerialMagic));
    sink.u32(kSerialVersion);
    value.serialise(sink);
    return sink.bytes();
}

const AttributeValue* deserialiseAttribute(const uint8_t* bytes, size_t length, std::string& error) {
    try {
        if (!bytes && length > 0)
            throw CorruptInput("Corrupt serialised attribute: no bytes.");
        Reader in(bytes, length);
        if (std::memcmp(in.take(4, "magic"), kSerialMagic, 4) != 0)
            in.fail("bad magic", 0);
        const uint32_t version = in.u32("version");
        if (version != kSerialVersion)
            in.fail("unsupported version " + std::to_string(version), 4);
        ValueRef root{readValue(in, 0)};
        if (in.remaining() != 0)
            in.fail("trailing bytes", in.offset());
        return root.take();
    } catch (const CorruptInput& e) {
        error = e.what();
    } catch (const std::bad_alloc&) {
        error = "Corrupt serialised attribute: out of memory.";
    }
    return nullptr;
}

} // namespace VexilHost
