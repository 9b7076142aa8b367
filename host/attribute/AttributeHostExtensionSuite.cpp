// The C entry points of the AttributeHostExtension suite. Like the AttributeHost entries, each is
// safe on a null handle and never lets an exception out.
#include "host/attribute/AttributeHostExtensionSuite.h"

#include "host/attribute/CaughtException.h"
#include "host/attribute/GroupBuilderState.h"

#include <algorithm>
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

/// True when a builder would set every name as it is, each once: at most kDirectBuildLimit names,
/// distinct, not empty and, outside literal mode, free of dots, with a value each.
bool setsEachNameOnce(bool literal, int64_t count, const char* const* names, const int32_t* lengths,
                      const QnAttributeHandle* values) {
    if (count > kDirectBuildLimit)
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

/// True when `group` has at most kDirectBuildLimit children, of distinct names: a builder updated
/// with it then holds its children as they are, in order.
bool keptAsItIs(const GroupValue& group) {
    const int64_t n = group.numChildren();
    if (n > kDirectBuildLimit)
        return false;
    for (int64_t i = 0; i < n; ++i)
        for (int64_t j = 0; j < i; ++j)
            if (group.child(j)->name == group.child(i)->name)
                return false;
    return true;
}

/// The group a builder makes from `base` kept as it is and names each set once: the base's children
/// in order, each replaced in place by the value of its name if one is set, then the other names in
/// order. Made straight from both, without the builder.
const GroupValue* mergedGroup(const GroupValue& base, int64_t count, const char* const* names,
                              const int32_t* lengths, const QnAttributeHandle* values) {
    const int64_t kept = base.numChildren();
    int64_t replacedBy[kDirectBuildLimit];
    int64_t appended[kDirectBuildLimit];
    int64_t numAppended = 0;
    std::fill_n(replacedBy, kept, int64_t{-1});
    for (int64_t i = 0; i < count; ++i) {
        const std::string_view name = nameAt(names, lengths, i);
        int64_t j = 0;
        while (j < kept && base.child(j)->name != name)
            ++j;
        if (j < kept)
            replacedBy[j] = i;
        else
            appended[numAppended++] = i;
    }
    return GroupValue::create(
        static_cast<size_t>(kept + numAppended),
        [&](size_t k) {
            const int64_t at = static_cast<int64_t>(k);
            return at < kept ? base.child(at)->name : nameAt(names, lengths, appended[at - kept]);
        },
        [&](size_t k) {
            const int64_t at = static_cast<int64_t>(k);
            const AttributeValue* v = at >= kept ? AttributeValue::fromHandle(values[appended[at - kept]])
                                      : replacedBy[at] >= 0
                                          ? AttributeValue::fromHandle(values[replacedBy[at]])
                                          : base.child(at)->value;
            v->retain();
            return v;
        });
}

QnAttributeHandle buildGroup(uint8_t mode, QnAttributeHandle base, int64_t count, const char* const* names,
                             const int32_t* lengths, const QnAttributeHandle* values, uint32_t flags) {
    if (count < 0 || (count > 0 && (!names || !values)))
        return nullptr;
    const bool literal = mode == QN_GROUP_BUILDER_MODE_LITERAL;
    const GroupValue* group = nullptr;
    try {
        const AttributeValue* baseValue = AttributeValue::fromHandle(base);
        const GroupValue* baseGroup = baseValue && baseValue->kind() == QN_ATTRIBUTE_TYPE_GROUP
                                          ? static_cast<const GroupValue*>(baseValue)
                                          : nullptr;
        const bool eachOnce = setsEachNameOnce(literal, count, names, lengths, values);
        if (eachOnce && baseGroup && keptAsItIs(*baseGroup)) {
            // The engine's output of a cooked location: its input's attributes with a few set.
            group = mergedGroup(*baseGroup, count, names, lengths, values);
        } else if (eachOnce && !base) {
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
            if (baseGroup)
                builder.update(*baseGroup);
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
