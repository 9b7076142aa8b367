// The Billboard constraint: turns the base about its local rotate axis so that its local aim axis
// faces the average target point as nearly as that single turn allows.
#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/MirrorAndScaleMath.h"
#include "constraints/resolvers/Resolvers.h"

#include <boost/make_shared.hpp>

#include <optional>
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

/// The two axes of one constraint, read once the first sample needs them.
struct BillboardAxes {
    Imath::V3d aimAxis;
    Imath::V3d rotateAxis;
};

/// Reads the axes in the order a sample does: the aim axis first.
BillboardAxes readBillboardAxes(const Qn::GroupAttribute& constraintGroup) {
    BillboardAxes axes;
    axes.aimAxis = getFloat3Attr(constraintGroup, "args.baseAimAxis");
    axes.rotateAxis = getFloat3Attr(constraintGroup, "args.baseRotateAxis");
    return axes;
}

Imath::V3d averageTargetPoint(Qn::VexilCookInterface& cookInterface, const std::string& mode,
                              const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                              float sampleTime) {
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
    return sum / static_cast<double>(targetPaths.size());
}

/// Adds the sample times of the targets' animated bounds when the origin is "boundingBox".
class BillboardConstraintResolver : public ConstraintResolver {
public:
    using ConstraintResolver::ConstraintResolver;

    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string&,
                        const TargetPaths& targetPaths, ResolvedCache&, SampleTimes& sampleTimes) override {
        const std::string mode = getTargetOriginArg(m_constraintGroup, kType);
        if (mode == kBoundingBox) {
            addTargetOriginSampleTimes(mode, cookInterface, targetPaths, sampleTimes);
        }
    }

    Qn::GroupAttribute resolve(const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                               const XformSamples& baseSamples, const std::string&,
                               const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                               ResolvedCache&, OutputAttributes&) override {
        // Each argument is read where the first sample would first read it, then kept for the others.
        std::optional<std::string> mode;
        std::optional<BillboardAxes> axes;
        return resolveMatricesAtSampleTimes(m_constraintGroup, sampleTimes, [&](float sampleTime) {
            if (!mode) {
                mode = getTargetOriginArg(m_constraintGroup, kType);
            }
            const Imath::M44d* base = findSample(baseSamples, sampleTime);
            if (!base) {
                throw std::runtime_error(
                    "Billboard constraint resolver: incorrect time samples for base xform");
            }
            if (targetPaths.size() != targetSamples.size()) {
                throw std::runtime_error("Billboard constraint internal error: targetLocationPaths.size() != "
                                         "targetXformVector.size().");
            }
            const Imath::V3d targetPoint =
                averageTargetPoint(cookInterface, *mode, targetSamples, targetPaths, sampleTime);
            if (!axes) {
                axes = readBillboardAxes(m_constraintGroup);
            }
            return billboardConstraintMatrix(*base, axes->aimAxis, axes->rotateAxis, targetPoint);
        });
    }
};

} // namespace

ConstraintResolverPtr createBillboardConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<BillboardConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
