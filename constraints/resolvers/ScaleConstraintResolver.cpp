// The Scale constraint: stretches each local axis of the base so that its world length equals the
// length of the same axis of the first target; orientation, shear direction and position are kept.
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolvers/MirrorAndScaleMath.h"

namespace Vexil3Constraints {
namespace Private {

namespace {

/// Reads no arguments and adds no sample times of its own.
class ScaleConstraintResolver : public PerSampleConstraintResolver {
public:
    explicit ScaleConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : PerSampleConstraintResolver("Scale", constraintGroup) {}

private:
    Imath::M44d computeSample(const ConstraintInputs& inputs, float sampleTime) const override {
        const Imath::M44d& base = checks().baseAt(inputs, sampleTime);
        // Only the first target counts.
        checks().firstTargetSamples(inputs);
        const Imath::M44d& target = checks().targetAt(inputs, 0, sampleTime);
        // A singular base fails here with "Cannot invert singular matrix.".
        return scaleConstraintMatrix(base, target);
    }
};

} // namespace

ConstraintKind scaleConstraintKind() {
    return {&createResolver<ScaleConstraintResolver>, {}};
}

} // namespace Private
} // namespace Vexil3Constraints
