#include "constraints/resolve/ConstraintResolveOp.h"

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

// TODO: temporary body so that the plug-in links and registers the op; replaced by the op's owner.
void ConstraintResolveOp::cook(Qn::VexilCookInterface&) {
    throw std::runtime_error("not available yet");
}

} // namespace Private
} // namespace Vexil3Constraints
