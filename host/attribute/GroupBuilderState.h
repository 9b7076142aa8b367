// The state behind a group builder handle: a tree of named entries that builds into groups.
#pragma once

#include "host/attribute/GroupValue.h"

#include <boost/container/small_vector.hpp>

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VexilHost {

/// Collects named children and builds immutable groups. Used by one thread at a time.
class GroupBuilderState {
public:
    /// `literal`: names are taken as they are; otherwise a dotted name is a path into nested groups.
    explicit GroupBuilderState(bool literal);
    ~GroupBuilderState();
    GroupBuilderState(const GroupBuilderState&) = delete;
    GroupBuilderState& operator=(const GroupBuilderState&) = delete;

    /// Sets `name` to `value` (borrowed), replacing an existing child in place. Ignores a null value,
    /// an empty name and, in the default mode, a path with an empty segment ("a..b", ".a", "a.").
    void set(std::string_view name, const AttributeValue* value);
    /// Removes `name` (a path in the default mode) if present.
    void remove(std::string_view name);
    /// Sets every child of `group` in its order, by its name taken literally at the top level; an
    /// existing child of that name is replaced whole, in place.
    void update(const GroupValue& group);
    /// A new group (one reference, owned by the caller) of the children set so far.
    const GroupValue* build() const;
    /// Drops every child.
    void clear();

private:
    struct Node;
    struct Entry {
        std::string name;
        const AttributeValue* leaf = nullptr; ///< one reference, or null while `node` is in use
        std::unique_ptr<Node> node;           ///< a nested group being edited
    };
    /// Entries kept inside their node for a typical group, so that collecting one allocates nothing more.
    static constexpr size_t kInlineEntries = 8;
    struct Node {
        boost::container::small_vector<Entry, kInlineEntries> entries;
        /// Name to position; kept only for larger nodes (empty otherwise).
        std::unordered_map<std::string, size_t> index;

        ~Node();
        Entry* find(std::string_view name);
        /// Adds a new entry at the end (its name not present yet).
        void append(Entry entry);
        void setLeaf(std::string_view name, const AttributeValue* value);
        /// The nested node `name`, made from an existing group child or created (replacing a
        /// non-group child in place).
        Node& nested(std::string_view name);
        /// Turns a group leaf into an editable node; false when the entry holds no group.
        static bool open(Entry& entry);
        void remove(std::string_view name);
        const GroupValue* build() const;
        void clear();
    };

    /// Splits a dotted path; false when a segment is empty.
    static bool splitPath(std::string_view path, std::vector<std::string_view>& segments);

    bool m_literal;
    Node m_root;
};

} // namespace VexilHost
