// The Point constraint: moves the base so that its base origin lands on the average target origin,
// along the enabled axes. Changes translation only.
#include "constraints/resolve/ConstraintArguments.h"
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/Resolvers.h"
#include "constraints/resolvers/TransformMath.h"

#include <boost/make_shared.hpp>

#include <optional>
#include <stdexcept>
#include <string_view>

namespace Vexil3Constraints {
namespace Private {

namespace {

constexpr std::string_view kType("Point");
constexpr std::string_view kTargetOrigin("args.targetOrigin");
constexpr std::string_view kBaseOrigin("args.baseOrigin");

/// The arguments of one constraint, read once when its resolver is made: the time samples and every
/// sample would read the same values. A missing origin is kept as none and reported where it is needed.
struct PointArguments {
    std::optional<OriginMode> targetOrigin;
    std::optional<OriginMode> baseOrigin;
    bool followX = true;
    bool followY = true;
    bool followZ = true;
};

PointArguments readPointArguments(const Qn::GroupAttribute& constraintGroup) {
    const ConstraintArguments arguments(constraintGroup);
    PointArguments args;
    args.targetOrigin = findOriginMode(arguments, kTargetOrigin);
    args.baseOrigin = findOriginMode(arguments, kBaseOrigin);
    args.followX = getAxisFlag(arguments, "args.xAxis");
    args.followY = getAxisFlag(arguments, "args.yAxis");
    args.followZ = getAxisFlag(arguments, "args.zAxis");
    return args;
}

Imath::M44d computePointSample(const PointArguments& args, Qn::VexilCookInterface& cookInterface,
                               const XformSamples& baseSamples, const std::string& baseLocation,
                               const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                               float sampleTime) {
    // A sample checks the target origin before the base origin.
    const OriginMode targetOrigin = requireOriginMode(args.targetOrigin, kType, kTargetOrigin);
    const OriginMode baseOrigin = requireOriginMode(args.baseOrigin, kType, kBaseOrigin);
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
    return pointConstraintMatrix(*base, baseOriginPoint, targetPoint, args.followX, args.followY,
                                 args.followZ);
}

class PointConstraintResolver : public ConstraintResolver {
public:
    explicit PointConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : ConstraintResolver(constraintGroup), m_args(readPointArguments(m_constraintGroup)) {}

    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                        const TargetPaths& targetPaths, ResolvedCache&, SampleTimes& sampleTimes) override {
        // The base origin is checked first here.
        const OriginMode baseOrigin = requireOriginMode(m_args.baseOrigin, kType, kBaseOrigin);
        const OriginMode targetOrigin = requireOriginMode(m_args.targetOrigin, kType, kTargetOrigin);
        addTargetOriginSampleTimes(baseOrigin, cookInterface, locationPath, sampleTimes);
        addTargetOriginSampleTimes(targetOrigin, cookInterface, targetPaths, sampleTimes);
    }

    Qn::GroupAttribute resolve(const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                               const XformSamples& baseSamples, const std::string& baseLocation,
                               const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                               ResolvedCache&, OutputAttributes&) override {
        return resolveMatricesAtSampleTimes(m_constraintGroup, sampleTimes, [&](float sampleTime) {
            return computePointSample(m_args, cookInterface, baseSamples, baseLocation, targetSamples,
                                      targetPaths, sampleTime);
        });
    }

private:
    const PointArguments m_args;
};

} // namespace

ConstraintResolverPtr createPointConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<PointConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
