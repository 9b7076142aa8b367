// The attribute library's AttributeHostExtension suite: entries doing in one call what the
// AttributeHost suite does in several.
#pragma once

#include <vexil/AttributeHostExtension.h>

namespace VexilHost {

/// The library's AttributeHostExtension suite (version 1), whether or not its service table offers it.
const AttributeHostExtensionSuite* attributeHostExtension();

/// False when the environment variable VEXIL_HOST_EXTENSIONS is "0": then the service tables withhold
/// the extension suites, and clients do all their work through the plain suites. Read once.
bool hostExtensionsOffered();

} // namespace VexilHost
