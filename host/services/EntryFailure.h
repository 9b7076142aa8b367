// The one way the C entries of the host's suites report an exception they caught: they must not let
// it out into the op, and a failed write or query must not pass unseen either.
#pragma once

#include <vexil/VexilOp.h>

namespace VexilHost {

/// Reports the exception being handled, caught by the suite entry named `entry`. With the handle of
/// the cook that called the entry, the location being cooked is marked failed: `type` "error" and
/// `errorMessage` "<op> Op: host caught an exception in <entry>: <what>". Without a handle, or when
/// even marking the location fails (out of memory), one line on standard error instead:
/// "vexil-cook: [<location>: ]<entry> failed: <what>". Call only inside a catch block; never throws.
void reportEntryFailure(const char* entry, VexilCookHandle cook) noexcept;

} // namespace VexilHost
