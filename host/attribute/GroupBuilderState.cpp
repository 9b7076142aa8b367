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
    entries.push_back(std::move(entry));
    if (entries.size() < kIndexedEntries)
        return;
    if (index.empty()) {
        for (size_t i = 0; i < entries.size(); ++i)
            index.emplace(entries[i].name, i);
    } else {
        index.emplace(entries.back().name, entries.size() - 1);
    }
}

void GroupBuilderState::Node::setLeaf(std::string_view name, const AttributeValue* value) {
    value->retain();
    if (Entry* e = find(name)) {
        if (e->leaf)
            e->leaf->release();
        e->leaf = value;
        e->node.reset();
        return;
    }
    append(Entry{std::string(name), value, nullptr});
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
    if (entries[pos].leaf)
        entries[pos].leaf->release();
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(pos));
    index.clear();
    if (entries.size() >= kIndexedEntries)
        for (size_t i = 0; i < entries.size(); ++i)
            index.emplace(entries[i].name, i);
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
