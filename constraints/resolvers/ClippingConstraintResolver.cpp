// The Clipping constraint: sets the near and far clipping distances of the base camera so that its
// depth range just holds the targets' bounding boxes, widened by padding given in percent of the range.
// It writes `geometry.near` and `geometry.far` instead of a transform.
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolvers/CameraInputs.h"
#include "constraints/resolvers/CameraMath.h"

#include <algorithm>

namespace Vexil3Constraints {
namespace Private {

namespace {

class ClippingConstraintResolver : public ConstraintResolver {
public:
    explicit ClippingConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : ConstraintResolver("Clipping", constraintGroup) {}

private:
    // Every bound sample time counts, a single one too.
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        addBoundSampleTimes(scene.cookInterface, scene.targetPaths, 1, sampleTimes);
    }

    // One near and far for all sample times: the range that holds the targets at every one of them.
    ConstraintResult compute(const ConstraintInputs& inputs) const override {
        double nearDistance = 0.0;
        double farDistance = 0.0;
        bool first = true;
        for (float sampleTime : inputs.sampleTimes) {
            const ClippingPlanes planes = computeSample(inputs, sampleTime);
            if (first) {
                nearDistance = planes.nearDistance;
                farDistance = planes.farDistance;
                first = false;
            } else {
                nearDistance = std::min(nearDistance, planes.nearDistance);
                farDistance = std::max(farDistance, planes.farDistance);
            }
        }
        ConstraintResult result = ConstraintResult::cameraValues();
        result.setCameraValue("geometry.near", nearDistance);
        result.setCameraValue("geometry.far", farDistance);
        return result;
    }

    // A padding percentage at `sampleTime`; missing or not a float fails with "no <name>.".
    float readPad(const char* name, float sampleTime) const {
        const Qn::FloatAttribute pad(m_constraintGroup.getChildByName(name));
        if (!pad.isValid())
            checks().fail(std::string("no ") + name + ".");
        float value = 0.0f;
        pad.fillInterpolatedValues(&value, 1, sampleTime, 0.0f, false);
        checks().requireUsable(valueProblem(&value, 1), name);
        return value;
    }

    ClippingPlanes computeSample(const ConstraintInputs& inputs, float sampleTime) const {
        const ViewRay ray = clippingViewRay(checks().baseAt(inputs, sampleTime));
        const float padNear = readPad("args.pad.near", sampleTime);
        const float padFar = readPad("args.pad.far", sampleTime);

        DepthRange range;
        const size_t count = std::min(inputs.targetSamples.size(), inputs.targetPaths.size());
        for (size_t i = 0; i < count; ++i) {
            const Imath::M44d& target = checks().targetAt(inputs, i, sampleTime);
            for (const Imath::V3d& corner :
                 worldBoundCorners(inputs.cookInterface, inputs.targetPaths[i], target, sampleTime)) {
                range.add(viewDepth(ray, corner));
            }
        }
        // With no targets the range stays 0 .. 0, and both planes end at the floor.
        return clippingPlanes(range.min(), range.max(), padNear, padFar);
    }
};

} // namespace

ConstraintKind clippingConstraintKind() {
    return {&createResolver<ClippingConstraintResolver>, {}};
}

} // namespace Private
} // namespace Vexil3Constraints
