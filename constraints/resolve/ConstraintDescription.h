// The children of a constraint description that the resolve path reads for every constraint.
#pragma once

#include "constraints/resolve/ConstraintArguments.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// The direct children `type`, `target`, `allowMissingTargets`, `requireTargetBounds` and
/// `respectMotionBlur` of a constraint description, each what `getChildByName` finds (the first
/// child of that name; invalid when there is none).
struct ConstraintDescription {
    Qn::Attribute type;
    Qn::Attribute target;
    Qn::Attribute allowMissingTargets;
    Qn::Attribute requireTargetBounds;
    Qn::Attribute respectMotionBlur;
    /// The first child named `args`, and whether some child name holds a dot (see ConstraintArguments).
    Qn::Attribute args;
    bool dottedNames = false;
};

/// Finds the children in one pass over the group's names: cheaper than one lookup each.
ConstraintDescription readConstraintDescription(const Qn::GroupAttribute& constraintGroup);

/// The description's own arguments as an editor offers them, in display order: `target` and the
/// switches `allowMissingTargets` (0), `requireTargetBounds` (0) and `respectMotionBlur` (1).
const std::vector<EditableArgument>& descriptionArguments();

} // namespace Private
} // namespace Vexil3Constraints
