#include "constraints/ops/EditableArguments.h"

#include "constraints/resolve/ConstraintDescription.h"
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "hostapi/attribute/DataAttribute.h"

#include <map>

namespace Vexil3Constraints {
namespace Private {

namespace {

/// The arguments of every kind the editing ops handle: the description's own, then the kind's.
std::map<std::string, std::vector<EditableArgument>> editableKinds() {
    std::map<std::string, std::vector<EditableArgument>> kinds;
    for (const auto& [type, kind] : constraintKinds()) {
        if (kind.editableArguments.empty()) {
            continue;
        }
        std::vector<EditableArgument>& arguments = kinds[type];
        arguments = descriptionArguments();
        arguments.insert(arguments.end(), kind.editableArguments.begin(), kind.editableArguments.end());
    }
    return kinds;
}

const std::map<std::string, std::vector<EditableArgument>>& editableKindArguments() {
    // Built once on first use and only read afterwards.
    static const std::map<std::string, std::vector<EditableArgument>> kinds = editableKinds();
    return kinds;
}

} // namespace

bool isEditableConstraintType(const std::string& type) {
    return editableKindArguments().count(type) != 0;
}

const std::vector<EditableArgument>& editableArguments(const std::string& type) {
    static const std::vector<EditableArgument> none;
    const auto& kinds = editableKindArguments();
    auto it = kinds.find(type);
    return it == kinds.end() ? none : it->second;
}

std::string editableConstraintTypesText(const std::string& lastJoin) {
    const auto& kinds = editableKindArguments();
    std::string text;
    size_t index = 0;
    for (const auto& entry : kinds) {
        if (index != 0) {
            text += index + 1 == kinds.size() ? " " + lastJoin + " " : ", ";
        }
        text += "'" + entry.first + "'";
        ++index;
    }
    return text;
}

Qn::Attribute defaultValueOf(const EditableArgument& argument) {
    switch (argument.kind) {
    case ArgumentKind::StringArray:
        return Qn::StringAttribute(std::vector<std::string>());
    case ArgumentKind::String:
        return Qn::StringAttribute(argument.defaultString);
    case ArgumentKind::Int:
        return Qn::IntAttribute(argument.defaultInt);
    case ArgumentKind::Float3:
        return Qn::FloatAttribute(argument.defaultFloat3.data(), 3, 3);
    }
    return Qn::Attribute();
}

bool hasEditableKind(const Qn::Attribute& value, const EditableArgument& argument) {
    switch (argument.kind) {
    case ArgumentKind::StringArray:
        return Qn::StringAttribute(value).isValid();
    case ArgumentKind::String:
        return !Qn::StringAttribute(value).getNearestSample(0.0f).empty();
    case ArgumentKind::Int:
        return !Qn::IntAttribute(value).getNearestSample(0.0f).empty();
    case ArgumentKind::Float3:
        return Qn::FloatAttribute(value).getNearestSample(0.0f).size == 3;
    }
    return false;
}

Qn::GroupAttribute newConstraintGroup(const std::string& type) {
    if (!isEditableConstraintType(type)) {
        return Qn::GroupAttribute();
    }
    Qn::GroupBuilder builder;
    builder.set("type", Qn::StringAttribute(type));
    for (const EditableArgument& argument : editableArguments(type)) {
        if (argument.inNewConstraint) {
            builder.set(argument.name, defaultValueOf(argument));
        }
    }
    return builder.build();
}

} // namespace Private
} // namespace Vexil3Constraints
