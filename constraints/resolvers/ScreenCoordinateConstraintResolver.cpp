// The ScreenCoordinate constraint: the base's authored position is read in the target camera's
// screen-window coordinates (x and y from -1 to 1 across the window, z the negative distance along the
// view axis), and the base is placed where it appears at exactly that spot of the image, keeping its
// apparent size at any distance.
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolvers/CameraInputs.h"
#include "constraints/resolvers/CameraMath.h"
#include "constraints/resolvers/Resolvers.h"

#include <boost/make_shared.hpp>

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

void computeScreenCoordinateSample(const Qn::GroupAttribute& constraintGroup,
                                   Qn::VexilCookInterface& cookInterface, const XformSamples& baseSamples,
                                   const std::string&, const XformSamplesList& targetSamples,
                                   const TargetPaths& targetPaths, ResolvedCache& resolvedCache,
                                   float sampleTime, MatrixSamples& samplesOut) {
    if (targetPaths.empty())
        throw std::runtime_error("ScreenCoordinate constraint resolver: no target location path.");
    const Imath::M44d* base = findSample(baseSamples, sampleTime);
    if (!base)
        throw std::runtime_error(
            "ScreenCoordinate constraint resolver: incorrect time samples for base xform");
    if (targetSamples.empty())
        throw std::runtime_error("ScreenCoordinate constraint resolver: no target xform");
    const Imath::M44d* camera = findSample(targetSamples[0], sampleTime);
    if (!camera)
        throw std::runtime_error(
            "ScreenCoordinate constraint resolver: incorrect time samples for target xform");

    const std::string& cameraPath = targetPaths[0];
    ScreenMapping mapping;
    mapping.orthographic =
        Qn::StringAttribute(resolvedCache.getAttr(cookInterface, cameraPath, "geometry.projection"))
            .getValue(std::string(), false) == "orthographic";
    const std::optional<ScreenWindow> window =
        getScreenWindowAtTime(resolvedCache, cookInterface, cameraPath, sampleTime);
    if (!window)
        throw std::runtime_error(
            "ScreenCoordinate constraint resolver: cannot get screen window geometry on target.");
    mapping.window = *window;
    if (!mapping.orthographic) {
        const Qn::DoubleAttribute fov =
            getResolvedDoubleAttr(resolvedCache, cookInterface, cameraPath, "geometry.fov");
        if (!fov.isValid())
            throw std::runtime_error(
                "ScreenCoordinate constraint resolver: cannot get fov attribute on target.");
        mapping.fovDegrees = valueAtTime(fov, sampleTime);
    }
    mapping.keepAspectRatio =
        Qn::IntAttribute(constraintGroup.getChildByName("args.keepAspectRatio")).getValue(1, false) != 0;

    const Imath::V3d screenPosition((*base)[3][0], (*base)[3][1], (*base)[3][2]);
    switch (checkScreenMapping(mapping, screenPosition)) {
    case ScreenMappingProblem::ZeroWindow:
        throw std::runtime_error(
            "ScreenCoordinate constraint resolver: screen window of target has zero width or height.");
    case ScreenMappingProblem::BadFov:
        throw std::runtime_error(
            "ScreenCoordinate constraint resolver: fov of target must be greater than 0 and less than 180.");
    case ScreenMappingProblem::NotInFront:
        throw std::runtime_error("ScreenCoordinate constraint resolver: base z must be negative (a distance "
                                 "in front of the camera).");
    case ScreenMappingProblem::None:
        break;
    }
    samplesOut[sampleTime] = matrixValues(screenCoordinateMatrix(*base, *camera, mapping));
}

class ScreenCoordinateConstraintResolver : public DrivenConstraintResolver<&computeScreenCoordinateSample> {
public:
    using DrivenConstraintResolver::DrivenConstraintResolver;

    // An animated screen window or fov of the camera moves the base on screen between samples.
    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string&,
                        const TargetPaths& targetPaths, ResolvedCache& resolvedCache,
                        SampleTimes& sampleTimes) override {
        if (targetPaths.empty())
            return;
        std::vector<std::string> names(kScreenWindowNames.begin(), kScreenWindowNames.end());
        names.push_back("geometry.fov");
        addAnimatedSampleTimes(resolvedCache, cookInterface, targetPaths[0], names, sampleTimes);
    }
};

} // namespace

ConstraintResolverPtr createScreenCoordinateConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<ScreenCoordinateConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
