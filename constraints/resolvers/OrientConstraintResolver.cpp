// The Orient constraint: gives the base the orientation of its first target (its transform, or a
// frame built from one of its faces), axis by axis, keeping the base's position, scale and shear.
#include "constraints/resolve/ConstraintArguments.h"
#include "constraints/resolve/ConstraintResolver.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/Resolvers.h"
#include "constraints/resolvers/TransformMath.h"

#include <Imath/ImathMatrixAlgo.h>
#include <boost/make_shared.hpp>

#include <array>
#include <optional>
#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

const char* const kOrientationArg = "args.targetOrientation";

// The face index argument; throws when it is missing or holds no value.
int32_t readFaceIndex(const Qn::GroupAttribute& constraintGroup) {
    const Qn::IntAttribute faceIndexAttr(constraintGroup.getChildByName("args.targetFaceIndex"));
    if (!faceIndexAttr.isValid())
        throw std::runtime_error("Orient constraint resolver: empty args.targetFaceIndex.");
    return faceIndexAttr.getValue();
}

// The XYZ Euler angles (radians) of the frame of face `faceIndex` of `targetPath`, in its local space.
Imath::V3d faceAngles(int32_t faceIndex, Qn::VexilCookInterface& cookInterface, const std::string& targetPath,
                      float sampleTime) {
    std::vector<Imath::V3d> points;
    try {
        points = getFacePoints(cookInterface, targetPath, faceIndex, sampleTime);
    } catch (const std::exception& e) {
        throw std::runtime_error(std::string("Orient constraint resolver: ") + e.what());
    }
    const std::optional<Imath::M44d> frame = faceFrameMatrix(points);
    if (!frame)
        throw std::runtime_error("Orient constraint resolver: Error creating rotation from face points.");
    Imath::V3d angles;
    Imath::extractEulerXYZ(*frame, angles);
    return angles;
}

// The target orientation argument; throws when it is missing or empty.
std::string readOrientation(const Qn::GroupAttribute& constraintGroup) {
    std::string orientation =
        Qn::StringAttribute(constraintGroup.getChildByName(kOrientationArg)).getValue(std::string(), false);
    if (orientation.empty())
        throw std::runtime_error("Orient constraint resolver: empty args.targetOrientation.");
    return orientation;
}

/// The arguments of one constraint, each read where the first sample would first read it and kept
/// for the others: every sample reads the same values, so the first failing check still decides.
struct OrientArguments {
    std::optional<std::string> orientation;
    std::optional<int32_t> faceIndex;
    std::optional<std::array<bool, 3>> axes;
};

Imath::M44d computeOrientSample(const Qn::GroupAttribute& constraintGroup, OrientArguments& args,
                                Qn::VexilCookInterface& cookInterface, const XformSamples& baseSamples,
                                const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                                float sampleTime) {
    const Imath::M44d* base = findSample(baseSamples, sampleTime);
    if (!base)
        throw std::runtime_error("Orient constraint resolver: incorrect time samples for base xform");
    // Only the first target counts; the others need not have a sample at this time.
    if (targetSamples.empty() || targetPaths.empty())
        throw std::runtime_error("Orient constraint resolver: no target xform");
    const Imath::M44d* target = findSample(targetSamples.front(), sampleTime);
    if (!target)
        throw std::runtime_error("Orient constraint resolver: incorrect time samples for target xform");

    const std::optional<ScaleShearRotation> baseParts = decomposeScaleShearRotation(*base);
    if (!baseParts)
        throw std::runtime_error("Orient constraint resolver: Imath detected zero scale in base matrix row");

    if (!args.orientation)
        args.orientation = readOrientation(constraintGroup);
    const std::string& orientation = *args.orientation;

    Imath::V3d targetAngles;
    if (orientation == "object") {
        const std::optional<ScaleShearRotation> targetParts = decomposeScaleShearRotation(*target);
        if (!targetParts)
            throw std::runtime_error(
                "Orient constraint resolver: Imath detected zero scale in target matrix row");
        targetAngles = targetParts->rotation;
    } else if (orientation == "face") {
        // The face frame is in the target's local space and is deliberately not multiplied by its
        // world transform.
        if (!args.faceIndex)
            args.faceIndex = readFaceIndex(constraintGroup);
        targetAngles = faceAngles(*args.faceIndex, cookInterface, targetPaths.front(), sampleTime);
    } else {
        throw std::runtime_error("Orient constraint resolver: unknown targetOrientation '" + orientation +
                                 "'.");
    }

    if (!args.axes) {
        const ConstraintArguments arguments(constraintGroup);
        args.axes =
            std::array<bool, 3>{getAxisFlag(arguments, "args.xAxis"), getAxisFlag(arguments, "args.yAxis"),
                                getAxisFlag(arguments, "args.zAxis")};
    }
    const std::array<bool, 3>& axes = *args.axes;
    const Imath::V3d angles =
        mixEulerAngles(baseParts->rotation, normalizeEulerAngles(targetAngles), axes[0], axes[1], axes[2]);
    return orientConstraintMatrix(*base, *baseParts, angles);
}

class OrientConstraintResolver : public ConstraintResolver {
public:
    using ConstraintResolver::ConstraintResolver;

    void addTimeSamples(Qn::VexilCookInterface& cookInterface, const std::string&,
                        const TargetPaths& targetPaths, ResolvedCache&, SampleTimes& sampleTimes) override {
        const std::string orientation = Qn::StringAttribute(m_constraintGroup.getChildByName(kOrientationArg))
                                            .getValue(std::string(), false);
        // A face frame moves with the target's points, exactly as a face origin mode does.
        if (orientation == "face")
            addTargetOriginSampleTimes("faceCenterAverage", cookInterface, targetPaths, sampleTimes);
    }

    Qn::GroupAttribute resolve(const SampleTimes& sampleTimes, Qn::VexilCookInterface& cookInterface,
                               const XformSamples& baseSamples, const std::string&,
                               const XformSamplesList& targetSamples, const TargetPaths& targetPaths,
                               ResolvedCache&, OutputAttributes&) override {
        OrientArguments args;
        return resolveMatricesAtSampleTimes(m_constraintGroup, sampleTimes, [&](float sampleTime) {
            return computeOrientSample(m_constraintGroup, args, cookInterface, baseSamples, targetSamples,
                                       targetPaths, sampleTime);
        });
    }
};

} // namespace

ConstraintResolverPtr createOrientConstraintResolver(const Qn::GroupAttribute& constraintGroup) {
    return boost::make_shared<OrientConstraintResolver>(constraintGroup);
}

} // namespace Private
} // namespace Vexil3Constraints
