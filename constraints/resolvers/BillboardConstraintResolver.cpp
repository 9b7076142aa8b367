// The Billboard constraint: turns the base about its local rotate axis so that its local aim axis
// faces the average target point as nearly as that single turn allows.
#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/MirrorAndScaleMath.h"
#include "constraints/resolvers/Resolvers.h"

#include <boost/make_shared.hpp>

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

const char* const kType = "Billboard";
const char* const kBoundingBox = "boundingBox";

// Billboard knows only two origins: the bounds centre, or (for every other mode, the face modes
// included) the local origin.
Imath::V3d localTargetPoint(Qn::VexilCookInterface& cookInterface, const std::string& mode,
                            const std::string& path, float sampleTime) {
    if (mode != kBoundingBox) {
        return Imath::V3d(0.0, 0.0, 0.0);
    }
    const Imath::Box3d box = Qn::VexilCookInterfaceUtils::getBoundsAtTime(
        Qn::VexilCookInterfaceUtils::getBoundAttr(cookInterface, path), sampleTime);
    return (box.min + box.max) * 0.5;
}

void computeBillboardSample(const Qn::GroupAttribute& constraintGroup, Qn::VexilCookInterface& cookInterface,
                            const XformSamples& baseSamples, const std::string&,
                            const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                            ResolvedCache&, float sampleTime, MatrixSamples& samplesOut) {
    const std::string mode = getTargetOriginArg(constraintGroup, kType);
    const Imath::M44d* base = findSample(baseSamples, sampleTime);
    if (!base) {
        throw std::runtime_error("Billboard constraint resolver: incorrect time samples for base xform");
    }
    if (targetPaths.size() != targetSamples.size()) {
        throw std::runtime_error(
            "Billboard constraint internal error: targetLocationPaths.size() != targetXformVector.size().");
    }

    Imath::V3d sum(0.0, 0.0, 0.0);
    for (size_t i = 0; i < targetPaths.size(); ++i) {
        const Imath::V3d local = localTargetPoint(cookInterface, mode, targetPaths[i], sampleTime);
        const Imath::M44d* target = findSample(targetSamples[i], sampleTime);
        if (!target) {
            throw std::runtime_error(
                "Billboard constraint resolver: incorrect time samples for target xform");
        }
        sum += transformAffinePoint(local, *target);
    }
    const Imath::V3d targetPoint = sum / static_cast<double>(targetPaths.size());

    const Imath::V3d aimAxis = getFloat3Attr(constraintGroup, "args.baseAimAxis");
    const Imath::V3d rotateAxis = getFloat3Attr(constraintGroup, "args.baseRotateAxis");
    samplesOut[sampleTime] = matrixValues(billboardConstraintMatrix(*base, aimAxis, rotateAxis, targetPoint));
}

/// Adds the sample times of the targets' animated bounds when the origin is "boundingBox".
class BillboardConstraintResolver : public DrivenConstraintResolver<&computeBillboardSample> {
public:
    using DrivenConstraintResolver::DrivenConstraintResolver;

    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string&,
                        const TargetPaths& targetPaths, ResolvedCache&, SampleTimes& sampleTimes) override {
        const std::string mode = getTargetOriginArg(m_constraintGroup, kType);
        if (mode == kBoundingBox) {
            addTargetOriginSampleTimes(mode, cookInterface, targetPaths, sampleTimes);
        }
    }
};

} // namespace

ConstraintResolverPtr createBillboardConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<BillboardConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
