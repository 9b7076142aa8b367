// The binary serialised form of attributes (layout in docs/attributes.md).
#pragma once

#include "host/attribute/AttributeValue.h"

#include <cstdint>
#include <string>
#include <vector>

namespace VexilHost {

/// Magic bytes at the start of every serialised attribute.
constexpr char kSerialMagic[4] = {'Q', 'N', 'A', 'B'};
/// Version of the layout that follows the magic.
constexpr uint32_t kSerialVersion = 1;
/// Deepest group nesting that deserialisation accepts.
constexpr int kMaxSerialDepth = 256;

/// The serialised bytes of `value`: magic, version, then the value's record.
std::vector<uint8_t> serialiseAttribute(const AttributeValue& value);

/// Reads serialised bytes back; null with a message in `error` when the bytes are truncated, corrupt
/// or followed by trailing bytes. Never reads outside [bytes, bytes + length).
const AttributeValue* deserialiseAttribute(const uint8_t* bytes, size_t length, std::string& error);

} // namespace VexilHost
