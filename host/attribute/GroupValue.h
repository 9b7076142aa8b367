// Group attributes: ordered named children.
#pragma once

#include "host/attribute/AttributeValue.h"

#include <cstring>
#include <new>
#include <string_view>
#include <unordered_map>

namespace VexilHost {

/// One named child of a group; the group owns one reference to the value and the name's characters,
/// which are followed by a NUL.
struct GroupChild {
    std::string_view name;
    const AttributeValue* value;
};

/// An immutable ordered set of named children. The object, its children and their names share one
/// allocation, made by create().
class GroupValue final : public AttributeValue {
public:
    /// A new group (one reference, owned by the caller) of `count` children: child i is named
    /// `nameAt(i)` (a std::string_view, asked for more than once) and holds the reference `valueAt(i)`
    /// hands over (asked once per child, in order). When `valueAt` throws, the references already
    /// handed over are released with the group and the exception is passed on.
    template <typename NameAt, typename ValueAt>
    static const GroupValue* create(size_t count, NameAt&& nameAt, ValueAt&& valueAt);

    int64_t numChildren() const { return static_cast<int64_t>(m_count); }
    /// Null when out of range.
    const GroupChild* child(int64_t index) const;
    /// The child named exactly `name` (dots taken literally), or null.
    const AttributeValue* findDirect(std::string_view name) const;
    /// The child named `path`: first as a literal name, then as a dotted path into nested groups
    /// ("a.b.c"), trying every split so that names holding dots stay reachable. Null when absent.
    const AttributeValue* find(std::string_view path) const;

    void encodeForHash(ByteSink& sink) const override;
    void serialise(ByteSink& sink) const override;

    /// Frees the block made by create().
    static void operator delete(void* block) { ::operator delete(block); }

protected:
    bool sameContent(const AttributeValue& other) const override;

private:
    /// No children yet; they are placed in `m_children`, right after the object.
    GroupValue();
    ~GroupValue() override;
    static size_t childrenOffset();
    /// Indexes the names of a larger group, where a linear scan would cost.
    void buildIndex();

    size_t m_count = 0;
    GroupChild* m_children;
    /// Name to index, only for larger groups.
    std::unordered_map<std::string_view, size_t> m_index;
};

template <typename NameAt, typename ValueAt>
const GroupValue* GroupValue::create(size_t count, NameAt&& nameAt, ValueAt&& valueAt) {
    static_assert(alignof(GroupValue) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    size_t size = childrenOffset() + count * sizeof(GroupChild);
    for (size_t i = 0; i < count; ++i)
        size += std::string_view(nameAt(i)).size() + 1;
    GroupValue* group = new (::operator new(size)) GroupValue();
    char* text = reinterpret_cast<char*>(group->m_children + count);
    try {
        for (size_t i = 0; i < count; ++i) {
            const std::string_view name = nameAt(i);
            if (!name.empty())
                std::memcpy(text, name.data(), name.size());
            text[name.size()] = '\0';
            new (group->m_children + i) GroupChild{std::string_view(text, name.size()), valueAt(i)};
            ++group->m_count;
            text += name.size() + 1;
        }
        group->buildIndex();
    } catch (...) {
        delete group;
        throw;
    }
    return group;
}

} // namespace VexilHost
