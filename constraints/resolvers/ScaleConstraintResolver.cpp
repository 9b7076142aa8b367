// The Scale constraint: stretches each local axis of the base so that its world length equals the
// length of the same axis of the first target; orientation, shear direction and position are kept.
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolvers/MirrorAndScaleMath.h"
#include "constraints/resolvers/Resolvers.h"

#include <boost/make_shared.hpp>

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

void computeScaleSample(const Qn::GroupAttribute&, Qn::VexilCookInterface&, const XformSamples& baseSamples,
                        const std::string&, const XformSamplesList& targetSamples, const TargetPaths&,
                        ResolvedCache&, float sampleTime, MatrixSamples& samplesOut) {
    const Imath::M44d* base = findSample(baseSamples, sampleTime);
    if (!base) {
        throw std::runtime_error("Scale constraint resolver: incorrect time samples for base xform");
    }
    if (targetSamples.empty()) {
        throw std::runtime_error("Scale constraint resolver: no target xform");
    }
    // Only the first target counts.
    const Imath::M44d* target = findSample(targetSamples.front(), sampleTime);
    if (!target) {
        throw std::runtime_error("Scale constraint resolver: incorrect time samples for target xform");
    }
    // A singular base fails here with "Cannot invert singular matrix.".
    samplesOut[sampleTime] = matrixValues(scaleConstraintMatrix(*base, *target));
}

/// Reads no arguments and adds no sample times of its own.
class ScaleConstraintResolver : public DrivenConstraintResolver<&computeScaleSample> {
public:
    using DrivenConstraintResolver::DrivenConstraintResolver;
};

} // namespace

ConstraintResolverPtr createScaleConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<ScaleConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
