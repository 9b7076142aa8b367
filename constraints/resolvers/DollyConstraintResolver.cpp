// The Dolly constraint: moves the base camera along its own view direction, without turning it, until
// the targets' bounding boxes (box corners, or bounding spheres) just fit inside its view frustum.
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/CameraInputs.h"
#include "constraints/resolvers/CameraMath.h"

#include <algorithm>

namespace Vexil3Constraints {
namespace Private {

namespace {

const ResolverChecks kChecks("Dolly");

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
            kChecks.fail("error getting screen window geometry from base location.");
    }
    if (!fovAttr.isValid())
        kChecks.fail("error getting fov from base location.");
    double values[4];
    for (size_t i = 0; i < kScreenWindowNames.size(); ++i) {
        values[i] = windowAttrs[i].getValue();
    }
    const double fov = fovAttr.getValue();
    for (size_t i = 0; i < kScreenWindowNames.size(); ++i) {
        usableCameraValue(values[i], kScreenWindowNames[i], baseLocation);
    }
    usableCameraValue(fov, "geometry.fov", baseLocation);
    ScreenWindow window;
    window.left = values[0];
    window.right = values[1];
    window.bottom = values[2];
    window.top = values[3];
    const float angleOffset =
        Qn::FloatAttribute(constraintGroup.getChildByName("args.angleOffset")).getValue(0.0f, false);
    kChecks.requireUsable(valueProblem(&angleOffset, 1), "args.angleOffset");
    return dollyHalfAngles(window, fov, angleOffset);
}

Imath::M44d fitBoxes(const Qn::GroupAttribute& constraintGroup, const ConstraintInputs& inputs,
                     float sampleTime) {
    const Imath::M44d& base = kChecks.baseAt(inputs, sampleTime);
    const CameraFrame frame = cameraFrame(base, base.inverse());

    // Each corner of each target's bound is carried to world space as a point.
    std::vector<Imath::V3d> points;
    const size_t count = std::min(inputs.targetSamples.size(), inputs.targetPaths.size());
    for (size_t i = 0; i < count; ++i) {
        const Imath::M44d& target = kChecks.targetAt(inputs, i, sampleTime);
        for (const Imath::V3d& corner :
             worldBoundCorners(inputs.cookInterface, inputs.targetPaths[i], target, sampleTime)) {
            points.push_back(corner);
        }
    }

    const Imath::V3d pulledBack = pullBack(frame, points);
    const FrustumHalfAngles angles =
        readHalfAngles(constraintGroup, inputs.cookInterface, inputs.baseLocation, inputs.resolvedCache);
    const double move = dollyBoxMove(frame, pulledBack, angles, points);
    return dollyMatrix(base, pulledBack + frame.view * move);
}

Imath::M44d fitSpheres(const Qn::GroupAttribute& constraintGroup, const ConstraintInputs& inputs,
                       float sampleTime) {
    const Imath::M44d& base = kChecks.baseAt(inputs, sampleTime);
    const CameraFrame frame = cameraFrame(base, base.inverse());

    std::vector<Sphere> spheres;
    Imath::Box3d overall;
    const size_t count = std::min(inputs.targetSamples.size(), inputs.targetPaths.size());
    for (size_t i = 0; i < count; ++i) {
        // The run of 28 blanks inside this text is part of it; scene tools match it as it is.
        const Imath::M44d& target = kChecks.targetAt(inputs, i, sampleTime,
                                                     "incorrect time samples for                     "
                                                     "       target xform");
        const std::array<Imath::V3d, 8> corners =
            worldBoundCorners(inputs.cookInterface, inputs.targetPaths[i], target, sampleTime);
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
        readHalfAngles(constraintGroup, inputs.cookInterface, inputs.baseLocation, inputs.resolvedCache);
    // With no targets the camera goes to the world origin, unlike the box fitting.
    const Imath::V3d position =
        dollySpherePosition(frame, pulledBack, frustumSideNormals(frame, angles), spheres);
    return dollyMatrix(base, position);
}

class DollyConstraintResolver : public PerSampleConstraintResolver {
public:
    explicit DollyConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : PerSampleConstraintResolver(kChecks.kind(), constraintGroup) {}

private:
    // Only animated bounds add times; an animated screen window or fov on the camera does not.
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        addBoundSampleTimes(scene.cookInterface, scene.targetPaths, 2, sampleTimes);
    }

    Imath::M44d computeSample(const ConstraintInputs& inputs, float sampleTime) const override {
        const std::string targetBounds =
            getRequiredStringArg(m_constraintGroup, std::string(kChecks.kind()), "args.targetBounds");
        if (targetBounds == "box")
            return fitBoxes(m_constraintGroup, inputs, sampleTime);
        if (targetBounds == "sphere")
            return fitSpheres(m_constraintGroup, inputs, sampleTime);
        // The doubled quote and the missing full stop are part of the text.
        checks().fail("unsupported target bound type '" + targetBounds +
                      "'. Use 'sphere'' or 'box' target bound type instead");
    }
};

} // namespace

ConstraintKind dollyConstraintKind() {
    return {&createResolver<DollyConstraintResolver>, {}};
}

} // namespace Private
} // namespace Vexil3Constraints
