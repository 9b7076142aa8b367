// The arguments of the constraint types that the editing ops handle (Aim, Orient, Point): their kinds,
// the working defaults of a new constraint, and the hints an editor shows them with.
#pragma once

#include "hostapi/attribute/GroupAttribute.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// The kind of value an argument holds, as the resolvers read it.
enum class ArgumentKind {
    StringArray, ///< string attribute with any number of values (the target paths)
    String,      ///< string attribute whose first value is used
    Int,         ///< integer attribute whose first value is used (switches, flags, indices)
    Float3,      ///< float attribute of exactly three values (a vector, row convention)
};

/// One argument of a constraint description as an editor sees it.
struct EditableArgument {
    std::string name; ///< dotted path inside the constraint group ("args.targetOrigin")
    ArgumentKind kind = ArgumentKind::String; ///< the kind the resolver reads
    std::string widget;               ///< "scenegraphLocation", "checkBox", "popup", "vector3" or "integer"
    std::string label;                ///< short title for the editor
    std::string help;                 ///< one line on what the argument does
    std::vector<std::string> options; ///< the choices of a "popup", in display order; empty otherwise
    std::string defaultString;        ///< default of a String argument
    int32_t defaultInt = 0;           ///< default of an Int argument
    std::array<float, 3> defaultFloat3{{0.0f, 0.0f, 0.0f}}; ///< default of a Float3 argument
    bool inNewConstraint = true; ///< whether ConstraintEdit writes the default into a new constraint
};

/// True for the constraint types the editing ops handle: "Aim", "Orient" and "Point" (exact case).
bool isEditableConstraintType(const std::string& type);

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
