// The op "ConstraintListEdit": adds paths to, or removes them from, the constraint list at /root/world.
#pragma once

#include "PluginApis/src/QnVexil/op/VexilOp.h"

namespace Vexil3Constraints {
namespace Private {

/// Op "ConstraintListEdit": edits "globals.constraintList" at "/root/world" by the op arguments "mode" and
/// "locationPaths".
class ConstraintListEditOp : public Qn::VexilOp {
public:
    /// Cooks one location; errors escape as exceptions for the op wrapper to report.
    static void cook(Qn::VexilCookInterface& cookInterface);
};

} // namespace Private
} // namespace Vexil3Constraints
