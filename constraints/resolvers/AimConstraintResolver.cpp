// The Aim constraint: turns the base about its own position so that its aim axis points at the
// average target origin and its up axis turns towards a world up direction.
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

constexpr std::string_view kKind("Aim");

const EditableArgument kTargetOrigin = choiceArgument(
    "args.targetOrigin", "Target Origin",
    "The point of each target that is aimed at; several targets are averaged.", originModeNames());
const EditableArgument kAimAxis =
    vectorArgument("args.baseAimAxis", "Aim Axis",
                   "The axis of the constrained location, in its own space, that points at the target.",
                   {{1.0f, 0.0f, 0.0f}});
const EditableArgument kUpAxis =
    vectorArgument("args.baseUpAxis", "Up Axis",
                   "The axis of the constrained location, in its own space, that is "
                   "turned towards the target up axis.",
                   {{0.0f, 1.0f, 0.0f}});
const EditableArgument kTargetUpAxis =
    vectorArgument("args.targetUpAxis", "Target Up Axis",
                   "The world-space direction that the up axis is turned towards.", {{0.0f, 1.0f, 0.0f}});

/// The axes of one constraint.
struct AimAxes {
    Imath::V3d aimAxis;
    Imath::V3d upAxis;
    Imath::V3d targetUpAxis;
};

/// Reads and checks the axes in the order a sample needs them: the zero checks of the base axes come
/// before the target up axis is read.
AimAxes readAimAxes(const ConstraintArguments& arguments) {
    AimAxes axes;
    axes.aimAxis = getFloat3Arg(arguments, kAimAxis.name);
    axes.upAxis = getFloat3Arg(arguments, kUpAxis.name);
    checkAimAndUpAxes(axes.aimAxis, axes.upAxis);
    axes.targetUpAxis = getFloat3Arg(arguments, kTargetUpAxis.name);
    return axes;
}

/// The arguments of one constraint, read once per shared `args` value; a failure to read the axes is
/// kept and reported where a sample first needs them.
struct AimArguments {
    std::optional<OriginMode> targetOrigin;
    ReadOnce<AimAxes> axes;
};

AimArguments readAimArguments(const ConstraintArguments& arguments) {
    return AimArguments{findOriginMode(arguments, kTargetOrigin.name),
                        ReadOnce<AimAxes>([&] { return readAimAxes(arguments); })};
}

class AimConstraintResolver : public PerSampleConstraintResolver {
public:
    AimConstraintResolver(const Qn::GroupAttribute& constraintGroup, const ResolverSetup& setup)
        : PerSampleConstraintResolver(kKind, constraintGroup),
          m_args(readKindArguments(setup, m_constraintGroup, &readAimArguments)) {}

private:
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        addTargetOriginSampleTimes(requireOriginMode(m_args.targetOrigin, kKind, kTargetOrigin.name),
                                   scene.cookInterface, scene.targetPaths, sampleTimes);
    }

    Imath::M44d computeSample(const ConstraintInputs& inputs, float sampleTime) const override {
        const OriginMode targetOrigin = requireOriginMode(m_args.targetOrigin, kKind, kTargetOrigin.name);
        const Imath::M44d& base = checks().baseAt(inputs, sampleTime);
        checks().checkTargetCounts(inputs);

        Imath::V3d targetPoint;
        try {
            targetPoint = computeTargetOrigin(targetOrigin, inputs.targetSamples, inputs.cookInterface,
                                              inputs.targetPaths, true, sampleTime);
        } catch (const std::exception& e) {
            throw std::runtime_error(std::string("Aim constraint resolver target: ") + e.what());
        }

        const AimAxes& axes = m_args.axes.get();
        return aimConstraintMatrix(base, targetPoint, axes.aimAxis, axes.upAxis, axes.targetUpAxis);
    }

    const AimArguments m_args;
};

} // namespace

ConstraintKind aimConstraintKind() {
    return {&createResolver<AimConstraintResolver>, {kTargetOrigin, kAimAxis, kUpAxis, kTargetUpAxis}};
}

} // namespace Private
} // namespace Vexil3Constraints
