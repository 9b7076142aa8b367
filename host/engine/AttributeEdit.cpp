#include "host/engine/AttributeEdit.h"

#include "hostapi/attribute/DataAttribute.h"

#include <map>

namespace VexilHost {
namespace AttributeEdit {

namespace {

Qn::GroupAttribute emptyGroup() {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    return builder.build();
}

Qn::GroupAttribute setFrom(const Qn::GroupAttribute& group, const std::vector<std::string>& parts,
                           size_t index, const Qn::Attribute& value) {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    if (group.isValid()) {
        builder.update(group);
    }
    if (index + 1 == parts.size()) {
        builder.set(parts[index], value);
    } else {
        const Qn::GroupAttribute inner(childNamed(group, parts[index]));
        builder.set(parts[index], setFrom(inner, parts, index + 1, value));
    }
    return builder.build();
}

Qn::GroupAttribute removeFrom(const Qn::GroupAttribute& group, const std::vector<std::string>& parts,
                              size_t index) {
    const Qn::Attribute child = childNamed(group, parts[index]);
    if (!child.isValid()) {
        return group;
    }
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    builder.update(group);
    if (index + 1 == parts.size()) {
        builder.del(parts[index]);
    } else {
        const Qn::GroupAttribute inner(child);
        if (!inner.isValid()) {
            return group;
        }
        builder.set(parts[index], removeFrom(inner, parts, index + 1));
    }
    return builder.build();
}

/// Appends numeric values sample by sample; `extraFor(i)` gives the values for base sample i.
template <class A>
Qn::Attribute appendNumeric(const A& base, const A& extra, bool oneExtraSample, int64_t tupleSize) {
    using T = typename A::value_type;
    const std::vector<float> times = base.getSampleTimes();
    std::vector<std::vector<T>> values(times.size());
    for (size_t i = 0; i < times.size(); ++i) {
        auto a = base.getNearestSample(times[i]);
        auto b = extra.getNearestSample(oneExtraSample ? extra.getSampleTime(0) : times[i]);
        values[i].assign(a.begin(), a.end());
        values[i].insert(values[i].end(), b.begin(), b.end());
    }
    std::vector<const T*> pointers;
    for (const auto& v : values) {
        pointers.push_back(v.data());
    }
    const int64_t perSample = values.empty() ? 0 : static_cast<int64_t>(values.front().size());
    return A(times.data(), static_cast<int64_t>(times.size()), pointers.data(), perSample, tupleSize);
}

Qn::Attribute appendStrings(const Qn::StringAttribute& base, const Qn::StringAttribute& extra,
                            bool oneExtraSample, int64_t tupleSize) {
    std::map<float, std::vector<std::string>> samples;
    for (float t : base.getSampleTimes()) {
        std::vector<std::string> v = base.getNearestSampleStrings(t);
        std::vector<std::string> e =
            extra.getNearestSampleStrings(oneExtraSample ? extra.getSampleTime(0) : t);
        v.insert(v.end(), e.begin(), e.end());
        samples.emplace(t, std::move(v));
    }
    return Qn::StringAttribute(samples, tupleSize);
}

} // namespace

namespace {

/// Calls `visit` with each non-empty part of the dotted `name` in order ("a..b." gives "a" and "b")
/// until it returns false; true when every call returned true.
template <typename Visit> bool forEachDottedPart(std::string_view name, Visit&& visit) {
    size_t start = 0;
    while (start <= name.size()) {
        size_t dot = name.find('.', start);
        if (dot == std::string_view::npos) {
            dot = name.size();
        }
        if (dot > start && !visit(name.substr(start, dot - start))) {
            return false;
        }
        start = dot + 1;
    }
    return true;
}

/// The child `name` (literal) of the group `handle`, one reference owned by the caller, or null.
QnAttributeHandle childHandle(const AttributeHostSuite* suite, QnAttributeHandle handle,
                              std::string_view name) {
    if (!name.empty() && name.find('.') == std::string_view::npos) {
        // Without a dot the host's lookup by name is a literal one, the first of equal names winning.
        return suite->getChildByName(handle, name.data(), static_cast<int32_t>(name.size()));
    }
    const int64_t n = suite->getNumberOfChildren(handle);
    for (int64_t i = 0; i < n; ++i) {
        int32_t length = 0;
        const char* childName = suite->getChildName(handle, i, &length);
        if (childName != nullptr && std::string_view(childName, static_cast<size_t>(length)) == name) {
            return suite->getChildByIndex(handle, i);
        }
    }
    return nullptr;
}

} // namespace

std::vector<std::string> splitDotted(const std::string& name) {
    std::vector<std::string> parts;
    forEachDottedPart(name, [&](std::string_view part) {
        parts.emplace_back(part);
        return true;
    });
    return parts;
}

Qn::Attribute childNamed(const Qn::GroupAttribute& group, std::string_view name) {
    if (!group.isValid()) {
        return Qn::Attribute();
    }
    // Straight to the host's table: the client classes would copy every child name into a string.
    return Qn::Attribute::adopt(childHandle(Qn::Attribute::suite(), group.getHandle(), name));
}

Qn::Attribute get(const Qn::GroupAttribute& group, const std::vector<std::string>& parts) {
    Qn::Attribute current = group;
    for (const std::string& part : parts) {
        current = childNamed(Qn::GroupAttribute(current), part);
        if (!current.isValid()) {
            return current;
        }
    }
    return current;
}

Qn::Attribute getDotted(const Qn::GroupAttribute& group, std::string_view name) {
    if (!group.isValid()) {
        return Qn::Attribute();
    }
    // Walked on bare handles: no client object per step. `owned` is null while `current` is the
    // borrowed `group`, and otherwise holds the reference to `current`.
    const AttributeHostSuite* suite = Qn::Attribute::suite();
    QnAttributeHandle current = group.getHandle();
    QnAttributeHandle owned = nullptr;
    const bool found = forEachDottedPart(name, [&](std::string_view part) {
        QnAttributeHandle next =
            suite->getType(current) == QN_ATTRIBUTE_TYPE_GROUP ? childHandle(suite, current, part) : nullptr;
        if (owned != nullptr) {
            suite->release(owned);
        }
        current = owned = next;
        return next != nullptr;
    });
    if (!found) {
        return Qn::Attribute();
    }
    return owned != nullptr ? Qn::Attribute::adopt(owned) : Qn::Attribute(group);
}

Qn::GroupAttribute set(const Qn::GroupAttribute& group, const std::vector<std::string>& parts,
                       const Qn::Attribute& value) {
    if (parts.empty()) {
        return group.isValid() ? group : emptyGroup();
    }
    return setFrom(group, parts, 0, value);
}

Qn::GroupAttribute remove(const Qn::GroupAttribute& group, const std::vector<std::string>& parts) {
    if (parts.empty() || !group.isValid()) {
        return group;
    }
    return removeFrom(group, parts, 0);
}

const char* kindName(int32_t typeCode) {
    switch (typeCode) {
    case QN_ATTRIBUTE_TYPE_INT:
        return "int";
    case QN_ATTRIBUTE_TYPE_FLOAT:
        return "float";
    case QN_ATTRIBUTE_TYPE_DOUBLE:
        return "double";
    case QN_ATTRIBUTE_TYPE_STRING:
        return "string";
    case QN_ATTRIBUTE_TYPE_GROUP:
        return "group";
    default:
        return "null";
    }
}

Qn::Attribute appendValues(const Qn::Attribute& base, const Qn::Attribute& extra, std::string& error) {
    const int32_t extraType = extra.getType();
    if (extraType < QN_ATTRIBUTE_TYPE_INT || extraType > QN_ATTRIBUTE_TYPE_STRING) {
        error = std::string("cannot append a ") + kindName(extraType) + " attribute";
        return Qn::Attribute();
    }
    if (!base.isValid()) {
        return extra;
    }
    const int32_t baseType = base.getType();
    if (baseType != extraType) {
        error = std::string("cannot append ") + kindName(extraType) + " values to a " + kindName(baseType) +
                " attribute";
        return Qn::Attribute();
    }
    Qn::Attribute result;
    auto check = [&](const Qn::DataAttribute& baseData, const Qn::DataAttribute& extraData, bool& oneSample) {
        if (baseData.getNumberOfValues() > 0 && extraData.getNumberOfValues() > 0 &&
            baseData.getTupleSize() != extraData.getTupleSize()) {
            error = "cannot append values of tuple size " + std::to_string(extraData.getTupleSize()) +
                    " to an attribute of tuple size " + std::to_string(baseData.getTupleSize());
            return false;
        }
        if (baseData.getNumberOfTimeSamples() == 0) {
            result = extra;
            return false;
        }
        if (extraData.getNumberOfTimeSamples() == 0) {
            result = base;
            return false;
        }
        oneSample = extraData.getNumberOfTimeSamples() == 1;
        if (!oneSample && extraData.getSampleTimes() != baseData.getSampleTimes()) {
            error = "cannot append values whose sample times differ from the attribute's";
            return false;
        }
        return true;
    };
    auto tupleOf = [](const Qn::DataAttribute& a, const Qn::DataAttribute& e) {
        return a.getNumberOfValues() > 0 ? a.getTupleSize() : e.getTupleSize();
    };
    bool oneSample = false;
    switch (baseType) {
    case QN_ATTRIBUTE_TYPE_INT: {
        Qn::IntAttribute a(base), e(extra);
        if (check(a, e, oneSample)) {
            result = appendNumeric(a, e, oneSample, tupleOf(a, e));
        }
        break;
    }
    case QN_ATTRIBUTE_TYPE_FLOAT: {
        Qn::FloatAttribute a(base), e(extra);
        if (check(a, e, oneSample)) {
            result = appendNumeric(a, e, oneSample, tupleOf(a, e));
        }
        break;
    }
    case QN_ATTRIBUTE_TYPE_DOUBLE: {
        Qn::DoubleAttribute a(base), e(extra);
        if (check(a, e, oneSample)) {
            result = appendNumeric(a, e, oneSample, tupleOf(a, e));
        }
        break;
    }
    default: {
        Qn::StringAttribute a(base), e(extra);
        if (check(a, e, oneSample)) {
            result = appendStrings(a, e, oneSample, tupleOf(a, e));
        }
        break;
    }
    }
    return result;
}

} // namespace AttributeEdit
} // namespace VexilHost
