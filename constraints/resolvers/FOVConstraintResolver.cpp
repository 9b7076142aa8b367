// The FOV constraint: sets the field of view of the base camera to the smallest one at which every
// target (its bounding-box corners, or its bounding sphere) lies inside the camera's frustum at every
// sample time, plus `args.angleOffset` degrees. It writes `geometry.fov` instead of a transform.
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/CameraInputs.h"
#include "constraints/resolvers/CameraMath.h"

#include <algorithm>

namespace Vexil3Constraints {
namespace Private {

namespace {

const ResolverChecks kChecks("FOV");

enum class BoundFit { Box, Sphere };

BoundFit readBoundFit(const Qn::GroupAttribute& constraintGroup) {
    const std::string targetBounds =
        getRequiredStringArg(constraintGroup, std::string(kChecks.kind()), "args.targetBounds");
    if (targetBounds == "box")
        return BoundFit::Box;
    if (targetBounds == "sphere")
        return BoundFit::Sphere;
    kChecks.fail("unsupported target bound type '" + targetBounds +
                 "'. Use 'sphere' or 'box' target bound type instead.");
}

// The tangent of the half field of view that holds every target at one sample time.
double fitSample(BoundFit fit, const ConstraintInputs& inputs, float sampleTime) {
    const Imath::M44d& base = kChecks.baseAt(inputs, sampleTime);
    const CameraFrame frame = cameraFrame(base, base.inverse(true));

    const TargetPaths& targetPaths = inputs.targetPaths;
    std::vector<std::array<Imath::V3d, 8>> targetCorners;
    const size_t count = std::min(inputs.targetSamples.size(), targetPaths.size());
    for (size_t i = 0; i < count; ++i) {
        const Imath::M44d& target = kChecks.targetAt(inputs, i, sampleTime);
        targetCorners.push_back(worldBoundCorners(inputs.cookInterface, targetPaths[i], target, sampleTime));
    }

    const std::optional<ScreenWindow> window =
        getScreenWindowAtTime(inputs.resolvedCache, inputs.cookInterface, inputs.baseLocation, sampleTime);
    if (!window)
        kChecks.fail("error getting screen window geometry from base location.");
    // Zooming scales the window about the view axis: a window edge at or past the origin could never
    // reach a target on that side.
    if (!(window->left < 0.0 && window->right > 0.0 && window->bottom < 0.0 && window->top > 0.0))
        kChecks.fail("screen window must contain the origin.");

    double tangent = 0.0;
    for (size_t i = 0; i < targetCorners.size(); ++i) {
        std::optional<double> needed;
        if (fit == BoundFit::Sphere) {
            needed = fovTangentForSphere(frame, *window, cornerSphere(targetCorners[i]));
        } else {
            needed = 0.0;
            for (const Imath::V3d& corner : targetCorners[i]) {
                const std::optional<double> cornerNeed = fovTangentForPoint(frame, *window, corner);
                if (!cornerNeed) {
                    needed.reset();
                    break;
                }
                needed = std::max(*needed, *cornerNeed);
            }
        }
        // No field of view below 180 degrees shows a target that reaches the camera's plane.
        if (!needed)
            kChecks.fail("target (" + targetPaths[i] + ") is not entirely in front of the camera.");
        tangent = std::max(tangent, *needed);
    }
    return tangent;
}

class FOVConstraintResolver : public ConstraintResolver {
public:
    explicit FOVConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : ConstraintResolver(kChecks.kind(), constraintGroup) {}

private:
    // Animated bounds, and an animated screen window of the camera, add their times.
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        addBoundSampleTimes(scene.cookInterface, scene.targetPaths, 2, sampleTimes);
        addAnimatedSampleTimes(scene.resolvedCache, scene.cookInterface, scene.baseLocation,
                               std::vector<std::string>(kScreenWindowNames.begin(), kScreenWindowNames.end()),
                               sampleTimes);
    }

    // One fov for all sample times: the widest that any of them needs.
    ConstraintResult compute(const ConstraintInputs& inputs) const override {
        const BoundFit fit = readBoundFit(m_constraintGroup);
        const float angleOffset =
            Qn::FloatAttribute(m_constraintGroup.getChildByName("args.angleOffset")).getValue(0.0f, false);
        checks().requireUsable(valueProblem(&angleOffset, 1), "args.angleOffset");

        double tangent = 0.0;
        for (float sampleTime : inputs.sampleTimes) {
            tangent = std::max(tangent, fitSample(fit, inputs, sampleTime));
        }
        const double fov = fovDegreesFromTangent(tangent) + static_cast<double>(angleOffset);
        ConstraintResult result = ConstraintResult::cameraValues();
        if (fov == 0.0) {
            result.addWarning(checks().text("resolved to FOV of 0.0.  Skipping."));
        } else if (!(fov > 0.0 && fov < 180.0)) {
            checks().fail("fov + angleOffset must be greater than zero and less than 180.");
        } else {
            result.setCameraValue("geometry.fov", fov);
        }
        return result;
    }
};

} // namespace

ConstraintKind fovConstraintKind() {
    return {&createResolver<FOVConstraintResolver>, {}};
}

} // namespace Private
} // namespace Vexil3Constraints
