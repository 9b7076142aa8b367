// The base of every host attribute: an immutable value with an atomic reference count and a
// content hash computed once, on first use.
#pragma once

#include "host/attribute/ByteSink.h"
#include "host/attribute/ShardedCounter.h"

#include <vexil/AttributeHost.h>

#include <atomic>
#include <cstdint>
#include <mutex>

namespace VexilHost {

/// One immutable attribute of any kind; shared between threads and freed with its last reference.
class AttributeValue {
public:
    AttributeValue(const AttributeValue&) = delete;
    AttributeValue& operator=(const AttributeValue&) = delete;

    /// The type code (QN_ATTRIBUTE_TYPE_INT .. QN_ATTRIBUTE_TYPE_GROUP).
    int32_t kind() const { return m_kind; }
    void retain() const { m_refs.fetch_add(1, std::memory_order_relaxed); }
    /// Drops one reference; the last one frees the value.
    void release() const;

    /// The 128-bit content hash: words[0] holds the high 64 bits, words[1] the low 64 bits.
    void hash(uint64_t words[2]) const;
    /// True when both values have the same kind and the same content, bit for bit.
    bool contentEquals(const AttributeValue& other) const;
    /// Writes the canonical encoding of kind and content that the hash is computed over; a group
    /// writes its children's hashes, not their content.
    virtual void encodeForHash(ByteSink& sink) const = 0;
    /// Writes the serialised record of this value (see docs/attributes.md).
    virtual void serialise(ByteSink& sink) const = 0;

    static QnAttributeHandle toHandle(const AttributeValue* value) {
        return reinterpret_cast<QnAttributeHandle>(const_cast<AttributeValue*>(value));
    }
    static const AttributeValue* fromHandle(QnAttributeHandle handle) {
        return reinterpret_cast<const AttributeValue*>(handle);
    }

protected:
    /// Starts with one reference, owned by the creator.
    explicit AttributeValue(int32_t kind);
    virtual ~AttributeValue();
    /// Content comparison of two values of the same kind.
    virtual bool sameContent(const AttributeValue& other) const = 0;

private:
    mutable std::atomic<int64_t> m_refs{1};
    const int32_t m_kind;
    mutable std::once_flag m_hashOnce;
    mutable uint64_t m_hash[2] = {0, 0};
};

/// Live attribute and builder counts of the whole process.
struct LiveCounts {
    static ShardedCounter attributes;
    static ShardedCounter builders;
};

} // namespace VexilHost
