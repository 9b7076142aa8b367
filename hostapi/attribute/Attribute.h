// The attribute client: value classes over the host's AttributeHost suite. Each object holds one
// host handle or none; copying retains, destruction releases, moving transfers.
#pragma once

#include <vexil/AttributeHost.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Qn {

class Hash;

/// A reference to one immutable host attribute of any kind, or to none (invalid).
class Attribute {
public:
    Attribute() = default;
    /// Takes over a new reference handed out by the host (no retain).
    static Attribute adopt(QnAttributeHandle handle);
    /// Shares a borrowed handle (retains it).
    static Attribute share(QnAttributeHandle handle);

    Attribute(const Attribute& other);
    Attribute(Attribute&& other) noexcept;
    Attribute& operator=(const Attribute& other);
    Attribute& operator=(Attribute&& other) noexcept;
    virtual ~Attribute();

    bool isValid() const { return m_handle != nullptr; }
    /// The host's type code (1 int .. 5 group); QN_ATTRIBUTE_TYPE_NULL for an invalid attribute.
    int32_t getType() const;
    QnAttributeHandle getHandle() const { return m_handle; }
    /// Gives up ownership of the handle to the caller, leaving this object invalid.
    QnAttributeHandle releaseHandle() { return std::exchange(m_handle, nullptr); }

    /// True when both hold the same host handle (or both none).
    bool operator==(const Attribute& other) const { return m_handle == other.m_handle; }
    bool operator!=(const Attribute& other) const { return m_handle != other.m_handle; }
    /// True when both hold equal content (kind, times, values, tuple size, children).
    bool isContentEqual(const Attribute& other) const;

    /// The 128-bit content hash computed by the host.
    Hash getHash() const;

    /// The host's serialised bytes; throws std::runtime_error with the host's error text.
    std::string serialise() const;
    /// Appends the serialised bytes to `out`; returns whether the host succeeded.
    bool serialise(std::vector<uint8_t>& out) const;
    /// Reads serialised bytes back; throws std::runtime_error with the host's error text.
    static Attribute deserialise(const void* bytes, size_t length);

    // ---- suite acquisition (the attribute half) ----
    /// Asks the host's service table for "AttributeHost" version 5: 0 on success, -1 otherwise.
    static int setHost(const VexilHost* host);
    /// Stores the suite for the attribute classes only, unless it is null.
    static void setSuite(const AttributeHostSuite* suite);
    /// Stores the suite for the attribute classes and GroupBuilder, unless it is null.
    static void setSuites(const AttributeHostSuite* suite);
    /// Loads `<directory>/bin/libQnAttributeHost.so` and takes its suite for both halves.
    static bool loadSuite(const std::string& directory);
    static const AttributeHostSuite* suite() { return s_suite.load(std::memory_order_acquire); }

protected:
    explicit Attribute(QnAttributeHandle handleRetained) : m_handle(handleRetained) {}
    /// Keeps the handle only if its type code equals `typeCode` (retaining it); otherwise none.
    Attribute(const Attribute& other, int32_t typeCode);
    Attribute(Attribute&& other, int32_t typeCode);

    QnAttributeHandle m_handle = nullptr;

private:
    /// The suite of the attribute classes, read inline on every call; one per loaded module, as
    /// each plug-in hands over its own host.
    __attribute__((visibility("hidden"))) static inline std::atomic<const AttributeHostSuite*> s_suite{
        nullptr};
};

/// A 128-bit attribute hash.
class Hash {
public:
    Hash() = default;
    Hash(uint64_t high, uint64_t low) : m_words{high, low} {}
    uint64_t high() const { return m_words[0]; }
    uint64_t low() const { return m_words[1]; }
    /// The 16 bytes, most significant first.
    void bytes(uint8_t out[16]) const;
    /// The 26-character text form over "abcdefhgijklmnopqrstuvwxyz234567".
    std::string str() const;
    static std::string textOf(const uint8_t bytes[16]);
    bool operator==(const Hash& o) const { return m_words[0] == o.m_words[0] && m_words[1] == o.m_words[1]; }
    bool operator!=(const Hash& o) const { return !(*this == o); }

private:
    uint64_t m_words[2] = {0, 0};
};

} // namespace Qn
