// The C entry points of the AttributeHostExtension suite. Like the AttributeHost entries, each is
// safe on a null handle and never lets an exception out.
#include "host/attribute/AttributeHostExtensionSuite.h"

#include "host/attribute/CaughtException.h"
#include "host/attribute/GroupBuilderState.h"

#include <cstdlib>
#include <cstring>
#include <iostream>

namespace VexilHost {
namespace {

/// Groups up to this many children are checked for repeated names by comparing every pair.
constexpr int64_t kDirectBuildLimit = 16;

std::string_view nameAt(const char* const* names, const int32_t* lengths, int64_t i) {
    if (!names[i])
        return {};
    const int32_t length = lengths ? lengths[i] : -1;
    return length < 0 ? std::string_view(names[i]) : std::string_view(names[i], static_cast<size_t>(length));
}

/// True when a builder would simply append every child in order: no base, and the names are distinct,
/// not empty and, outside literal mode, free of dots, with a value each.
bool appendsInOrder(bool literal, QnAttributeHandle base, int64_t count, const char* const* names,
                    const int32_t* lengths, const QnAttributeHandle* values) {
    if (base || count > kDirectBuildLimit)
        return false;
    for (int64_t i = 0; i < count; ++i) {
        const std::string_view name = nameAt(names, lengths, i);
        if (name.empty() || !values[i] || (!literal && name.find('.') != std::string_view::npos))
            return false;
        for (int64_t j = 0; j < i; ++j)
            if (nameAt(names, lengths, j) == name)
                return false;
    }
    return true;
}

QnAttributeHandle buildGroup(uint8_t mode, QnAttributeHandle base, int64_t count, const char* const* names,
                             const int32_t* lengths, const QnAttributeHandle* values, uint32_t flags) {
    if (count < 0 || (count > 0 && (!names || !values)))
        return nullptr;
    const bool literal = mode == QN_GROUP_BUILDER_MODE_LITERAL;
    const GroupValue* group = nullptr;
    try {
        if (appendsInOrder(literal, base, count, names, lengths, values)) {
            // What a builder would collect, without the builder: the group straight from the arrays.
            group = GroupValue::create(
                static_cast<size_t>(count),
                [&](size_t i) { return nameAt(names, lengths, static_cast<int64_t>(i)); },
                [&](size_t i) {
                    const AttributeValue* v = AttributeValue::fromHandle(values[i]);
                    v->retain();
                    return v;
                });
        } else {
            GroupBuilderState builder(literal);
            const AttributeValue* baseValue = AttributeValue::fromHandle(base);
            if (baseValue && baseValue->kind() == QN_ATTRIBUTE_TYPE_GROUP)
                builder.update(*static_cast<const GroupValue*>(baseValue));
            for (int64_t i = 0; i < count; ++i)
                if (names[i] && values[i])
                    builder.set(nameAt(names, lengths, i), AttributeValue::fromHandle(values[i]));
            group = builder.build();
        }
    } catch (...) {
        std::cerr << "QnAttributeHost: buildGroup failed: " << caughtExceptionText() << '\n';
        return nullptr; // nothing taken
    }
    if (flags & QN_BUILD_GROUP_EXTRA_REFERENCE)
        group->retain();
    if (flags & QN_BUILD_GROUP_TAKE_VALUES) {
        // The group holds references of its own now; the ones handed over are dropped.
        if (base)
            AttributeValue::fromHandle(base)->release();
        for (int64_t i = 0; i < count; ++i)
            if (values[i])
                AttributeValue::fromHandle(values[i])->release();
    }
    return AttributeValue::toHandle(group);
}

AttributeHostExtensionSuite makeSuite() {
    AttributeHostExtensionSuite s{};
    s.buildGroup = buildGroup;
    return s;
}

const AttributeHostExtensionSuite kSuite = makeSuite();

} // namespace

const AttributeHostExtensionSuite* attributeHostExtension() {
    return &kSuite;
}

bool hostExtensionsOffered() {
    static const bool offered = [] {
        const char* setting = std::getenv("VEXIL_HOST_EXTENSIONS");
        return !(setting && std::strcmp(setting, "0") == 0);
    }();
    return offered;
}

} // namespace VexilHost
