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

/// The arguments of one constraint, read once: every sample would read the same values.
struct PointArguments {
    OriginMode targetOrigin = OriginMode::Origin;
    OriginMode baseOrigin = OriginMode::Origin;
    bool followX = true;
    bool followY = true;
    bool followZ = true;
};

/// Reads the arguments in the order a sample checks them: the target origin before the base origin.
PointArguments readPointArguments(const Qn::GroupAttribute& constraintGroup) {
    const ConstraintArguments arguments(constraintGroup);
    PointArguments args;
    args.targetOrigin = getRequiredOriginMode(arguments, kType, kTargetOrigin);
    args.baseOrigin = getRequiredOriginMode(arguments, kType, kBaseOrigin);
    args.followX = getAxisFlag(arguments, "args.xAxis");
    args.followY = getAxisFlag(arguments, "args.yAxis");
    args.followZ = getAxisFlag(arguments, "args.zAxis");
    return args;
}

Imath::M44d computePointSample(const PointArguments& args, Qn::VexilCookInterface& cookInterface,
                               const XformSamples& baseSamples, const std::string& baseLocation,
                               const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                               float sampleTime) {
    const Imath::M44d* base = findSample(baseSamples, sampleTime);
    if (!base)
        throw std::runtime_error("Point constraint resolver: incorrect time samples for base xform");

    // The base origin stays in the base's own space; the target origin is taken in world space.
    Imath::V3d baseOriginPoint;
    try {
        baseOriginPoint =
            computeTargetOrigin(args.baseOrigin, baseSamples, cookInterface, baseLocation, false, sampleTime);
    } catch (const std::exception& e) {
        throw std::runtime_error(std::string("Point constraint resolver base: ") + e.what());
    }
    Imath::V3d targetPoint;
    try {
        targetPoint = computeTargetOrigin(args.targetOrigin, targetSamples, cookInterface, targetPaths, true,
                                          sampleTime);
    } catch (const std::exception& e) {
        throw std::runtime_error(std::string("Point constraint resolver target: ") + e.what());
    }
    return pointConstraintMatrix(*base, baseOriginPoint, targetPoint, args.followX, args.followY,
                                 args.followZ);
}

class PointConstraintResolver : public ConstraintResolver {
public:
    using ConstraintResolver::ConstraintResolver;

    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                        const TargetPaths& targetPaths, ResolvedCache&, SampleTimes& sampleTimes) override {
        // Two arguments only: the dotted lookups cost less than preparing the direct ones.
        const OriginMode baseOrigin = getRequiredOriginMode(m_constraintGroup, kType, kBaseOrigin);
        const OriginMode targetOrigin = getRequiredOriginMode(m_constraintGroup, kType, kTargetOrigin);
        addTargetOriginSampleTimes(baseOrigin, cookInterface, locationPath, sampleTimes);
        addTargetOriginSampleTimes(targetOrigin, cookInterface, targetPaths, sampleTimes);
    }

    Qn::GroupAttribute resolve(const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                               const XformSamples& baseSamples, const std::string& baseLocation,
                               const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                               ResolvedCache&, OutputAttributes&) override {
        // Read at the first sample, where an argument error would first show, and kept for the rest.
        std::optional<PointArguments> args;
        return resolveMatricesAtSampleTimes(m_constraintGroup, sampleTimes, [&](float sampleTime) {
            if (!args)
                args = readPointArguments(m_constraintGroup);
            return computePointSample(*args, cookInterface, baseSamples, baseLocation, targetSamples,
                                      targetPaths, sampleTime);
        });
    }
};

} // namespace

ConstraintResolverPtr createPointConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<PointConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
