// The op "ConstraintEditAttributes": writes a constraint description for editing, with UI hints.
#pragma once

#include "PluginApis/src/QnVexil/op/VexilOp.h"

namespace Vexil3Constraints {
namespace Private {

/// Op "ConstraintEditAttributes".
class ConstraintEditAttributesOp : public Qn::VexilOp {
public:
    /// Cooks one location; errors escape as exceptions for the op wrapper to report.
    static void cook(Qn::VexilCookInterface& cookInterface);
};

} // namespace Private
} // namespace Vexil3Constraints
