#include "hostapi/attribute/GroupAttribute.h"

#include <cstring>

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

namespace {

const AttributeHostExtensionSuite* extensionWithSuite() {
    // The collection falls back on the plain suite, so the extension is used only
    // beside it.
    return GroupBuilder::suite() ? GroupBuilder::extension() : nullptr;
}

} // namespace

GroupBuilder::GroupBuilder() : m_extension(extensionWithSuite()) {
    if (m_extension)
        return;
    if (const AttributeHostSuite* s = suite())
        m_handle = s->createGroupBuilder();
}

GroupBuilder::GroupBuilder(uint8_t mode) : m_mode(mode), m_extension(extensionWithSuite()) {
    if (m_extension)
        return;
    if (const AttributeHostSuite* s = suite())
        m_handle = s->createGroupBuilderWithMode(mode);
}

void GroupBuilder::takeFrom(GroupBuilder& other) noexcept {
    m_mode = other.m_mode;
    m_extension = other.m_extension;
    m_handle = other.m_handle;
    m_base = other.m_base;
    m_count = other.m_count;
    m_textUsed = other.m_textUsed;
    std::memcpy(m_text, other.m_text, static_cast<size_t>(m_textUsed));
    for (int32_t i = 0; i < m_count; ++i) {
        // The names live in the object: they move with it.
        m_names[i] = m_text + (other.m_names[i] - other.m_text);
        m_lengths[i] = other.m_lengths[i];
        m_values[i] = other.m_values[i];
    }
    other.m_handle = nullptr;
    other.m_base = nullptr;
    other.m_count = 0;
    other.m_textUsed = 0;
}

GroupBuilder::GroupBuilder(GroupBuilder&& other) noexcept {
    takeFrom(other);
}

GroupBuilder& GroupBuilder::operator=(GroupBuilder&& other) noexcept {
    if (this != &other) {
        dropCollection();
        if (m_handle)
            suite()->releaseGroupBuilder(m_handle);
        takeFrom(other);
    }
    return *this;
}

GroupBuilder::~GroupBuilder() {
    dropCollection();
    if (m_handle)
        suite()->releaseGroupBuilder(m_handle);
}

void GroupBuilder::dropCollection() {
    if (m_base)
        suite()->release(m_base);
    m_base = nullptr;
    for (int32_t i = 0; i < m_count; ++i)
        suite()->release(m_values[i]);
    m_count = 0;
    m_textUsed = 0;
}

void GroupBuilder::collect(std::string_view name, QnAttributeHandle value) {
    if (m_count == kCollectedChildren || name.size() > static_cast<size_t>(kCollectedText - m_textUsed)) {
        useHostBuilder();
        if (m_handle)
            suite()->groupBuilderSet(m_handle, name.data(), static_cast<int32_t>(name.size()), value);
        suite()->release(value);
        return;
    }
    char* text = m_text + m_textUsed;
    if (!name.empty())
        std::memcpy(text, name.data(), name.size());
    m_names[m_count] = text;
    m_lengths[m_count] = static_cast<int32_t>(name.size());
    m_values[m_count] = value;
    ++m_count;
    m_textUsed += static_cast<int32_t>(name.size());
}

void GroupBuilder::useHostBuilder() {
    const AttributeHostSuite* s = suite();
    m_handle = s->createGroupBuilderWithMode(m_mode);
    if (!m_handle) {
        // Like a builder the host could not make: nothing more is collected or
        // built.
        dropCollection();
        m_extension = nullptr;
        return;
    }
    if (m_base)
        s->groupBuilderUpdate(m_handle, m_base);
    for (int32_t i = 0; i < m_count; ++i)
        s->groupBuilderSet(m_handle, m_names[i], m_lengths[i], m_values[i]);
    dropCollection();
}

GroupBuilder& GroupBuilder::set(std::string_view name, const Attribute& attr) {
    if (!attr.isValid())
        return *this;
    if (collecting()) {
        suite()->retain(attr.getHandle());
        collect(name, attr.getHandle());
    } else if (m_handle) {
        suite()->groupBuilderSet(m_handle, name.data(), static_cast<int32_t>(name.size()), attr.getHandle());
    }
    return *this;
}

GroupBuilder& GroupBuilder::set(std::string_view name, Attribute&& attr) {
    if (!collecting() || !attr.isValid())
        return set(name, static_cast<const Attribute&>(attr));
    collect(name, attr.releaseHandle());
    return *this;
}

GroupBuilder& GroupBuilder::del(std::string_view name) {
    if (collecting())
        useHostBuilder();
    if (m_handle)
        suite()->groupBuilderDelete(m_handle, name.data(), static_cast<int32_t>(name.size()));
    return *this;
}

GroupBuilder& GroupBuilder::update(const GroupAttribute& group) {
    if (!group.isValid())
        return *this;
    if (collecting() && !m_base && m_count == 0) {
        // The first change of an empty builder: the group it starts from.
        suite()->retain(group.getHandle());
        m_base = group.getHandle();
        return *this;
    }
    if (collecting())
        useHostBuilder();
    if (m_handle)
        suite()->groupBuilderUpdate(m_handle, group.getHandle());
    return *this;
}

GroupAttribute GroupBuilder::build() {
    if (collecting()) {
        // The group takes over the collection's references and comes back with one
        // more, kept as the base of the next build: what the builder holds now is
        // exactly that group.
        const QnAttributeHandle group =
            m_extension->buildGroup(m_mode, m_base, m_count, m_names, m_lengths, m_values,
                                    QN_BUILD_GROUP_TAKE_VALUES | QN_BUILD_GROUP_EXTRA_REFERENCE);
        if (!group)
            return GroupAttribute();
        m_base = group;
        m_count = 0;
        m_textUsed = 0;
        return GroupAttribute(Attribute::adopt(group));
    }
    if (!m_handle)
        return GroupAttribute();
    return GroupAttribute(Attribute::adopt(suite()->groupBuilderBuild(m_handle, 0)));
}

} // namespace Qn
