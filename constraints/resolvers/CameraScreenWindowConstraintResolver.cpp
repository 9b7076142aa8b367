// The CameraScreenWindow constraint: places and sizes the base, a unit card, so that it exactly covers
// the screen window of the target camera at `args.distance` in front of it.
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/CameraInputs.h"
#include "constraints/resolvers/CameraMath.h"

namespace Vexil3Constraints {
namespace Private {

namespace {

// The camera attributes of the target, in reading order: the screen window, then the fov.
const std::vector<std::string> kCameraNames = {"geometry.left", "geometry.right", "geometry.bottom",
                                               "geometry.top", "geometry.fov"};

// The missing-sample texts carry the Scale resolver's wording; scene tools match them as they are.
const ResolverChecks kScaleWording("Scale");

class CameraScreenWindowConstraintResolver : public PerSampleConstraintResolver {
public:
    explicit CameraScreenWindowConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : PerSampleConstraintResolver("CameraScreenWindow", constraintGroup) {}

private:
    // An animated screen window or fov on a target camera animates the card.
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        for (const std::string& path : scene.targetPaths) {
            for (const std::string& name : kCameraNames) {
                addAnimatedSampleTimes(scene.resolvedCache, scene.cookInterface, path, {name}, sampleTimes);
            }
        }
    }

    Imath::M44d computeSample(const ConstraintInputs& inputs, float sampleTime) const override {
        // A double distance is rejected like a missing one: only a float is accepted.
        const Qn::FloatAttribute distanceAttr(m_constraintGroup.getChildByName("args.distance"));
        if (!distanceAttr.isValid())
            checks().failEmptyArgument("args.distance");
        const float distance = distanceAttr.getValue();
        checks().requireUsable(valueProblem(&distance, 1), "args.distance");

        const std::string planeType =
            getRequiredStringArg(m_constraintGroup, std::string(checks().kind()), "args.planeType");

        const std::string& cameraPath = checks().firstTargetPath(inputs);
        Qn::DoubleAttribute attrs[5];
        for (size_t i = 0; i < kCameraNames.size(); ++i) {
            attrs[i] = getResolvedDoubleAttr(inputs.resolvedCache, inputs.cookInterface, cameraPath,
                                             kCameraNames[i]);
        }
        for (int i = 0; i < 4; ++i) {
            if (!attrs[i].isValid())
                checks().fail("cannot get screen window geometry on target.");
        }
        if (!attrs[4].isValid())
            checks().fail("cannot get fov attribute on target.");
        double values[5];
        for (size_t i = 0; i < kCameraNames.size(); ++i) {
            values[i] = attrs[i].getValue();
        }
        for (size_t i = 0; i < kCameraNames.size(); ++i) {
            usableCameraValue(values[i], kCameraNames[i].c_str(), cameraPath);
        }
        ScreenWindow window;
        window.left = values[0];
        window.right = values[1];
        window.bottom = values[2];
        window.top = values[3];
        const double fov = values[4];

        const Imath::M44d* base = findSample(inputs.baseSamples, sampleTime);
        if (!base)
            kScaleWording.fail("incorrect time samples for base xform");
        checks().usableTransform(*base, inputs.baseLocation);
        if (inputs.targetSamples.empty())
            kScaleWording.fail("no target xform");
        const Imath::M44d* camera = findSample(inputs.targetSamples[0], sampleTime);
        if (!camera)
            kScaleWording.fail("incorrect time samples for target xform");
        checks().usableTransform(*camera, cameraPath);

        return cameraScreenWindowMatrix(*base, *camera, distance, window, fov, planeType == "XZ");
    }
};

} // namespace

ConstraintKind cameraScreenWindowConstraintKind() {
    return {&createResolver<CameraScreenWindowConstraintResolver>, {}};
}

} // namespace Private
} // namespace Vexil3Constraints
