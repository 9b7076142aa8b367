#include "host/attribute/GroupValue.h"

namespace VexilHost {

namespace {
constexpr size_t kIndexThreshold = 16;
}

size_t GroupValue::childrenOffset() {
    return (sizeof(GroupValue) + alignof(GroupChild) - 1) & ~(alignof(GroupChild) - 1);
}

GroupValue::GroupValue()
    : AttributeValue(QN_ATTRIBUTE_TYPE_GROUP),
      m_children(reinterpret_cast<GroupChild*>(reinterpret_cast<unsigned char*>(this) + childrenOffset())) {}

void GroupValue::buildIndex() {
    if (m_count >= kIndexThreshold) {
        m_index.reserve(m_count);
        for (size_t i = 0; i < m_count; ++i)
            m_index.emplace(m_children[i].name, i); // the first of duplicate names wins, as in a scan
    }
}

GroupValue::~GroupValue() {
    for (size_t i = 0; i < m_count; ++i)
        m_children[i].value->release();
}

const GroupChild* GroupValue::child(int64_t index) const {
    if (index < 0 || index >= numChildren())
        return nullptr;
    return m_children + index;
}

const AttributeValue* GroupValue::findDirect(std::string_view name) const {
    if (!m_index.empty()) {
        auto it = m_index.find(name);
        return it == m_index.end() ? nullptr : m_children[it->second].value;
    }
    for (size_t i = 0; i < m_count; ++i)
        if (m_children[i].name == name)
            return m_children[i].value;
    return nullptr;
}

const AttributeValue* GroupValue::find(std::string_view path) const {
    if (const AttributeValue* direct = findDirect(path))
        return direct;
    for (size_t dot = path.find('.'); dot != std::string_view::npos; dot = path.find('.', dot + 1)) {
        const AttributeValue* head = findDirect(path.substr(0, dot));
        if (head && head->kind() == QN_ATTRIBUTE_TYPE_GROUP) {
            if (const AttributeValue* found =
                    static_cast<const GroupValue*>(head)->find(path.substr(dot + 1)))
                return found;
        }
    }
    return nullptr;
}

void GroupValue::encodeForHash(ByteSink& sink) const {
    sink.u8(QN_ATTRIBUTE_TYPE_GROUP);
    sink.i64(numChildren());
    for (size_t i = 0; i < m_count; ++i) {
        const GroupChild& c = m_children[i];
        sink.text(c.name);
        uint64_t words[2];
        c.value->hash(words);
        sink.u64(words[0]);
        sink.u64(words[1]);
    }
}

void GroupValue::serialise(ByteSink& sink) const {
    sink.u8(QN_ATTRIBUTE_TYPE_GROUP);
    sink.i64(numChildren());
    for (size_t i = 0; i < m_count; ++i) {
        const GroupChild& c = m_children[i];
        sink.text(c.name);
        c.value->serialise(sink);
    }
}

bool GroupValue::sameContent(const AttributeValue& other) const {
    const auto& o = static_cast<const GroupValue&>(other);
    if (m_count != o.m_count)
        return false;
    for (size_t i = 0; i < m_count; ++i) {
        if (m_children[i].name != o.m_children[i].name ||
            !m_children[i].value->contentEquals(*o.m_children[i].value))
            return false;
    }
    return true;
}

} // namespace VexilHost
