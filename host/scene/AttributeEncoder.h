// Encoding of attributes in their canonical scene-file form.
#pragma once

#include "hostapi/attribute/Attribute.h"

#include <ostream>
#include <stdexcept>
#include <string>

namespace VexilHost {

/// An attribute that the scene-file form cannot express; `what()` names the attribute.
class SceneWriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Writes `attribute` in its canonical form. Data attributes go on one line; a group is an object
/// with one member per line, indented by `indent` spaces more than the line it starts on. `name`
/// (the attribute's dotted name from the location) is used in messages. Throws SceneWriteError for
/// a group holding a child named "int", "float", "double" or "string", or a child with an empty name.
void encodeAttribute(const Qn::Attribute& attribute, std::ostream& out, int indent, const std::string& name);

/// Writes a group's children as the members of an object (an empty group is "{}").
void encodeAttributeGroup(const Qn::Attribute& group, std::ostream& out, int indent, const std::string& name);

/// `text` as a JSON string literal; invalid UTF-8 sequences become U+FFFD.
std::string jsonString(const std::string& text);

} // namespace VexilHost
