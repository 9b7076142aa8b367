// The FOV constraint: sets the field of view of the base camera to the smallest one at which every
// target (its bounding-box corners, or its bounding sphere) lies inside the camera's frustum at every
// sample time, plus `args.angleOffset` degrees. It writes `geometry.fov` instead of a transform.
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolvers/CameraInputs.h"
#include "constraints/resolvers/CameraMath.h"
#include "constraints/resolvers/Resolvers.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

enum class BoundFit { Box, Sphere };

BoundFit readBoundFit(const Qn::GroupAttribute& constraintGroup) {
    const std::string targetBounds = Qn::StringAttribute(constraintGroup.getChildByName("args.targetBounds"))
                                         .getValue(std::string(), false);
    if (targetBounds.empty())
        throw std::runtime_error("FOV constraint resolver: empty args.targetBounds.");
    if (targetBounds == "box")
        return BoundFit::Box;
    if (targetBounds == "sphere")
        return BoundFit::Sphere;
    throw std::runtime_error("FOV constraint resolver: unsupported target bound type '" + targetBounds +
                             "'. Use 'sphere' or 'box' target bound type instead.");
}

// The tangent of the half field of view that holds every target at one sample time.
double fitSample(BoundFit fit, Qn::VexilCookInterface& cookInterface, const XformSamples& baseSamples,
                 const std::string& baseLocation, const XformSamplesList& targetSamples,
                 const TargetPaths& targetPaths, ResolvedCache& resolvedCache, float sampleTime) {
    const Imath::M44d* base = findSample(baseSamples, sampleTime);
    if (!base)
        throw std::runtime_error("FOV constraint resolver: incorrect time samples for base xform");
    const CameraFrame frame = cameraFrame(*base, base->inverse(true));

    std::vector<std::array<Imath::V3d, 8>> targetCorners;
    const size_t count = std::min(targetSamples.size(), targetPaths.size());
    for (size_t i = 0; i < count; ++i) {
        const Imath::M44d* target = findSample(targetSamples[i], sampleTime);
        if (!target)
            throw std::runtime_error("FOV constraint resolver: incorrect time samples for target xform");
        targetCorners.push_back(worldBoundCorners(cookInterface, targetPaths[i], *target, sampleTime));
    }

    const std::optional<ScreenWindow> window =
        getScreenWindowAtTime(resolvedCache, cookInterface, baseLocation, sampleTime);
    if (!window)
        throw std::runtime_error(
            "FOV constraint resolver: error getting screen window geometry from base location.");
    // Zooming scales the window about the view axis: a window edge at or past the origin could never
    // reach a target on that side.
    if (!(window->left < 0.0 && window->right > 0.0 && window->bottom < 0.0 && window->top > 0.0))
        throw std::runtime_error("FOV constraint resolver: screen window must contain the origin.");

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
            throw std::runtime_error("FOV constraint resolver: target (" + targetPaths[i] +
                                     ") is not entirely in front of the camera.");
        tangent = std::max(tangent, *needed);
    }
    return tangent;
}

class FOVConstraintResolver : public ConstraintResolver {
public:
    using ConstraintResolver::ConstraintResolver;

    // Animated bounds, and an animated screen window of the camera, add their times.
    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                        const TargetPaths& targetPaths, ResolvedCache& resolvedCache,
                        SampleTimes& sampleTimes) override {
        addBoundSampleTimes(cookInterface, targetPaths, 2, sampleTimes);
        addAnimatedSampleTimes(resolvedCache, cookInterface, locationPath,
                               std::vector<std::string>(kScreenWindowNames.begin(), kScreenWindowNames.end()),
                               sampleTimes);
    }

    // One fov for all sample times: the widest that any of them needs.
    Qn::GroupAttribute resolve(const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                               const XformSamples& baseSamples, const std::string& baseLocation,
                               const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                               ResolvedCache& resolvedCache, OutputAttributes& outputAttributes) override {
        const BoundFit fit = readBoundFit(m_constraintGroup);
        const float angleOffset =
            Qn::FloatAttribute(m_constraintGroup.getChildByName("args.angleOffset")).getValue(0.0f, false);

        double tangent = 0.0;
        for (float sampleTime : sampleTimes) {
            tangent = std::max(tangent, fitSample(fit, cookInterface, baseSamples, baseLocation,
                                                  targetSamples, targetPaths, resolvedCache, sampleTime));
        }
        const double fov = fovDegreesFromTangent(tangent) + static_cast<double>(angleOffset);
        if (fov == 0.0) {
            addResolverWarning(outputAttributes,
                               "FOV constraint resolver: resolved to FOV of 0.0.  Skipping.");
        } else if (!(fov > 0.0 && fov < 180.0)) {
            throw std::runtime_error(
                "FOV constraint resolver: fov + angleOffset must be greater than zero and less than 180.");
        } else {
            outputAttributes["geometry.fov"] = Qn::DoubleAttribute(fov);
        }
        return Qn::GroupBuilder().build();
    }
};

} // namespace

ConstraintResolverPtr createFOVConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<FOVConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
