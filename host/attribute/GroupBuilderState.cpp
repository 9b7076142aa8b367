#include "host/attribute/GroupBuilderState.h"

namespace VexilHost {

GroupBuilderState::Node::~Node() {
    clear();
}

void GroupBuilderState::Node::clear() {
    for (Entry& e : entries)
        if (e.leaf)
            e.leaf->release();
    entries.clear();
    index.clear();
}

namespace {

// Nodes with fewer entries are searched by a scan: most groups have a handful of children, and a hash
// index costs more to keep than it saves.
constexpr size_t kIndexedEntries = 16;

} // namespace

GroupBuilderState::Entry* GroupBuilderState::Node::find(std::string_view name) {
    if (index.empty()) {
        for (Entry& e : entries)
            if (e.name == name)
                return &e;
        return nullptr;
    }
    auto it = index.find(std::string(name));
    return it == index.end() ? nullptr : &entries[it->second];
}

void GroupBuilderState::Node::append(Entry entry) {
    // Out of memory part way, the node is left as it was and the entry's reference is dropped.
    const AttributeValue* leaf = entry.leaf;
    bool appended = false;
    try {
        entries.push_back(std::move(entry));
        appended = true;
        if (entries.size() < kIndexedEntries)
            return;
        if (index.empty()) {
            std::unordered_map<std::string, size_t> built;
            for (size_t i = 0; i < entries.size(); ++i)
                built.emplace(entries[i].name, i);
            index.swap(built);
        } else {
            index.emplace(entries.back().name, entries.size() - 1);
        }
    } catch (...) {
        if (appended)
            entries.pop_back();
        if (leaf)
            leaf->release();
        throw;
    }
}

void GroupBuilderState::Node::setLeaf(std::string_view name, const AttributeValue* value) {
    Entry* e = find(name);
    if (!e) {
        Entry entry{std::string(name), nullptr, nullptr}; // allocated before the reference is taken
        value->retain();
        entry.leaf = value;
        append(std::move(entry));
        return;
    }
    value->retain();
    if (e->leaf)
        e->leaf->release();
    e->leaf = value;
    e->node.reset();
}

bool GroupBuilderState::Node::open(Entry& entry) {
    if (entry.node)
        return true;
    if (!entry.leaf || entry.leaf->kind() != QN_ATTRIBUTE_TYPE_GROUP)
        return false;
    const auto* group = static_cast<const GroupValue*>(entry.leaf);
    auto node = std::make_unique<Node>();
    node->entries.reserve(static_cast<size_t>(group->numChildren()));
    for (int64_t i = 0; i < group->numChildren(); ++i) {
        const GroupChild* c = group->child(i);
        node->setLeaf(c->name, c->value);
    }
    entry.node = std::move(node);
    entry.leaf->release();
    entry.leaf = nullptr;
    return true;
}

GroupBuilderState::Node& GroupBuilderState::Node::nested(std::string_view name) {
    Entry* e = find(name);
    if (!e) {
        append(Entry{std::string(name), nullptr, std::make_unique<Node>()});
        return *entries.back().node;
    }
    if (!open(*e)) { // a non-group child gives way to a new group at the same position
        if (e->leaf)
            e->leaf->release();
        e->leaf = nullptr;
        e->node = std::make_unique<Node>();
    }
    return *e->node;
}

void GroupBuilderState::Node::remove(std::string_view name) {
    Entry* found = find(name);
    if (!found)
        return;
    const size_t pos = static_cast<size_t>(found - entries.data());
    // The new index first: if it cannot be made, nothing has changed.
    std::unordered_map<std::string, size_t> rebuilt;
    if (entries.size() - 1 >= kIndexedEntries)
        for (size_t i = 0; i < entries.size(); ++i)
            if (i != pos)
                rebuilt.emplace(entries[i].name, i < pos ? i : i - 1);
    if (entries[pos].leaf)
        entries[pos].leaf->release();
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(pos));
    index.swap(rebuilt);
}

const GroupValue* GroupBuilderState::Node::build() const {
    return GroupValue::create(
        entries.size(), [this](size_t i) -> std::string_view { return entries[i].name; },
        [this](size_t i) -> const AttributeValue* {
            const Entry& e = entries[i];
            if (e.node)
                return e.node->build();
            e.leaf->retain();
            return e.leaf;
        });
}

GroupBuilderState::GroupBuilderState(bool literal) : m_literal(literal) {
    LiveCounts::builders.add(1);
}

GroupBuilderState::~GroupBuilderState() {
    LiveCounts::builders.add(-1);
}

bool GroupBuilderState::splitPath(std::string_view path, std::vector<std::string_view>& segments) {
    size_t start = 0;
    while (true) {
        const size_t dot = path.find('.', start);
        const std::string_view segment =
            path.substr(start, dot == std::string_view::npos ? dot : dot - start);
        if (segment.empty())
            return false;
        segments.push_back(segment);
        if (dot == std::string_view::npos)
            return true;
        start = dot + 1;
    }
}

void GroupBuilderState::set(std::string_view name, const AttributeValue* value) {
    if (!value || name.empty())
        return;
    // Most names have no dot: they need no split.
    if (m_literal || name.find('.') == std::string_view::npos) {
        m_root.setLeaf(name, value);
        return;
    }
    std::vector<std::string_view> segments;
    if (!splitPath(name, segments))
        return;
    Node* node = &m_root;
    for (size_t i = 0; i + 1 < segments.size(); ++i)
        node = &node->nested(segments[i]);
    node->setLeaf(segments.back(), value);
}

void GroupBuilderState::remove(std::string_view name) {
    if (name.empty())
        return;
    if (m_literal || name.find('.') == std::string_view::npos) {
        m_root.remove(name);
        return;
    }
    std::vector<std::string_view> segments;
    if (!splitPath(name, segments))
        return;
    Node* node = &m_root;
    for (size_t i = 0; i + 1 < segments.size(); ++i) {
        Entry* e = node->find(segments[i]);
        if (!e || !Node::open(*e))
            return;
        node = e->node.get();
    }
    node->remove(segments.back());
}

void GroupBuilderState::update(const GroupValue& group) {
    if (m_root.entries.empty())
        m_root.entries.reserve(static_cast<size_t>(group.numChildren()) +
                               1); // room for one more, usually set next
    for (int64_t i = 0; i < group.numChildren(); ++i) {
        const GroupChild* c = group.child(i);
        m_root.setLeaf(c->name, c->value);
    }
}

const GroupValue* GroupBuilderState::build() const {
    return m_root.build();
}

void GroupBuilderState::clear() {
    m_root.clear();
}

} // namespace VexilHost
