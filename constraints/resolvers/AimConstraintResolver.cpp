// The Aim constraint: turns the base about its own position so that its aim axis points at the
// average target origin and its up axis turns towards a world up direction.
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/Resolvers.h"
#include "constraints/resolvers/TransformMath.h"

#include <boost/make_shared.hpp>

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

const char* const kType = "Aim";

void computeAimSample(const Qn::GroupAttribute& constraintGroup, Qn::VexilCookInterface& cookInterface,
                      const XformSamples& baseSamples, const std::string&,
                      const XformSamplesList& targetSamples, const TargetPaths& targetPaths, ResolvedCache&,
                      float sampleTime, MatrixSamples& samplesOut) {
    const std::string targetOrigin = getTargetOriginArg(constraintGroup, kType);

    const Imath::M44d* base = findSample(baseSamples, sampleTime);
    if (!base)
        throw std::runtime_error("Aim constraint resolver: incorrect time samples for base xform");
    if (targetPaths.size() != targetSamples.size())
        throw std::runtime_error(
            "Aim constraint internal error: targetLocationPaths.size() != targetXformVector.size().");

    Imath::V3d targetPoint;
    try {
        targetPoint =
            computeTargetOrigin(targetOrigin, targetSamples, cookInterface, targetPaths, true, sampleTime);
    } catch (const std::exception& e) {
        throw std::runtime_error(std::string("Aim constraint resolver target: ") + e.what());
    }

    // The zero checks of the base axes come before the target up axis is read.
    const Imath::V3d aimAxis = getFloat3Attr(constraintGroup, "args.baseAimAxis");
    const Imath::V3d upAxis = getFloat3Attr(constraintGroup, "args.baseUpAxis");
    checkAimAndUpAxes(aimAxis, upAxis);
    const Imath::V3d targetUpAxis = getFloat3Attr(constraintGroup, "args.targetUpAxis");

    samplesOut[sampleTime] =
        matrixValues(aimConstraintMatrix(*base, targetPoint, aimAxis, upAxis, targetUpAxis));
}

class AimConstraintResolver : public DrivenConstraintResolver<&computeAimSample> {
public:
    using DrivenConstraintResolver::DrivenConstraintResolver;

    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string&,
                        const TargetPaths& targetPaths, ResolvedCache&, SampleTimes& sampleTimes) override {
        addTargetOriginSampleTimes(getTargetOriginArg(m_constraintGroup, kType), cookInterface, targetPaths,
                                   sampleTimes);
    }
};

} // namespace

ConstraintResolverPtr createAimConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<AimConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
