// The Clipping constraint: sets the near and far clipping distances of the base camera so that its
// depth range just holds the targets' bounding boxes, widened by padding given in percent of the range.
// It writes `geometry.near` and `geometry.far` instead of a transform.
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

// A padding percentage at `sampleTime`; missing or not a float fails with `missingText`.
float readPad(const Qn::GroupAttribute& constraintGroup, const char* name, const char* missingText,
              float sampleTime) {
    const Qn::FloatAttribute pad(constraintGroup.getChildByName(name));
    if (!pad.isValid())
        throw std::runtime_error(missingText);
    float value = 0.0f;
    pad.fillInterpolatedValues(&value, 1, sampleTime, 0.0f, false);
    return value;
}

ClippingPlanes computeClippingSample(const Qn::GroupAttribute& constraintGroup,
                                     Qn::VexilCookInterface& cookInterface, const XformSamples& baseSamples,
                                     const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                                     float sampleTime) {
    const Imath::M44d* base = findSample(baseSamples, sampleTime);
    if (!base)
        throw std::runtime_error("Clipping constraint resolver: incorrect time samples for base xform");
    const ViewRay ray = clippingViewRay(*base);

    const float padNear = readPad(constraintGroup, "args.pad.near",
                                  "Clipping constraint resolver: no args.pad.near.", sampleTime);
    const float padFar = readPad(constraintGroup, "args.pad.far",
                                 "Clipping constraint resolver: no args.pad.far.", sampleTime);

    DepthRange range;
    const size_t count = std::min(targetSamples.size(), targetPaths.size());
    for (size_t i = 0; i < count; ++i) {
        const Imath::M44d* target = findSample(targetSamples[i], sampleTime);
        if (!target)
            throw std::runtime_error("Clipping constraint resolver: incorrect time samples for target xform");
        for (const Imath::V3d& corner :
             worldBoundCorners(cookInterface, targetPaths[i], *target, sampleTime)) {
            range.add(viewDepth(ray, corner));
        }
    }
    // With no targets the range stays 0 .. 0, and both planes end at the floor.
    return clippingPlanes(range.min(), range.max(), padNear, padFar);
}

class ClippingConstraintResolver : public ConstraintResolver {
public:
    using ConstraintResolver::ConstraintResolver;

    // Every bound sample time counts, a single one too.
    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string&,
                        const TargetPaths& targetPaths, ResolvedCache&, SampleTimes& sampleTimes) override {
        addBoundSampleTimes(cookInterface, targetPaths, 1, sampleTimes);
    }

    // The range over all sample times; a failing sample lets its error pass and writes nothing.
    Qn::GroupAttribute resolve(const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                               const XformSamples& baseSamples, const std::string&,
                               const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                               ResolvedCache&, OutputAttributes& outputAttributes) override {
        double nearDistance = 0.0;
        double farDistance = 0.0;
        bool first = true;
        for (float sampleTime : sampleTimes) {
            const ClippingPlanes planes = computeClippingSample(m_constraintGroup, cookInterface, baseSamples,
                                                                targetSamples, targetPaths, sampleTime);
            if (first) {
                nearDistance = planes.nearDistance;
                farDistance = planes.farDistance;
                first = false;
            } else {
                nearDistance = std::min(nearDistance, planes.nearDistance);
                farDistance = std::max(farDistance, planes.farDistance);
            }
        }
        outputAttributes["geometry.near"] = Qn::DoubleAttribute(nearDistance);
        outputAttributes["geometry.far"] = Qn::DoubleAttribute(farDistance);
        return Qn::GroupBuilder().build();
    }
};

} // namespace

ConstraintResolverPtr createClippingConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<ClippingConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
