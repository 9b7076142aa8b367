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
AimAxes readAimAxes(const Qn::GroupAttribute& constraintGroup) {
    AimAxes axes;
    axes.aimAxis = getFloat3Attr(constraintGroup, kAimAxis.name);
    axes.upAxis = getFloat3Attr(constraintGroup, kUpAxis.name);
    checkAimAndUpAxes(axes.aimAxis, axes.upAxis);
    axes.targetUpAxis = getFloat3Attr(constraintGroup, kTargetUpAxis.name);
    return axes;
}

class AimConstraintResolver : public PerSampleConstraintResolver {
public:
    explicit AimConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : PerSampleConstraintResolver(kKind, constraintGroup),
          m_targetOrigin(findOriginMode(m_constraintGroup, kTargetOrigin.name)),
          m_axes([&] { return readAimAxes(m_constraintGroup); }) {}

private:
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        addTargetOriginSampleTimes(requireOriginMode(m_targetOrigin, kKind, kTargetOrigin.name),
                                   scene.cookInterface, scene.targetPaths, sampleTimes);
    }

    Imath::M44d computeSample(const ConstraintInputs& inputs, float sampleTime) const override {
        const OriginMode targetOrigin = requireOriginMode(m_targetOrigin, kKind, kTargetOrigin.name);
        const Imath::M44d& base = checks().baseAt(inputs, sampleTime);
        checks().checkTargetCounts(inputs);

        Imath::V3d targetPoint;
        try {
            targetPoint = computeTargetOrigin(targetOrigin, inputs.targetSamples, inputs.cookInterface,
                                              inputs.targetPaths, true, sampleTime);
        } catch (const std::exception& e) {
            throw std::runtime_error(std::string("Aim constraint resolver target: ") + e.what());
        }

        const AimAxes& axes = m_axes.get();
        return aimConstraintMatrix(base, targetPoint, axes.aimAxis, axes.upAxis, axes.targetUpAxis);
    }

    const std::optional<OriginMode> m_targetOrigin;
    const ReadOnce<AimAxes> m_axes;
};

} // namespace

ConstraintKind aimConstraintKind() {
    return {&createResolver<AimConstraintResolver>, {kTargetOrigin, kAimAxis, kUpAxis, kTargetUpAxis}};
}

} // namespace Private
} // namespace Vexil3Constraints
