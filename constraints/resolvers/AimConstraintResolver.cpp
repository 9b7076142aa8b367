// The Aim constraint: turns the base about its own position so that its aim axis points at the
// average target origin and its up axis turns towards a world up direction.
#include "constraints/resolve/ConstraintArguments.h"
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/Resolvers.h"
#include "constraints/resolvers/TransformMath.h"

#include <boost/make_shared.hpp>

#include <optional>
#include <stdexcept>
#include <string_view>

namespace Vexil3Constraints {
namespace Private {

namespace {

constexpr std::string_view kType("Aim");
constexpr std::string_view kTargetOrigin("args.targetOrigin");

/// The axes of one constraint, read once they are first needed.
struct AimAxes {
    Imath::V3d aimAxis;
    Imath::V3d upAxis;
    Imath::V3d targetUpAxis;
};

/// Reads and checks the axes in the order a sample does: the zero checks of the base axes come before
/// the target up axis is read.
AimAxes readAimAxes(const Qn::GroupAttribute& constraintGroup) {
    AimAxes axes;
    axes.aimAxis = getFloat3Attr(constraintGroup, "args.baseAimAxis");
    axes.upAxis = getFloat3Attr(constraintGroup, "args.baseUpAxis");
    checkAimAndUpAxes(axes.aimAxis, axes.upAxis);
    axes.targetUpAxis = getFloat3Attr(constraintGroup, "args.targetUpAxis");
    return axes;
}

class AimConstraintResolver : public ConstraintResolver {
public:
    /// The target origin is read once, here: the time samples and every sample need it.
    explicit AimConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : ConstraintResolver(constraintGroup),
          m_targetOrigin(findOriginMode(m_constraintGroup, kTargetOrigin)) {}

    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string&,
                        const TargetPaths& targetPaths, ResolvedCache&, SampleTimes& sampleTimes) override {
        addTargetOriginSampleTimes(requireOriginMode(m_targetOrigin, kType, kTargetOrigin), cookInterface,
                                   targetPaths, sampleTimes);
    }

    Qn::GroupAttribute resolve(const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                               const XformSamples& baseSamples, const std::string&,
                               const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                               ResolvedCache&, OutputAttributes&) override {
        // The axes are read where the first sample would first read them, then kept: every sample
        // reads the same values, so the first failing check of the first sample still decides.
        std::optional<AimAxes> axes;
        return resolveMatricesAtSampleTimes(m_constraintGroup, sampleTimes, [&](float sampleTime) {
            const OriginMode targetOrigin = requireOriginMode(m_targetOrigin, kType, kTargetOrigin);

            const Imath::M44d* base = findSample(baseSamples, sampleTime);
            if (!base)
                throw std::runtime_error("Aim constraint resolver: incorrect time samples for base xform");
            if (targetPaths.size() != targetSamples.size())
                throw std::runtime_error(
                    "Aim constraint internal error: targetLocationPaths.size() != targetXformVector.size().");

            Imath::V3d targetPoint;
            try {
                targetPoint = computeTargetOrigin(targetOrigin, targetSamples, cookInterface, targetPaths,
                                                  true, sampleTime);
            } catch (const std::exception& e) {
                throw std::runtime_error(std::string("Aim constraint resolver target: ") + e.what());
            }

            if (!axes)
                axes = readAimAxes(m_constraintGroup);
            return aimConstraintMatrix(*base, targetPoint, axes->aimAxis, axes->upAxis, axes->targetUpAxis);
        });
    }

private:
    const std::optional<OriginMode> m_targetOrigin;
};

} // namespace

ConstraintResolverPtr createAimConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<AimConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
