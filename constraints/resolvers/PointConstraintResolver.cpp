// The Point constraint: moves the base so that its base origin lands on the average target origin,
// along the enabled axes. Changes translation only.
#include "constraints/resolve/ConstraintArguments.h"
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/TransformMath.h"

#include <optional>
#include <stdexcept>
#include <string_view>

namespace Vexil3Constraints {
namespace Private {

namespace {

constexpr std::string_view kKind("Point");

const EditableArgument kTargetOrigin = choiceArgument(
    "args.targetOrigin", "Target Origin",
    "The point of each target that is followed; several targets are averaged.", originModeNames());
const EditableArgument kBaseOrigin =
    choiceArgument("args.baseOrigin", "Base Origin",
                   "The point of the constrained location, in its own space, "
                   "that is moved onto the target point.",
                   originModeNames());
const EditableArgument kXAxis = switchArgument(
    "args.xAxis", "Follow X", "When on, the location follows the target along x; when off, x stays.", 1);
const EditableArgument kYAxis = switchArgument(
    "args.yAxis", "Follow Y", "When on, the location follows the target along y; when off, y stays.", 1);
const EditableArgument kZAxis = switchArgument(
    "args.zAxis", "Follow Z", "When on, the location follows the target along z; when off, z stays.", 1);

/// The arguments of one constraint, read once when its resolver is made: the time samples and every
/// sample would read the same values. A missing origin is kept as none and reported where it is needed.
struct PointArguments {
    std::optional<OriginMode> targetOrigin;
    std::optional<OriginMode> baseOrigin;
    bool followX = true;
    bool followY = true;
    bool followZ = true;
};

PointArguments readPointArguments(const ConstraintArguments& arguments) {
    PointArguments args;
    args.targetOrigin = findOriginMode(arguments, kTargetOrigin.name);
    args.baseOrigin = findOriginMode(arguments, kBaseOrigin.name);
    args.followX = getAxisFlag(arguments, kXAxis.name);
    args.followY = getAxisFlag(arguments, kYAxis.name);
    args.followZ = getAxisFlag(arguments, kZAxis.name);
    return args;
}

class PointConstraintResolver : public PerSampleConstraintResolver {
public:
    PointConstraintResolver(const Qn::GroupAttribute& constraintGroup, const ResolverSetup& setup)
        : PerSampleConstraintResolver(kKind, constraintGroup),
          m_args(readKindArguments(setup, m_constraintGroup, &readPointArguments)) {}

private:
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        // The base origin is checked first here.
        const OriginMode baseOrigin = requireOriginMode(m_args.baseOrigin, kKind, kBaseOrigin.name);
        const OriginMode targetOrigin = requireOriginMode(m_args.targetOrigin, kKind, kTargetOrigin.name);
        addTargetOriginSampleTimes(baseOrigin, scene.cookInterface, scene.baseLocation, sampleTimes);
        addTargetOriginSampleTimes(targetOrigin, scene.cookInterface, scene.targetPaths, sampleTimes);
    }

    Imath::M44d computeSample(const ConstraintInputs& inputs, float sampleTime) const override {
        // A sample checks the target origin before the base origin.
        const OriginMode targetOrigin = requireOriginMode(m_args.targetOrigin, kKind, kTargetOrigin.name);
        const OriginMode baseOrigin = requireOriginMode(m_args.baseOrigin, kKind, kBaseOrigin.name);
        const Imath::M44d& base = checks().baseAt(inputs, sampleTime);

        // The base origin stays in the base's own space; the target origin is taken in world space.
        Imath::V3d baseOriginPoint;
        try {
            baseOriginPoint = computeTargetOrigin(baseOrigin, inputs.baseSamples, inputs.cookInterface,
                                                  inputs.baseLocation, false, sampleTime);
        } catch (const std::exception& e) {
            throw std::runtime_error(std::string("Point constraint resolver base: ") + e.what());
        }
        Imath::V3d targetPoint;
        try {
            targetPoint = computeTargetOrigin(targetOrigin, inputs.targetSamples, inputs.cookInterface,
                                              inputs.targetPaths, true, sampleTime);
        } catch (const std::exception& e) {
            throw std::runtime_error(std::string("Point constraint resolver target: ") + e.what());
        }
        return pointConstraintMatrix(base, baseOriginPoint, targetPoint, m_args.followX, m_args.followY,
                                     m_args.followZ);
    }

    const PointArguments m_args;
};

} // namespace

ConstraintKind pointConstraintKind() {
    return {&createResolver<PointConstraintResolver>, {kTargetOrigin, kBaseOrigin, kXAxis, kYAxis, kZAxis}};
}

} // namespace Private
} // namespace Vexil3Constraints
