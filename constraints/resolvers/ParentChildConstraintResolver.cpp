// The ParentChild constraint: the base takes over the first target's world transform wholesale, as if
// it hung directly under the target. No arithmetic: the target's samples are copied behind a reset.
#include "constraints/resolve/ConstraintResolverRegistry.h"

namespace Vexil3Constraints {
namespace Private {

namespace {

/// Gives `origin` (the transform reset) followed by `matrix`, whose samples are exactly those of the
/// first target's world transform: its own result over all sample times, not one matrix per requested
/// time; the requested sample times and the base are not consulted.
class ParentChildConstraintResolver : public ConstraintResolver {
public:
    explicit ParentChildConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : ConstraintResolver("ParentChild", constraintGroup) {}

private:
    ConstraintResult compute(const ConstraintInputs& inputs) const override {
        // The framework never calls a resolver without a target; fail clearly rather than read past.
        const XformSamples& target = checks().firstTargetSamples(inputs);
        ConstraintResult result = ConstraintResult::transform(true);
        for (const auto& [time, matrix] : target) {
            result.addMatrix(time, matrix);
        }
        return result;
    }
};

} // namespace

ConstraintKind parentChildConstraintKind() {
    return {&createResolver<ParentChildConstraintResolver>, {}};
}

} // namespace Private
} // namespace Vexil3Constraints
