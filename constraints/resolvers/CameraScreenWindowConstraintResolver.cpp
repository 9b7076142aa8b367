// The CameraScreenWindow constraint: places and sizes the base, a unit card, so that it exactly covers
// the screen window of the target camera at `args.distance` in front of it.
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolvers/CameraInputs.h"
#include "constraints/resolvers/CameraMath.h"
#include "constraints/resolvers/Resolvers.h"

#include <boost/make_shared.hpp>

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

// The camera attributes of the target, in reading order: the screen window, then the fov.
const std::vector<std::string> kCameraNames = {"left", "right", "bottom", "top", "fov"};

void computeCameraScreenWindowSample(const Qn::GroupAttribute& constraintGroup,
                                     Qn::VexilCookInterface& cookInterface, const XformSamples& baseSamples,
                                     const std::string&, const XformSamplesList& targetSamples,
                                     const TargetPaths& targetPaths, ResolvedCache& resolvedCache,
                                     float sampleTime, MatrixSamples& samplesOut) {
    // A double distance is rejected like a missing one: only a float is accepted.
    const Qn::FloatAttribute distanceAttr(constraintGroup.getChildByName("args.distance"));
    if (!distanceAttr.isValid())
        throw std::runtime_error("CameraScreenWindow constraint resolver: empty args.distance.");
    const float distance = distanceAttr.getValue();

    const std::string planeType =
        Qn::StringAttribute(constraintGroup.getChildByName("args.planeType")).getValue(std::string(), false);
    if (planeType.empty())
        throw std::runtime_error("CameraScreenWindow constraint resolver: empty args.planeType.");

    if (targetPaths.empty())
        throw std::runtime_error("CameraScreenWindow constraint resolver: no target location path.");

    Qn::DoubleAttribute attrs[5];
    for (size_t i = 0; i < kCameraNames.size(); ++i) {
        attrs[i] = getResolvedDoubleAttr(resolvedCache, cookInterface, targetPaths[0],
                                         "geometry." + kCameraNames[i]);
    }
    for (int i = 0; i < 4; ++i) {
        if (!attrs[i].isValid())
            throw std::runtime_error(
                "CameraScreenWindow constraint resolver: cannot get screen window geometry on target.");
    }
    if (!attrs[4].isValid())
        throw std::runtime_error(
            "CameraScreenWindow constraint resolver: cannot get fov attribute on target.");
    ScreenWindow window;
    window.left = attrs[0].getValue();
    window.right = attrs[1].getValue();
    window.bottom = attrs[2].getValue();
    window.top = attrs[3].getValue();
    const double fov = attrs[4].getValue();

    // These three texts carry the Scale resolver's wording; scene tools match them as they are.
    const Imath::M44d* base = findSample(baseSamples, sampleTime);
    if (!base)
        throw std::runtime_error("Scale constraint resolver: incorrect time samples for base xform");
    if (targetSamples.empty())
        throw std::runtime_error("Scale constraint resolver: no target xform");
    const Imath::M44d* camera = findSample(targetSamples[0], sampleTime);
    if (!camera)
        throw std::runtime_error("Scale constraint resolver: incorrect time samples for target xform");

    samplesOut[sampleTime] =
        matrixValues(cameraScreenWindowMatrix(*base, *camera, distance, window, fov, planeType == "XZ"));
}

class CameraScreenWindowConstraintResolver
    : public DrivenConstraintResolver<&computeCameraScreenWindowSample> {
public:
    using DrivenConstraintResolver::DrivenConstraintResolver;

    // An animated screen window or fov on a target camera animates the card.
    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string&,
                        const TargetPaths& targetPaths, ResolvedCache& resolvedCache,
                        SampleTimes& sampleTimes) override {
        for (const std::string& path : targetPaths) {
            for (const std::string& name : kCameraNames) {
                addAnimatedSampleTimes(resolvedCache, cookInterface, path, {"geometry." + name}, sampleTimes);
            }
        }
    }
};

} // namespace

ConstraintResolverPtr createCameraScreenWindowConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<CameraScreenWindowConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
