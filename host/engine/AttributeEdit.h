// Edits of attribute groups by dotted path, and the value append behind extendAttr. Free functions;
// every result is a new immutable attribute.
#pragma once

#include "hostapi/attribute/GroupAttribute.h"

#include <string>
#include <string_view>
#include <vector>

namespace VexilHost {
namespace AttributeEdit {

/// Splits a dotted attribute name ("xform.constraint.type") into its parts; empty parts are dropped.
std::vector<std::string> splitDotted(const std::string& name);

/// The child of `group` whose name is exactly `name` (dots and slashes taken literally), or invalid.
Qn::Attribute childNamed(const Qn::GroupAttribute& group, std::string_view name);

/// The attribute at `parts` below `group` (each part a literal child name), or invalid.
Qn::Attribute get(const Qn::GroupAttribute& group, const std::vector<std::string>& parts);

/// The same as get(group, splitDotted(name)), without making the parts.
Qn::Attribute getDotted(const Qn::GroupAttribute& group, std::string_view name);

/// `group` with the attribute at `parts` set to `value`, creating intermediate groups (a non-group on
/// the way is replaced by a group). An existing child keeps its position; a new one goes last.
Qn::GroupAttribute set(const Qn::GroupAttribute& group, const std::vector<std::string>& parts,
                       const Qn::Attribute& value);

/// `group` without the attribute at `parts` (unchanged when absent).
Qn::GroupAttribute remove(const Qn::GroupAttribute& group, const std::vector<std::string>& parts);

/// The result of appending the values of `extra` to `base`. With `base` invalid it is `extra`. Both
/// must be data attributes of one kind and tuple size; `extra` must have one sample (appended to every
/// sample of `base`) or the sample times of `base` (appended sample by sample). Otherwise `error`
/// receives the reason and the result is invalid.
Qn::Attribute appendValues(const Qn::Attribute& base, const Qn::Attribute& extra, std::string& error);

/// The name of a type code ("int", "float", "double", "string", "group", "null").
const char* kindName(int32_t typeCode);

} // namespace AttributeEdit
} // namespace VexilHost
