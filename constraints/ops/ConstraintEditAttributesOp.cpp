#include "constraints/ops/ConstraintEditAttributesOp.h"

#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"
#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "constraints/ops/EditArguments.h"
#include "constraints/ops/EditableArguments.h"
#include "constraints/resolve/ConstraintNaming.h"

#include <string>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

namespace {

const char* const kOpType = "ConstraintEditAttributes";

Qn::GroupAttribute hintOf(const EditableArgument& argument) {
    Qn::GroupBuilder hint;
    hint.set("widget", Qn::StringAttribute(argument.widget));
    hint.set("label", Qn::StringAttribute(argument.label));
    hint.set("help", Qn::StringAttribute(argument.help));
    if (!argument.options.empty()) {
        hint.set("options", Qn::StringAttribute(argument.options));
    }
    if (argument.kind == ArgumentKind::StringArray) {
        hint.set("isArray", Qn::IntAttribute(1));
    }
    return hint.build();
}

// The description of the location's constraint of the type, or of the one ConstraintEdit would create.
Qn::GroupAttribute describeConstraint(const std::string& locationPath, const std::string& constraintType,
                                      const Qn::GroupAttribute& xform) {
    const FoundConstraint found = findConstraintOfType(xform, constraintType);
    const bool exists = !found.name.empty();

    Qn::GroupBuilder values;
    Qn::GroupBuilder hints;
    std::vector<std::string> defaulted;
    values.set("type", Qn::StringAttribute(constraintType));
    for (const EditableArgument& argument : editableArguments(constraintType)) {
        const Qn::Attribute current = exists ? found.group.getChildByName(argument.name) : Qn::Attribute();
        if (hasEditableKind(current, argument)) {
            values.set(argument.name, current);
        } else {
            // Absent or of a kind the resolver does not read: the value it works with is the default.
            values.set(argument.name, defaultValueOf(argument));
            defaulted.push_back(argument.name);
        }
        hints.set(argument.name, hintOf(argument));
    }

    Qn::GroupBuilder description;
    description.set("type", Qn::StringAttribute(constraintType));
    description.set("locationPath", Qn::StringAttribute(locationPath));
    description.set("exists", Qn::IntAttribute(exists ? 1 : 0));
    description.set("constraintName", Qn::StringAttribute(exists ? found.name : freshConstraintName(xform)));
    description.set("values", values.build());
    description.set("defaulted", Qn::StringAttribute(defaulted));
    description.set("hints", hints.build());
    return description.build();
}

} // namespace

void ConstraintEditAttributesOp::cook(Qn::VexilCookInterface& cookInterface) {
    const CheckedArgument locationPath =
        checkLocationPathArg(cookInterface.getOpArg("locationPath"), kOpType);
    const CheckedArgument constraintType =
        checkConstraintTypeArg(cookInterface.getOpArg("constraintType"), kOpType);
    const std::string error = !locationPath.ok() ? locationPath.error : constraintType.error;
    if (!error.empty()) {
        // Reported where the traversal starts; stopping here keeps it to that one location.
        Qn::VexilCookInterfaceUtils::reportError(cookInterface, error);
        cookInterface.stopChildTraversal();
        return;
    }

    const std::string outputPath = Qn::PathUtils::stripTrailingSlashes(cookInterface.getOutputLocationPath());
    if (outputPath == locationPath.value) {
        const Qn::GroupAttribute xform(cookInterface.getAttr("xform"));
        cookInterface.setAttr("constraintForEditing",
                              describeConstraint(locationPath.value, constraintType.value, xform), false);
    }
    if (!Qn::PathUtils::isStrictAncestor(outputPath, locationPath.value)) {
        cookInterface.stopChildTraversal();
    }
}

} // namespace Private
} // namespace Vexil3Constraints
