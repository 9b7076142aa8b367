// The ScreenCoordinate constraint: the base's authored position is read in the target camera's
// screen-window coordinates (x and y from -1 to 1 across the window, z the negative distance along the
// view axis), and the base is placed where it appears at exactly that spot of the image, keeping its
// apparent size at any distance.
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolvers/CameraInputs.h"
#include "constraints/resolvers/CameraMath.h"

namespace Vexil3Constraints {
namespace Private {

namespace {

class ScreenCoordinateConstraintResolver : public PerSampleConstraintResolver {
public:
    explicit ScreenCoordinateConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : PerSampleConstraintResolver("ScreenCoordinate", constraintGroup) {}

private:
    // An animated screen window or fov of the camera moves the base on screen between samples.
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        if (scene.targetPaths.empty())
            return;
        std::vector<std::string> names(kScreenWindowNames.begin(), kScreenWindowNames.end());
        names.push_back("geometry.fov");
        addAnimatedSampleTimes(scene.resolvedCache, scene.cookInterface, scene.targetPaths[0], names,
                               sampleTimes);
    }

    Imath::M44d computeSample(const ConstraintInputs& inputs, float sampleTime) const override {
        const std::string& cameraPath = checks().firstTargetPath(inputs);
        const Imath::M44d& base = checks().baseAt(inputs, sampleTime);
        checks().firstTargetSamples(inputs);
        const Imath::M44d& camera = checks().targetAt(inputs, 0, sampleTime);

        ScreenMapping mapping;
        mapping.orthographic =
            Qn::StringAttribute(
                inputs.resolvedCache.getAttr(inputs.cookInterface, cameraPath, "geometry.projection"))
                .getValue(std::string(), false) == "orthographic";
        const std::optional<ScreenWindow> window =
            getScreenWindowAtTime(inputs.resolvedCache, inputs.cookInterface, cameraPath, sampleTime);
        if (!window)
            checks().fail("cannot get screen window geometry on target.");
        mapping.window = *window;
        if (!mapping.orthographic) {
            const Qn::DoubleAttribute fov =
                getResolvedDoubleAttr(inputs.resolvedCache, inputs.cookInterface, cameraPath, "geometry.fov");
            if (!fov.isValid())
                checks().fail("cannot get fov attribute on target.");
            mapping.fovDegrees = usableCameraValue(valueAtTime(fov, sampleTime), "geometry.fov", cameraPath);
        }
        mapping.keepAspectRatio =
            Qn::IntAttribute(m_constraintGroup.getChildByName("args.keepAspectRatio")).getValue(1, false) !=
            0;

        const Imath::V3d screenPosition(base[3][0], base[3][1], base[3][2]);
        switch (checkScreenMapping(mapping, screenPosition)) {
        case ScreenMappingProblem::ZeroWindow:
            checks().fail("screen window of target has zero width or height.");
        case ScreenMappingProblem::BadFov:
            checks().fail("fov of target must be greater than 0 and less than 180.");
        case ScreenMappingProblem::NotInFront:
            checks().fail("base z must be negative (a distance in front of the camera).");
        case ScreenMappingProblem::None:
            break;
        }
        return screenCoordinateMatrix(base, camera, mapping);
    }
};

} // namespace

ConstraintKind screenCoordinateConstraintKind() {
    return {&createResolver<ScreenCoordinateConstraintResolver>, {}};
}

} // namespace Private
} // namespace Vexil3Constraints
