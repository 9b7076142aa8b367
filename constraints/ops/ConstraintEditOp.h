// The op "ConstraintEdit": edits Aim, Orient and Point constraint descriptions.
#pragma once

#include "PluginApis/src/QnVexil/op/VexilOp.h"

namespace Vexil3Constraints {
namespace Private {

/// Op "ConstraintEdit".
class ConstraintEditOp : public Qn::VexilOp {
public:
    /// Cooks one location; errors escape as exceptions for the op wrapper to report.
    static void cook(Qn::VexilCookInterface& cookInterface);
};

} // namespace Private
} // namespace Vexil3Constraints
