#include "host/attribute/AttributeValue.h"

// The state's layout, so that it can live on the stack rather than in an allocation that may fail.
#define XXH_STATIC_LINKING_ONLY
#include <xxhash.h>

namespace VexilHost {

ShardedCounter LiveCounts::attributes;
ShardedCounter LiveCounts::builders;

namespace {

/// Streams bytes into an XXH3 128-bit state through a small buffer; allocates nothing, so hashing
/// cannot fail.
class HashSink : public ByteSink {
public:
    HashSink() { XXH3_128bits_reset(&m_state); }
    void write(const void* bytes, size_t length) override {
        if (m_used + length > sizeof(m_buffer)) {
            flush();
            if (length > sizeof(m_buffer)) {
                XXH3_128bits_update(&m_state, bytes, length);
                return;
            }
        }
        std::memcpy(m_buffer + m_used, bytes, length);
        m_used += length;
    }
    XXH128_hash_t digest() {
        flush();
        return XXH3_128bits_digest(&m_state);
    }

private:
    void flush() {
        if (m_used)
            XXH3_128bits_update(&m_state, m_buffer, m_used);
        m_used = 0;
    }
    XXH3_state_t m_state;
    unsigned char m_buffer[4096];
    size_t m_used = 0;
};

} // namespace

AttributeValue::AttributeValue(int32_t kind) : m_kind(kind) {
    LiveCounts::attributes.add(1);
}

AttributeValue::~AttributeValue() {
    LiveCounts::attributes.add(-1);
}

void AttributeValue::release() const {
    if (m_refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

void AttributeValue::hash(uint64_t words[2]) const {
    // Values never change, so the hash is computed once; call_once publishes it to other threads.
    std::call_once(m_hashOnce, [this] {
        HashSink sink;
        encodeForHash(sink);
        const XXH128_hash_t h = sink.digest();
        m_hash[0] = h.high64;
        m_hash[1] = h.low64;
    });
    words[0] = m_hash[0];
    words[1] = m_hash[1];
}

bool AttributeValue::contentEquals(const AttributeValue& other) const {
    if (this == &other)
        return true;
    if (m_kind != other.m_kind)
        return false;
    return sameContent(other);
}

} // namespace VexilHost
