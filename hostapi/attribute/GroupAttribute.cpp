#include "hostapi/attribute/GroupAttribute.h"

namespace Qn {

int64_t GroupAttribute::getNumberOfChildren() const {
    return m_handle ? suite()->getNumberOfChildren(m_handle) : 0;
}

std::string GroupAttribute::getChildName(int64_t index) const {
    return std::string(getChildNameView(index));
}

std::string_view GroupAttribute::getChildNameView(int64_t index) const {
    if (!m_handle)
        return std::string_view();
    int32_t length = 0;
    const char* name = suite()->getChildName(m_handle, index, &length);
    return name ? std::string_view(name, static_cast<size_t>(length)) : std::string_view();
}

Attribute GroupAttribute::getChildByIndex(int64_t index) const {
    return m_handle ? Attribute::adopt(suite()->getChildByIndex(m_handle, index)) : Attribute();
}

Attribute GroupAttribute::getChildByName(std::string_view name) const {
    if (!m_handle)
        return Attribute();
    return Attribute::adopt(
        suite()->getChildByName(m_handle, name.data(), static_cast<int32_t>(name.size())));
}

// ---- GroupBuilder ----

GroupBuilder::GroupBuilder() {
    if (const AttributeHostSuite* s = suite())
        m_handle = s->createGroupBuilder();
}

GroupBuilder::GroupBuilder(uint8_t mode) {
    if (const AttributeHostSuite* s = suite())
        m_handle = s->createGroupBuilderWithMode(mode);
}

GroupBuilder::GroupBuilder(GroupBuilder&& other) noexcept : m_handle(other.m_handle) {
    other.m_handle = nullptr;
}

GroupBuilder& GroupBuilder::operator=(GroupBuilder&& other) noexcept {
    if (this != &other) {
        if (m_handle)
            suite()->releaseGroupBuilder(m_handle);
        m_handle = other.m_handle;
        other.m_handle = nullptr;
    }
    return *this;
}

GroupBuilder::~GroupBuilder() {
    if (m_handle)
        suite()->releaseGroupBuilder(m_handle);
}

GroupBuilder& GroupBuilder::set(const std::string& name, const Attribute& attr) {
    if (m_handle && attr.isValid())
        suite()->groupBuilderSet(m_handle, name.data(), static_cast<int32_t>(name.size()), attr.getHandle());
    return *this;
}

GroupBuilder& GroupBuilder::del(const std::string& name) {
    if (m_handle)
        suite()->groupBuilderDelete(m_handle, name.data(), static_cast<int32_t>(name.size()));
    return *this;
}

GroupBuilder& GroupBuilder::update(const GroupAttribute& group) {
    if (m_handle && group.isValid())
        suite()->groupBuilderUpdate(m_handle, group.getHandle());
    return *this;
}

GroupAttribute GroupBuilder::build() {
    if (!m_handle)
        return GroupAttribute();
    return GroupAttribute(Attribute::adopt(suite()->groupBuilderBuild(m_handle, 0)));
}

} // namespace Qn
