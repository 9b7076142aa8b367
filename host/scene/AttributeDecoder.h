// Decoding of attributes from their scene-file form: {"int": V}, {"float": V}, {"double": V},
// {"string": V} with an optional "tupleSize", bare strings and string arrays, and groups.
#pragma once

#include "host/scene/JsonDocument.h"
#include "hostapi/attribute/Attribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <nlohmann/json.hpp>

namespace VexilHost {

/// The attribute that `value` encodes; `path` is where `value` sits in the file (extended while
/// children are decoded, and as it was on return). Throws SceneFormatError (with the path of the
/// offending value) for anything that is not a valid encoding.
Qn::Attribute decodeAttribute(const nlohmann::ordered_json& value, JsonPath& path);

/// The group whose children are the members of the object `value`, in order (a location's "attrs",
/// an op's "args"). Throws SceneFormatError when `value` is not an object or encodes a data attribute.
Qn::GroupAttribute decodeAttributeGroup(const nlohmann::ordered_json& value, JsonPath& path);

} // namespace VexilHost
