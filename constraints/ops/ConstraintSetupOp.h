// The op "ConstraintSetup": installs constraint descriptions under `xform` and lists their locations.
#pragma once

#include "PluginApis/src/QnVexil/op/VexilOp.h"

namespace Vexil3Constraints {
namespace Private {

/// Op "ConstraintSetup": installs the entries of the op argument "constraints".
class ConstraintSetupOp : public Qn::VexilOp {
public:
    /// Cooks one location; errors escape as exceptions for the op wrapper to report.
    static void cook(Qn::VexilCookInterface& cookInterface);
};

} // namespace Private
} // namespace Vexil3Constraints
