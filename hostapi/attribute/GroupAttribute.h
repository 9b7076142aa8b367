// Group attributes and their builder.
#pragma once

#include "Attribute.h"

#include <vexil/AttributeHostExtension.h>

#include <string>
#include <string_view>

namespace Qn {

/// An ordered set of named child attributes.
class GroupAttribute : public Attribute {
public:
    static constexpr int32_t kTypeCode = QN_ATTRIBUTE_TYPE_GROUP;

    GroupAttribute() = default;
    GroupAttribute(const Attribute& attr) : Attribute(attr, kTypeCode) {}
    GroupAttribute(Attribute&& attr) : Attribute(std::move(attr), kTypeCode) {}

    int64_t getNumberOfChildren() const;
    /// Empty when out of range.
    std::string getChildName(int64_t index) const;
    /// The name of child `index` without a copy: valid while this group lives;
    /// empty when out of range.
    std::string_view getChildNameView(int64_t index) const;
    Attribute getChildByIndex(int64_t index) const;
    /// Looks a child up by name; a dotted name ("args.targetOrigin") reaches into
    /// nested groups.
    Attribute getChildByName(std::string_view name) const;
};

/// Collects named children and builds a GroupAttribute. Not copyable. When the
/// host offers the AttributeHostExtension suite, the children set are collected
/// here and the group is built in one call; otherwise (or once `del`, or
/// `update` after other changes, is used) a host group builder does the work,
/// call by call. The groups built are the same either way.
class GroupBuilder {
public:
    /// Default mode: dotted names create or reach into nested groups.
    GroupBuilder();
    /// QN_GROUP_BUILDER_MODE_LITERAL: names are taken as they are (location paths
    /// as keys).
    explicit GroupBuilder(uint8_t mode);
    GroupBuilder(const GroupBuilder&) = delete;
    GroupBuilder& operator=(const GroupBuilder&) = delete;
    GroupBuilder(GroupBuilder&& other) noexcept;
    GroupBuilder& operator=(GroupBuilder&& other) noexcept;
    ~GroupBuilder();

    /// Sets (or replaces, in place) the child `name`.
    GroupBuilder& set(std::string_view name, const Attribute& attr);
    /// Sets (or replaces, in place) the child `name`, taking over the reference
    /// `attr` holds.
    GroupBuilder& set(std::string_view name, Attribute&& attr);
    /// Removes the child `name` if present.
    GroupBuilder& del(std::string_view name);
    /// Sets every child of `group`, in its order.
    GroupBuilder& update(const GroupAttribute& group);
    /// A new group of the children set so far; the builder stays usable.
    GroupAttribute build();

    /// Asks the host's service table for "AttributeHost" version 5: 0 on success,
    /// -1 otherwise. Also takes the host's "AttributeHostExtension" version 1, or
    /// notes that it is withheld.
    static int setHost(const VexilHost* host);
    static void setSuite(const AttributeHostSuite* suite);
    static const AttributeHostSuite* suite();
    /// Stores the extension suite that builders made from now on use; null makes
    /// them use the plain suite only.
    static void setExtension(const AttributeHostExtensionSuite* extension);
    static const AttributeHostExtensionSuite* extension();

private:
    /// True while the children are collected for one call of the extension.
    bool collecting() const { return m_extension != nullptr && m_handle == nullptr; }
    /// Adds a child to the collection, taking over the reference `value`; hands
    /// the collection to a host builder instead when it is full.
    void collect(std::string_view name, QnAttributeHandle value);
    /// Hands the collection over to a host builder, which does the rest of the
    /// work.
    void useHostBuilder();
    /// Releases every reference of the collection and empties it.
    void dropCollection();
    /// Takes over the state of `other`, leaving it empty.
    void takeFrom(GroupBuilder& other) noexcept;

    /// A builder collects at most this many children and name bytes in place;
    /// beyond, it uses a host builder. The usual group has a handful of short
    /// names.
    static constexpr int kCollectedChildren = 16;
    static constexpr int kCollectedText = 512;

    uint8_t m_mode = QN_GROUP_BUILDER_MODE_DEFAULT;
    const AttributeHostExtensionSuite* m_extension = nullptr;
    QnGroupBuilderHandle m_handle = nullptr;
    /// The collection: a group updated from (or last built), one reference or
    /// null ...
    QnAttributeHandle m_base = nullptr;
    /// ... then the children set: names in `m_text`, each value one reference.
    int32_t m_count = 0;
    int32_t m_textUsed = 0;
    const char* m_names[kCollectedChildren];
    int32_t m_lengths[kCollectedChildren];
    QnAttributeHandle m_values[kCollectedChildren];
    char m_text[kCollectedText];
};

} // namespace Qn
