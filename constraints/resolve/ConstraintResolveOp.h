// The op "ConstraintResolve": resolves the listed constraints and writes the results into `xform`.
#pragma once

#include "PluginApis/src/QnVexil/op/VexilOp.h"

namespace Vexil3Constraints {
namespace Private {

/// Op "ConstraintResolve".
class ConstraintResolveOp : public Qn::VexilOp {
public:
    /// Cooks one location; errors escape as exceptions for the op wrapper to report.
    static void cook(Qn::VexilCookInterface& cookInterface);
};

} // namespace Private
} // namespace Vexil3Constraints
