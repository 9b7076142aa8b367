// The service table this host hands to op plug-ins, and the attribute suite the host itself uses.
#pragma once

#include <vexil/AttributeHost.h>
#include <vexil/VexilOp.h>

namespace VexilHost {

/// The AttributeHost suite of libQnAttributeHost; also installed into the host's own attribute
/// client classes on first use. Null only if the library offers no suite.
const AttributeHostSuite* attributeSuite();

/// The XFormUtilHost suite (version 2, also offered as version 1) of this host.
const XFormUtilHostSuite* xformUtilSuite();

/// The VexilCookInterfaceUtilsHost suite (version 1) of this host.
const VexilCookInterfaceUtilsHostSuite* cookUtilsSuite();

} // namespace VexilHost
