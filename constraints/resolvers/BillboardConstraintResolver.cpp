// The Billboard constraint: turns the base about its local rotate axis so that its local aim axis
// faces the average target point as nearly as that single turn allows.
#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"
#include "constraints/resolve/ConstraintArguments.h"
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/BillboardMath.h"

#include <string_view>

namespace Vexil3Constraints {
namespace Private {

namespace {

constexpr std::string_view kKind("Billboard");
const char* const kBoundingBox = "boundingBox";
const std::string kTargetOrigin("args.targetOrigin");
const std::string kAimAxis("args.baseAimAxis");
const std::string kRotateAxis("args.baseRotateAxis");

// Billboard knows only two origins: the bounds centre, or (for every other mode, the face modes
// included) the local origin.
Imath::V3d localTargetPoint(Qn::VexilCookInterface& cookInterface, const std::string& mode,
                            const std::string& path, float sampleTime) {
    if (mode != kBoundingBox) {
        return Imath::V3d(0.0, 0.0, 0.0);
    }
    const Imath::Box3d box = Qn::VexilCookInterfaceUtils::getBoundsAtTime(
        Qn::VexilCookInterfaceUtils::getBoundAttr(cookInterface, path), sampleTime);
    const double values[6] = {box.min.x, box.min.y, box.min.z, box.max.x, box.max.y, box.max.z};
    requireUsableBound(values, 6, path, "");
    return (box.min + box.max) * 0.5;
}

/// The two axes of one constraint.
struct BillboardAxes {
    Imath::V3d aimAxis;
    Imath::V3d rotateAxis;
};

/// Reads the axes in the order a sample does: the aim axis first.
BillboardAxes readBillboardAxes(const ConstraintArguments& arguments) {
    BillboardAxes axes;
    axes.aimAxis = getFloat3Arg(arguments, kAimAxis);
    axes.rotateAxis = getFloat3Arg(arguments, kRotateAxis);
    return axes;
}

/// The arguments of one constraint, read once per shared `args` value; each failure is kept and
/// reported where a sample first needs the value.
struct BillboardArguments {
    ReadOnce<std::string> mode;
    ReadOnce<BillboardAxes> axes;
};

BillboardArguments readBillboardArguments(const ConstraintArguments& arguments) {
    return BillboardArguments{ReadOnce<std::string>([&] {
                                  return requiredStringValue(arguments.get(kTargetOrigin), std::string(kKind),
                                                             kTargetOrigin);
                              }),
                              ReadOnce<BillboardAxes>([&] { return readBillboardAxes(arguments); })};
}

class BillboardConstraintResolver : public PerSampleConstraintResolver {
public:
    BillboardConstraintResolver(const Qn::GroupAttribute& constraintGroup, const ResolverSetup& setup)
        : PerSampleConstraintResolver(kKind, constraintGroup),
          m_args(readKindArguments(setup, m_constraintGroup, &readBillboardArguments)) {}

private:
    // Adds the sample times of the targets' animated bounds when the origin is "boundingBox".
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        const std::string& mode = m_args.mode.get();
        if (mode == kBoundingBox) {
            addTargetOriginSampleTimes(mode, scene.cookInterface, scene.targetPaths, sampleTimes);
        }
    }

    Imath::M44d computeSample(const ConstraintInputs& inputs, float sampleTime) const override {
        const std::string& mode = m_args.mode.get();
        const Imath::M44d& base = checks().baseAt(inputs, sampleTime);
        checks().checkTargetCounts(inputs);
        // The plain average of the local points carried to world space, each target one vote.
        Imath::V3d sum(0.0, 0.0, 0.0);
        for (size_t i = 0; i < inputs.targetPaths.size(); ++i) {
            const Imath::V3d local =
                localTargetPoint(inputs.cookInterface, mode, inputs.targetPaths[i], sampleTime);
            sum += transformAffinePoint(local, checks().targetAt(inputs, i, sampleTime));
        }
        const Imath::V3d targetPoint = sum / static_cast<double>(inputs.targetPaths.size());
        const BillboardAxes& axes = m_args.axes.get();
        return billboardConstraintMatrix(base, axes.aimAxis, axes.rotateAxis, targetPoint);
    }

    const BillboardArguments m_args;
};

} // namespace

ConstraintKind billboardConstraintKind() {
    return {&createResolver<BillboardConstraintResolver>, {}};
}

} // namespace Private
} // namespace Vexil3Constraints
