// The Point constraint: moves the base so that its base origin lands on the average target origin,
// along the enabled axes. Changes translation only.
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/Resolvers.h"
#include "constraints/resolvers/TransformMath.h"

#include <boost/make_shared.hpp>

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

const char* const kType = "Point";

void computePointSample(const Qn::GroupAttribute& constraintGroup, Qn::VexilCookInterface& cookInterface,
                        const XformSamples& baseSamples, const std::string& baseLocation,
                        const XformSamplesList& targetSamples, const TargetPaths& targetPaths, ResolvedCache&,
                        float sampleTime, MatrixSamples& samplesOut) {
    const std::string targetOrigin = getTargetOriginArg(constraintGroup, kType);
    const std::string baseOrigin = getBaseOriginArg(constraintGroup, kType);

    const Imath::M44d* base = findSample(baseSamples, sampleTime);
    if (!base)
        throw std::runtime_error("Point constraint resolver: incorrect time samples for base xform");

    // The base origin stays in the base's own space; the target origin is taken in world space.
    Imath::V3d baseOriginPoint;
    try {
        baseOriginPoint =
            computeTargetOrigin(baseOrigin, baseSamples, cookInterface, baseLocation, false, sampleTime);
    } catch (const std::exception& e) {
        throw std::runtime_error(std::string("Point constraint resolver base: ") + e.what());
    }
    Imath::V3d targetPoint;
    try {
        targetPoint =
            computeTargetOrigin(targetOrigin, targetSamples, cookInterface, targetPaths, true, sampleTime);
    } catch (const std::exception& e) {
        throw std::runtime_error(std::string("Point constraint resolver target: ") + e.what());
    }

    const bool followX = getAxisFlag(constraintGroup, "args.xAxis");
    const bool followY = getAxisFlag(constraintGroup, "args.yAxis");
    const bool followZ = getAxisFlag(constraintGroup, "args.zAxis");
    samplesOut[sampleTime] =
        matrixValues(pointConstraintMatrix(*base, baseOriginPoint, targetPoint, followX, followY, followZ));
}

class PointConstraintResolver : public DrivenConstraintResolver<&computePointSample> {
public:
    using DrivenConstraintResolver::DrivenConstraintResolver;

    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                        const TargetPaths& targetPaths, ResolvedCache&, SampleTimes& sampleTimes) override {
        const std::string baseOrigin = getBaseOriginArg(m_constraintGroup, kType);
        const std::string targetOrigin = getTargetOriginArg(m_constraintGroup, kType);
        addTargetOriginSampleTimes(baseOrigin, cookInterface, locationPath, sampleTimes);
        addTargetOriginSampleTimes(targetOrigin, cookInterface, targetPaths, sampleTimes);
    }
};

} // namespace

ConstraintResolverPtr createPointConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<PointConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
