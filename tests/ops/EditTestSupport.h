// Scene and op builders shared by the end-to-end tests of the authoring ops.
#pragma once

#include "CookTestSupport.h"

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <string>
#include <vector>

namespace VexilTest {

/// One op of a scene file's chain, applied at `location`.
Json op(const std::string& type, const Json& args, const std::string& location = "/root");

/// A location whose xform translates by `t`; `xformExtra` adds children to the xform group (such as
/// constraints), `attrsExtra` adds attributes beside it.
Json placed(const Imath::V3d& t, const Json& xformExtra = Json::object(),
            const Json& attrsExtra = Json::object());

/// Cooks `children` of "/root/world" through the op chain `ops`; expects a clean exit.
CookResult cookChain(const Json& children, const Json& ops, const Json& worldAttrs = Json::object());

/// The names of a group attribute's children in the cooked file, in order.
std::vector<std::string> memberNames(const Json& group);

/// The constraint list "globals.constraintList" at "/root/world" as strings; `present` tells whether the
/// attribute exists at all.
std::vector<std::string> constraintList(const Json& cooked, bool& present);

} // namespace VexilTest
