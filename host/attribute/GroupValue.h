// Group attributes: ordered named children.
#pragma once

#include "host/attribute/AttributeValue.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VexilHost {

/// One named child of a group; the group owns one reference to the value.
struct GroupChild {
    std::string name;
    const AttributeValue* value;
};

/// An immutable ordered set of named children.
class GroupValue final : public AttributeValue {
public:
    /// Takes over one reference to each child value.
    explicit GroupValue(std::vector<GroupChild> children);

    int64_t numChildren() const { return static_cast<int64_t>(m_children.size()); }
    /// Null when out of range.
    const GroupChild* child(int64_t index) const;
    /// The child named exactly `name` (dots taken literally), or null.
    const AttributeValue* findDirect(std::string_view name) const;
    /// The child named `path`: first as a literal name, then as a dotted path into nested groups
    /// ("a.b.c"), trying every split so that names holding dots stay reachable. Null when absent.
    const AttributeValue* find(std::string_view path) const;

    void encodeForHash(ByteSink& sink) const override;
    void serialise(ByteSink& sink) const override;

protected:
    bool sameContent(const AttributeValue& other) const override;

private:
    ~GroupValue() override;

    std::vector<GroupChild> m_children;
    /// Name to index, only for larger groups where a linear scan would cost.
    std::unordered_map<std::string_view, size_t> m_index;
};

} // namespace VexilHost
