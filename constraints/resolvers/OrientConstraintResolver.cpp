// The Orient constraint: gives the base the orientation of its first target (its transform, or a
// frame built from one of its faces), axis by axis, keeping the base's position, scale and shear.
#include "constraints/resolve/ConstraintArguments.h"
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/TransformMath.h"

#include <Imath/ImathMatrixAlgo.h>

#include <optional>
#include <stdexcept>
#include <string_view>

namespace Vexil3Constraints {
namespace Private {

namespace {

constexpr std::string_view kKind("Orient");

const EditableArgument kOrientation = choiceArgument("args.targetOrientation", "Target Orientation",
                                                     "Take the orientation of the first target's transform "
                                                     "(object) or of one of its faces (face).",
                                                     {"object", "face"});
const EditableArgument kFaceIndex = indexArgument(
    "args.targetFaceIndex", "Target Face Index",
    "The face of the first target whose orientation is taken when the target orientation is face.");
const EditableArgument kXAxis = switchArgument(
    "args.xAxis", "Follow X Rotation",
    "When on, the rotation about x follows the target; when off, the location keeps its own.", 1);
const EditableArgument kYAxis = switchArgument(
    "args.yAxis", "Follow Y Rotation",
    "When on, the rotation about y follows the target; when off, the location keeps its own.", 1);
const EditableArgument kZAxis = switchArgument(
    "args.zAxis", "Follow Z Rotation",
    "When on, the rotation about z follows the target; when off, the location keeps its own.", 1);

// The target orientation argument as written; empty when it is missing or not a string.
std::string orientationValue(const ConstraintArguments& arguments) {
    return Qn::StringAttribute(arguments.get(kOrientation.name)).getValue(std::string(), false);
}

// The face index argument; throws when it is missing or holds no value.
int32_t readFaceIndex(const ConstraintArguments& arguments) {
    const Qn::IntAttribute faceIndexAttr(arguments.get(kFaceIndex.name));
    if (!faceIndexAttr.isValid())
        ResolverChecks(kKind).failEmptyArgument(kFaceIndex.name);
    return faceIndexAttr.getValue();
}

/// The arguments of one constraint, read once per shared `args` value; each failure is kept and
/// reported where a sample first needs the value.
struct OrientArguments {
    ReadOnce<std::string> orientation;
    ReadOnce<int32_t> faceIndex;
    /// The orientation is "face": the target's points add their sample times.
    bool faceTimes = false;
    std::array<bool, 3> axes{{true, true, true}};
};

OrientArguments readOrientArguments(const ConstraintArguments& arguments) {
    const std::string orientation = orientationValue(arguments);
    return OrientArguments{ReadOnce<std::string>([&] {
                               if (orientation.empty())
                                   ResolverChecks(kKind).failEmptyArgument(kOrientation.name);
                               return orientation;
                           }),
                           ReadOnce<int32_t>([&] { return readFaceIndex(arguments); }),
                           orientation == "face",
                           {{getAxisFlag(arguments, kXAxis.name), getAxisFlag(arguments, kYAxis.name),
                             getAxisFlag(arguments, kZAxis.name)}}};
}

// The XYZ Euler angles (radians) of the frame of face `faceIndex` of `targetPath`, in its local space.
Imath::V3d faceAngles(const ResolverChecks& checks, int32_t faceIndex, Qn::VexilCookInterface& cookInterface,
                      const std::string& targetPath, float sampleTime) {
    std::vector<Imath::V3d> points;
    try {
        points = getFacePoints(cookInterface, targetPath, faceIndex, sampleTime);
    } catch (const std::exception& e) {
        checks.fail(e.what());
    }
    const std::optional<Imath::M44d> frame = faceFrameMatrix(points);
    if (!frame)
        checks.fail("Error creating rotation from face points.");
    Imath::V3d angles;
    Imath::extractEulerXYZ(*frame, angles);
    return angles;
}

class OrientConstraintResolver : public PerSampleConstraintResolver {
public:
    OrientConstraintResolver(const Qn::GroupAttribute& constraintGroup, const ResolverSetup& setup)
        : PerSampleConstraintResolver(kKind, constraintGroup),
          m_args(readKindArguments(setup, m_constraintGroup, &readOrientArguments)) {}

private:
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        // A face frame moves with the target's points, exactly as a face origin mode does.
        if (m_args.faceTimes)
            addTargetOriginSampleTimes("faceCenterAverage", scene.cookInterface, scene.targetPaths,
                                       sampleTimes);
    }

    Imath::M44d computeSample(const ConstraintInputs& inputs, float sampleTime) const override {
        const Imath::M44d& base = checks().baseAt(inputs, sampleTime);
        // Only the first target counts; the others need not have a sample at this time.
        if (inputs.targetSamples.empty() || inputs.targetPaths.empty())
            checks().fail("no target xform");
        const Imath::M44d* target = findSample(inputs.targetSamples.front(), sampleTime);
        if (!target)
            checks().fail("incorrect time samples for target xform");

        const std::optional<ScaleShearRotation> baseParts = decomposeScaleShearRotation(base);
        if (!baseParts)
            checks().fail("Imath detected zero scale in base matrix row");

        const std::string& orientation = m_args.orientation.get();
        Imath::V3d targetAngles;
        if (orientation == "object") {
            const std::optional<ScaleShearRotation> targetParts =
                decomposeScaleShearRotation(checks().usableTransform(*target, inputs.targetPaths.front()));
            if (!targetParts)
                checks().fail("Imath detected zero scale in target matrix row");
            targetAngles = targetParts->rotation;
        } else if (orientation == "face") {
            // The face frame is in the target's local space and is deliberately not multiplied by its
            // world transform.
            targetAngles = faceAngles(checks(), m_args.faceIndex.get(), inputs.cookInterface,
                                      inputs.targetPaths.front(), sampleTime);
        } else {
            checks().fail("unknown targetOrientation '" + orientation + "'.");
        }

        const Imath::V3d angles = mixEulerAngles(baseParts->rotation, normalizeEulerAngles(targetAngles),
                                                 m_args.axes[0], m_args.axes[1], m_args.axes[2]);
        return orientConstraintMatrix(base, *baseParts, angles);
    }

    const OrientArguments m_args;
};

} // namespace

ConstraintKind orientConstraintKind() {
    return {&createResolver<OrientConstraintResolver>, {kOrientation, kFaceIndex, kXAxis, kYAxis, kZAxis}};
}

} // namespace Private
} // namespace Vexil3Constraints
