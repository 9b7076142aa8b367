#include "constraints/ops/ConstraintEditOp.h"

#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"
#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "constraints/ops/ConstraintListRules.h"
#include "constraints/ops/EditArguments.h"
#include "constraints/ops/EditableArguments.h"
#include "constraints/resolve/ConstraintNaming.h"

#include <string>
#include <utility>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

namespace {

const char* const kOpType = "ConstraintEdit";

using AttrsToSet = std::vector<std::pair<std::string, Qn::Attribute>>;

// `constraint` with every attribute of `attrs` set at its dotted path (nested groups are reached into).
Qn::GroupAttribute withAttrs(const Qn::GroupAttribute& constraint, const AttrsToSet& attrs) {
    Qn::GroupBuilder builder;
    builder.update(constraint);
    for (const auto& [path, value] : attrs) {
        builder.set(path, value);
    }
    return builder.build();
}

// Overrides the location's first constraint of the type, or appends a new one under a fresh name.
void createOrOverride(const Qn::VexilCookInterface& cookInterface, const std::string& constraintType,
                      const AttrsToSet& attrs) {
    // An xform that is not a group is replaced by a group holding only the new constraint.
    const Qn::GroupAttribute xform(cookInterface.getAttr("xform"));
    const FoundConstraint found = findConstraintOfType(xform, constraintType);
    std::string name = found.name;
    Qn::GroupAttribute constraint;
    if (!name.empty()) {
        if (attrs.empty()) {
            return;
        }
        constraint = withAttrs(found.group, attrs);
    } else {
        name = freshConstraintName(xform);
        constraint = withAttrs(newConstraintGroup(constraintType), attrs);
    }
    Qn::GroupBuilder builder;
    if (xform.isValid()) {
        builder.update(xform);
    }
    // Setting an existing name replaces that child where it stands, so the order of xform is kept.
    builder.set(name, constraint);
    cookInterface.setAttr("xform", builder.build());
}

} // namespace

void ConstraintEditOp::cook(Qn::VexilCookInterface& cookInterface) {
    const CheckedArgument locationPath =
        checkLocationPathArg(cookInterface.getOpArg("locationPath"), kOpType);
    const CheckedArgument action = checkActionArg(cookInterface.getOpArg("action"), kOpType);
    std::string error = !locationPath.ok() ? locationPath.error : action.error;
    CheckedArgument constraintType;
    const Qn::Attribute setAttrs = cookInterface.getOpArg("setAttrs");
    if (error.empty() && action.value == kCreateOrOverride) {
        constraintType = checkConstraintTypeArg(cookInterface.getOpArg("constraintType"), kOpType);
        error =
            !constraintType.ok() ? constraintType.error : checkSetAttrsArg(setAttrs, constraintType.value);
    }
    if (!error.empty()) {
        // Reported where the traversal starts; stopping here keeps it to that one location.
        Qn::VexilCookInterfaceUtils::reportError(cookInterface, error);
        cookInterface.stopChildTraversal();
        return;
    }

    const std::string outputPath = Qn::PathUtils::stripTrailingSlashes(cookInterface.getOutputLocationPath());
    if (action.value == kCreateOrOverride) {
        if (outputPath == locationPath.value) {
            createOrOverride(cookInterface, constraintType.value, flattenSetAttrs(setAttrs));
        }
    } else if (outputPath == kWorldLocationPath) {
        if (action.value == kAddToConstraintList) {
            appendToConstraintList(cookInterface, Qn::StringAttribute(locationPath.value));
        } else {
            removeFromConstraintList(cookInterface, {locationPath.value});
        }
    }
    if (!Qn::PathUtils::isStrictAncestor(outputPath, locationPath.value) &&
        !Qn::PathUtils::isStrictAncestor(outputPath, kWorldLocationPath)) {
        cookInterface.stopChildTraversal();
    }
}

} // namespace Private
} // namespace Vexil3Constraints
