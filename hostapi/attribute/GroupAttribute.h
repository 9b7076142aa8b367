// Group attributes and their builder.
#pragma once

#include "Attribute.h"

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
    /// The name of child `index` without a copy: valid while this group lives; empty when out of range.
    std::string_view getChildNameView(int64_t index) const;
    Attribute getChildByIndex(int64_t index) const;
    /// Looks a child up by name; a dotted name ("args.targetOrigin") reaches into nested groups.
    Attribute getChildByName(std::string_view name) const;
};

/// Collects named children and builds a GroupAttribute. Not copyable.
class GroupBuilder {
public:
    /// Default mode: dotted names create or reach into nested groups.
    GroupBuilder();
    /// QN_GROUP_BUILDER_MODE_LITERAL: names are taken as they are (location paths as keys).
    explicit GroupBuilder(uint8_t mode);
    GroupBuilder(const GroupBuilder&) = delete;
    GroupBuilder& operator=(const GroupBuilder&) = delete;
    GroupBuilder(GroupBuilder&& other) noexcept;
    GroupBuilder& operator=(GroupBuilder&& other) noexcept;
    ~GroupBuilder();

    /// Sets (or replaces, in place) the child `name`.
    GroupBuilder& set(const std::string& name, const Attribute& attr);
    /// Removes the child `name` if present.
    GroupBuilder& del(const std::string& name);
    /// Sets every child of `group`, in its order.
    GroupBuilder& update(const GroupAttribute& group);
    /// A new group of the children set so far; the builder stays usable.
    GroupAttribute build();

    /// Asks the host's service table for "AttributeHost" version 5: 0 on success, -1 otherwise.
    static int setHost(const VexilHost* host);
    static void setSuite(const AttributeHostSuite* suite);
    static const AttributeHostSuite* suite();

private:
    QnGroupBuilderHandle m_handle = nullptr;
};

} // namespace Qn
