#include "constraints/ops/EditArguments.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "constraints/ops/EditableArguments.h"
#include "hostapi/attribute/DataAttribute.h"

namespace Vexil3Constraints {
namespace Private {

const char* const kCreateOrOverride = "createOrOverride";
const char* const kAddToConstraintList = "addToConstraintList";
const char* const kRemoveFromConstraintList = "removeFromConstraintList";

namespace {

CheckedArgument failed(const std::string& opType, const std::string& message) {
    return CheckedArgument{std::string(), opType + ": " + message};
}

// The first value of a string attribute; false when the argument is absent, of another kind or empty.
bool firstString(const Qn::Attribute& arg, std::string& value) {
    const Qn::SampleView<const char*> sample = Qn::StringAttribute(arg).getNearestSample(0.0f);
    if (sample.empty() || sample[0] == nullptr || *sample[0] == '\0') {
        return false;
    }
    value = sample[0];
    return true;
}

void flattenInto(const Qn::GroupAttribute& group, const std::string& prefix,
                 std::vector<std::pair<std::string, Qn::Attribute>>& out) {
    const int64_t n = group.getNumberOfChildren();
    for (int64_t i = 0; i < n; ++i) {
        const std::string path = prefix + group.getChildName(i);
        const Qn::Attribute child = group.getChildByIndex(i);
        const Qn::GroupAttribute nested(child);
        if (nested.isValid()) {
            flattenInto(nested, path + ".", out);
        } else {
            out.emplace_back(path, child);
        }
    }
}

} // namespace

CheckedArgument checkLocationPathArg(const Qn::Attribute& arg, const std::string& opType) {
    std::string path;
    if (!firstString(arg, path)) {
        return failed(opType, "a 'locationPath' argument must be given.");
    }
    const std::string named = path[0] == '/' ? Qn::PathUtils::normalisedPath(std::string_view(), path) : "";
    if (named.empty()) {
        return failed(opType, "'locationPath' must be an absolute location path, not '" + path + "'.");
    }
    return CheckedArgument{named, std::string()};
}

CheckedArgument checkConstraintTypeArg(const Qn::Attribute& arg, const std::string& opType) {
    std::string type;
    if (!firstString(arg, type)) {
        return failed(
            opType, "a 'constraintType' argument must be given: " + editableConstraintTypesText("or") + ".");
    }
    if (!isEditableConstraintType(type)) {
        return failed(opType, "unsupported constraint type '" + type + "'; the types are " +
                                  editableConstraintTypesText("and") + ".");
    }
    return CheckedArgument{type, std::string()};
}

CheckedArgument checkActionArg(const Qn::Attribute& arg, const std::string& opType) {
    std::string action;
    if (!firstString(arg, action)) {
        return failed(opType, "an 'action' argument must be given: 'createOrOverride', 'addToConstraintList' "
                              "or 'removeFromConstraintList'.");
    }
    if (action != kCreateOrOverride && action != kAddToConstraintList &&
        action != kRemoveFromConstraintList) {
        return failed(opType, "unsupported action '" + action +
                                  "'; the actions are 'createOrOverride', 'addToConstraintList' and "
                                  "'removeFromConstraintList'.");
    }
    return CheckedArgument{action, std::string()};
}

std::vector<std::pair<std::string, Qn::Attribute>> flattenSetAttrs(const Qn::GroupAttribute& setAttrs) {
    std::vector<std::pair<std::string, Qn::Attribute>> out;
    if (setAttrs.isValid()) {
        flattenInto(setAttrs, std::string(), out);
    }
    return out;
}

std::string checkSetAttrsArg(const Qn::Attribute& arg, const std::string& constraintType) {
    if (!arg.isValid()) {
        return std::string();
    }
    const Qn::GroupAttribute setAttrs(arg);
    if (!setAttrs.isValid()) {
        return "ConstraintEdit: 'setAttrs' must be a group of attributes.";
    }
    for (const auto& [path, value] : flattenSetAttrs(setAttrs)) {
        std::string type;
        const bool replacesType = path == "type" && (!firstString(value, type) || type != constraintType);
        if (replacesType || path.rfind("type.", 0) == 0) {
            return "ConstraintEdit: 'setAttrs' cannot change the constraint type ('" + constraintType +
                   "'); choose the type with 'constraintType'.";
        }
    }
    return std::string();
}

} // namespace Private
} // namespace Vexil3Constraints
