// The Dolly constraint: moves the base camera along its own view direction, without turning it, until
// the targets' bounding boxes (box corners, or bounding spheres) just fit inside its view frustum.
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

// The frustum of the base camera: its own screen window and fov (as resolved), narrowed by
// `args.angleOffset` degrees.
FrustumHalfAngles readHalfAngles(const Qn::GroupAttribute& constraintGroup,
                                 Qn::VexilCookInterface& cookInterface, const std::string& baseLocation,
                                 ResolvedCache& resolvedCache) {
    Qn::DoubleAttribute windowAttrs[4];
    for (size_t i = 0; i < kScreenWindowNames.size(); ++i) {
        windowAttrs[i] =
            getResolvedDoubleAttr(resolvedCache, cookInterface, baseLocation, kScreenWindowNames[i]);
    }
    const Qn::DoubleAttribute fovAttr =
        getResolvedDoubleAttr(resolvedCache, cookInterface, baseLocation, "geometry.fov");
    for (const Qn::DoubleAttribute& attr : windowAttrs) {
        if (!attr.isValid())
            throw std::runtime_error(
                "Dolly constraint resolver: error getting screen window geometry from base location.");
    }
    if (!fovAttr.isValid())
        throw std::runtime_error("Dolly constraint resolver: error getting fov from base location.");
    ScreenWindow window;
    window.left = windowAttrs[0].getValue();
    window.right = windowAttrs[1].getValue();
    window.bottom = windowAttrs[2].getValue();
    window.top = windowAttrs[3].getValue();
    const double fov = fovAttr.getValue();
    const float angleOffset =
        Qn::FloatAttribute(constraintGroup.getChildByName("args.angleOffset")).getValue(0.0f, false);
    return dollyHalfAngles(window, fov, angleOffset);
}

const Imath::M44d& findBase(const XformSamples& baseSamples, float sampleTime) {
    const Imath::M44d* base = findSample(baseSamples, sampleTime);
    if (!base)
        throw std::runtime_error("Dolly constraint resolver: incorrect time samples for base xform");
    return *base;
}

Imath::M44d fitBoxes(const Qn::GroupAttribute& constraintGroup, Qn::VexilCookInterface& cookInterface,
                     const XformSamples& baseSamples, const std::string& baseLocation,
                     const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                     ResolvedCache& resolvedCache, float sampleTime) {
    const Imath::M44d& base = findBase(baseSamples, sampleTime);
    const CameraFrame frame = cameraFrame(base, base.inverse());

    // Each corner of each target's bound is carried to world space as a point.
    std::vector<Imath::V3d> points;
    const size_t count = std::min(targetSamples.size(), targetPaths.size());
    for (size_t i = 0; i < count; ++i) {
        const Imath::M44d* target = findSample(targetSamples[i], sampleTime);
        if (!target)
            throw std::runtime_error("Dolly constraint resolver: incorrect time samples for target xform");
        for (const Imath::V3d& corner :
             worldBoundCorners(cookInterface, targetPaths[i], *target, sampleTime)) {
            points.push_back(corner);
        }
    }

    const Imath::V3d pulledBack = pullBack(frame, points);
    const FrustumHalfAngles angles =
        readHalfAngles(constraintGroup, cookInterface, baseLocation, resolvedCache);
    const double move = dollyBoxMove(frame, pulledBack, angles, points);
    return dollyMatrix(base, pulledBack + frame.view * move);
}

Imath::M44d fitSpheres(const Qn::GroupAttribute& constraintGroup, Qn::VexilCookInterface& cookInterface,
                       const XformSamples& baseSamples, const std::string& baseLocation,
                       const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                       ResolvedCache& resolvedCache, float sampleTime) {
    const Imath::M44d& base = findBase(baseSamples, sampleTime);
    const CameraFrame frame = cameraFrame(base, base.inverse());

    std::vector<Sphere> spheres;
    Imath::Box3d overall;
    const size_t count = std::min(targetSamples.size(), targetPaths.size());
    for (size_t i = 0; i < count; ++i) {
        const Imath::M44d* target = findSample(targetSamples[i], sampleTime);
        // The run of blanks inside this text is part of it; scene tools match it as it is.
        if (!target)
            throw std::runtime_error(
                "Dolly constraint resolver: incorrect time samples for                     "
                "       target xform");
        const std::array<Imath::V3d, 8> corners =
            worldBoundCorners(cookInterface, targetPaths[i], *target, sampleTime);
        spheres.push_back(cornerSphere(corners));
        // The axis-aligned world box of the eight carried corners.
        for (const Imath::V3d& corner : corners) {
            overall.extendBy(corner);
        }
    }

    std::vector<Imath::V3d> overallCorners;
    if (!overall.isEmpty()) {
        const std::array<Imath::V3d, 8> corners = boxCorners(overall);
        overallCorners.assign(corners.begin(), corners.end());
    }
    const Imath::V3d pulledBack = pullBack(frame, overallCorners);
    const FrustumHalfAngles angles =
        readHalfAngles(constraintGroup, cookInterface, baseLocation, resolvedCache);
    // With no targets the camera goes to the world origin, unlike the box fitting.
    const Imath::V3d position =
        dollySpherePosition(frame, pulledBack, frustumSideNormals(frame, angles), spheres);
    return dollyMatrix(base, position);
}

void computeDollySample(const Qn::GroupAttribute& constraintGroup, Qn::VexilCookInterface& cookInterface,
                        const XformSamples& baseSamples, const std::string& baseLocation,
                        const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                        ResolvedCache& resolvedCache, float sampleTime, MatrixSamples& samplesOut) {
    const std::string targetBounds = Qn::StringAttribute(constraintGroup.getChildByName("args.targetBounds"))
                                         .getValue(std::string(), false);
    if (targetBounds.empty())
        throw std::runtime_error("Dolly constraint resolver: empty args.targetBounds.");
    Imath::M44d result;
    if (targetBounds == "box") {
        result = fitBoxes(constraintGroup, cookInterface, baseSamples, baseLocation, targetSamples,
                          targetPaths, resolvedCache, sampleTime);
    } else if (targetBounds == "sphere") {
        result = fitSpheres(constraintGroup, cookInterface, baseSamples, baseLocation, targetSamples,
                            targetPaths, resolvedCache, sampleTime);
    } else {
        // The doubled quote and the missing full stop are part of the text.
        throw std::runtime_error("Dolly constraint resolver: unsupported target bound type '" + targetBounds +
                                 "'. Use 'sphere'' or 'box' target bound type instead");
    }
    samplesOut[sampleTime] = matrixValues(result);
}

class DollyConstraintResolver : public DrivenConstraintResolver<&computeDollySample> {
public:
    using DrivenConstraintResolver::DrivenConstraintResolver;

    // Only animated bounds add times; an animated screen window or fov on the camera does not.
    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string&,
                        const TargetPaths& targetPaths, ResolvedCache&, SampleTimes& sampleTimes) override {
        addBoundSampleTimes(cookInterface, targetPaths, 2, sampleTimes);
    }
};

} // namespace

ConstraintResolverPtr createDollyConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<DollyConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
