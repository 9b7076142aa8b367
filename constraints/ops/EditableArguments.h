// The arguments of the constraint types that the editing ops handle (the kinds that declare editable
// arguments: Aim, Orient, Point): their kinds, the working defaults of a new constraint, and the hints
// an editor shows them with.
#pragma once

#include "constraints/resolve/ConstraintArguments.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <string>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// True for the constraint types the editing ops handle: those whose kind declares editable arguments,
/// "Aim", "Orient" and "Point" (exact case).
bool isEditableConstraintType(const std::string& type);

/// The editable types quoted, in name order, the last two joined by `lastJoin`: "'Aim', 'Orient' or
/// 'Point'" for "or".
std::string editableConstraintTypesText(const std::string& lastJoin);

/// The arguments of `type` in display order: the common ones (target and the three switches) first,
/// then the type's `args.*`; empty for a type that is not editable.
const std::vector<EditableArgument>& editableArguments(const std::string& type);

/// The argument's default value as an attribute of its kind (one sample at time 0; the target list is
/// an empty string array).
Qn::Attribute defaultValueOf(const EditableArgument& argument);

/// True when `value` is of the argument's kind with a usable value: a string attribute for
/// StringArray; a string attribute with a first value for String; an integer attribute with a first
/// value for Int; a float attribute of exactly three values (nearest time 0) for Float3.
bool hasEditableKind(const Qn::Attribute& value, const EditableArgument& argument);

/// A new constraint description of an editable `type`: `type` followed by the default of every
/// argument marked inNewConstraint, in display order. Invalid for a type that is not editable.
Qn::GroupAttribute newConstraintGroup(const std::string& type);

} // namespace Private
} // namespace Vexil3Constraints
