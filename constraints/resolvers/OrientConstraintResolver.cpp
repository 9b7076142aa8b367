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

// The target orientation argument; throws when it is missing or empty.
std::string readOrientation(const Qn::GroupAttribute& constraintGroup) {
    std::string orientation =
        Qn::StringAttribute(constraintGroup.getChildByName(kOrientation.name)).getValue(std::string(), false);
    if (orientation.empty())
        ResolverChecks(kKind).failEmptyArgument(kOrientation.name);
    return orientation;
}

// The face index argument; throws when it is missing or holds no value.
int32_t readFaceIndex(const Qn::GroupAttribute& constraintGroup) {
    const Qn::IntAttribute faceIndexAttr(constraintGroup.getChildByName(kFaceIndex.name));
    if (!faceIndexAttr.isValid())
        ResolverChecks(kKind).failEmptyArgument(kFaceIndex.name);
    return faceIndexAttr.getValue();
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
    /// Every argument is read here once; each failure is reported where a sample first needs the value.
    explicit OrientConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : PerSampleConstraintResolver(kKind, constraintGroup),
          m_orientation([&] { return readOrientation(m_constraintGroup); }),
          m_faceIndex([&] { return readFaceIndex(m_constraintGroup); }) {
        const ConstraintArguments arguments(m_constraintGroup);
        m_axes = {getAxisFlag(arguments, kXAxis.name), getAxisFlag(arguments, kYAxis.name),
                  getAxisFlag(arguments, kZAxis.name)};
    }

private:
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        // A face frame moves with the target's points, exactly as a face origin mode does.
        const std::string orientation =
            Qn::StringAttribute(m_constraintGroup.getChildByName(kOrientation.name))
                .getValue(std::string(), false);
        if (orientation == "face")
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

        const std::string& orientation = m_orientation.get();
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
            targetAngles = faceAngles(checks(), m_faceIndex.get(), inputs.cookInterface,
                                      inputs.targetPaths.front(), sampleTime);
        } else {
            checks().fail("unknown targetOrientation '" + orientation + "'.");
        }

        const Imath::V3d angles = mixEulerAngles(baseParts->rotation, normalizeEulerAngles(targetAngles),
                                                 m_axes[0], m_axes[1], m_axes[2]);
        return orientConstraintMatrix(base, *baseParts, angles);
    }

    const ReadOnce<std::string> m_orientation;
    const ReadOnce<int32_t> m_faceIndex;
    std::array<bool, 3> m_axes{{true, true, true}};
};

} // namespace

ConstraintKind orientConstraintKind() {
    return {&createResolver<OrientConstraintResolver>, {kOrientation, kFaceIndex, kXAxis, kYAxis, kZAxis}};
}

} // namespace Private
} // namespace Vexil3Constraints
