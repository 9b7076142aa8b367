#include "hostapi/attribute/Attribute.h"

#include "hostapi/attribute/DataAttribute.h"

#include <stdexcept>

namespace Qn {

namespace {

int appendBytes(void* context, const void* bytes, int64_t length) {
    if (length > 0) {
        auto* out = static_cast<std::vector<uint8_t>*>(context);
        const auto* p = static_cast<const uint8_t*>(bytes);
        out->insert(out->end(), p, p + length);
    }
    return 1;
}

/// Throws the text of a host error attribute (taking it over), "unknown" when it has none.
void throwIfError(QnAttributeHandle error) {
    if (!error)
        return;
    const StringAttribute text(Attribute::adopt(error));
    throw std::runtime_error(text.getValue("unknown", false));
}

} // namespace

Attribute Attribute::adopt(QnAttributeHandle handle) {
    return Attribute(handle);
}

Attribute Attribute::share(QnAttributeHandle handle) {
    if (handle)
        suite()->retain(handle);
    return Attribute(handle);
}

Attribute::Attribute(const Attribute& other) : m_handle(other.m_handle) {
    if (m_handle)
        suite()->retain(m_handle);
}

Attribute::Attribute(Attribute&& other) noexcept : m_handle(other.m_handle) {
    other.m_handle = nullptr;
}

Attribute& Attribute::operator=(const Attribute& other) {
    // Retain first, so that assigning an object to itself keeps its handle alive.
    if (other.m_handle)
        suite()->retain(other.m_handle);
    if (m_handle)
        suite()->release(m_handle);
    m_handle = other.m_handle;
    return *this;
}

Attribute& Attribute::operator=(Attribute&& other) noexcept {
    if (this != &other) {
        if (m_handle)
            suite()->release(m_handle);
        m_handle = other.m_handle;
        other.m_handle = nullptr;
    }
    return *this;
}

Attribute::~Attribute() {
    if (m_handle)
        suite()->release(m_handle);
}

Attribute::Attribute(const Attribute& other, int32_t typeCode) {
    if (other.m_handle && suite()->getType(other.m_handle) == typeCode) {
        suite()->retain(other.m_handle);
        m_handle = other.m_handle;
    }
}

Attribute::Attribute(Attribute&& other, int32_t typeCode) {
    if (other.m_handle && suite()->getType(other.m_handle) == typeCode) {
        m_handle = other.m_handle;
        other.m_handle = nullptr;
    }
}

int32_t Attribute::getType() const {
    return m_handle ? suite()->getType(m_handle) : QN_ATTRIBUTE_TYPE_NULL;
}

bool Attribute::isContentEqual(const Attribute& other) const {
    if (!m_handle || !other.m_handle)
        return m_handle == other.m_handle;
    return suite()->isEqual(m_handle, other.m_handle) != 0;
}

Hash Attribute::getHash() const {
    if (!m_handle)
        return Hash();
    uint64_t words[2] = {0, 0};
    suite()->getHash(m_handle, words);
    return Hash(words[0], words[1]);
}

std::string Attribute::serialise() const {
    std::vector<uint8_t> bytes;
    const AttributeHostSuite* s = suite();
    if (!s)
        return std::string();
    QnAttributeHandle error = nullptr;
    s->serialise(m_handle, &bytes, appendBytes, &error, 1);
    throwIfError(error);
    return std::string(bytes.begin(), bytes.end());
}

bool Attribute::serialise(std::vector<uint8_t>& out) const {
    const AttributeHostSuite* s = suite();
    if (!s)
        return false;
    QnAttributeHandle error = nullptr;
    const bool ok = s->serialise(m_handle, &out, appendBytes, &error, 0) != 0;
    throwIfError(error);
    return ok;
}

Attribute Attribute::deserialise(const void* bytes, size_t length) {
    const AttributeHostSuite* s = suite();
    if (!s)
        throw std::runtime_error("unknown");
    QnAttributeHandle error = nullptr;
    QnAttributeHandle h = s->deserialise(bytes, static_cast<int64_t>(length), &error);
    if (error && h)
        s->release(h);
    throwIfError(error);
    return adopt(h);
}

} // namespace Qn
