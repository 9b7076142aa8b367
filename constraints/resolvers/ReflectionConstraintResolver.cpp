// The Reflection constraint: mirrors the base across the plane through three points of the first
// target: three points of one mesh face, or the first three control points of a NURBS patch.
#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolvers/MirrorAndScaleMath.h"

#include <algorithm>
#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

const ResolverChecks kChecks("Reflection");
const char* const kPatchType = "nurbspatch";
const char* const kFaceSetType = "faceset";
const char* const kPatchPoints = "geometry.point.Pw";
const char* const kMeshPoints = "geometry.point.P";

std::string locationType(Qn::VexilCookInterface& cookInterface, const std::string& path) {
    return cookInterface.getLocationType(path).getValue(std::string(), false);
}

// The path without its last component (trailing slashes ignored).
std::string parentPath(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos || slash == 0 ? std::string("/") : path.substr(0, slash);
}

// The first three control points of a patch, interpolated at the sample time like mesh points are.
std::vector<Imath::V3d> patchPlanePoints(Qn::VexilCookInterface& cookInterface, const std::string& path,
                                         float sampleTime) {
    std::vector<Imath::V3d> points;
    const Qn::FloatAttribute pw = cookInterface.getAttr(kPatchPoints, path);
    if (!pw.isValid()) {
        return points;
    }
    const int64_t tupleSize = pw.getTupleSize();
    if (tupleSize != 3 && tupleSize != 4) {
        return points;
    }
    const int64_t count = std::min<int64_t>(pw.getNumberOfValues(), 3 * tupleSize);
    std::vector<float> values(static_cast<size_t>(std::max<int64_t>(count, 0)));
    pw.fillInterpolatedValues(values.data(), count, sampleTime, 0.0f, true);
    if (!controlPlanePoints(values, tupleSize, points)) {
        kChecks.fail("control point weight is zero (" + path + ").");
    }
    for (const Imath::V3d& point : points) {
        const ValueProblem problem = valueProblem(&point.x, 3);
        if (problem != ValueProblem::None) {
            kChecks.requireUsable(problem, "a control point of " + path);
        }
    }
    return points;
}

std::vector<Imath::V3d> facePlanePoints(const Qn::GroupAttribute& constraintGroup,
                                        Qn::VexilCookInterface& cookInterface, const std::string& path,
                                        float sampleTime) {
    const Qn::IntAttribute faceIndexAttr = constraintGroup.getChildByName("args.targetFaceIndex");
    if (!faceIndexAttr.isValid()) {
        kChecks.failEmptyArgument("args.targetFaceIndex");
    }
    const Qn::SampleView<int32_t> faceIndex = faceIndexAttr.getNearestSample(0.0f);
    if (faceIndex.empty()) {
        throw std::runtime_error("Error getting int value from IntAttribute.");
    }
    try {
        return getFacePoints(cookInterface, path, faceIndex[0], sampleTime);
    } catch (const std::exception& e) {
        kChecks.fail(e.what());
    }
}

/// Adds the sample times of the first target's animated points: "geometry.point.Pw" of a patch,
/// otherwise "geometry.point.P" of the mesh (the parent mesh for a face set).
class ReflectionConstraintResolver : public PerSampleConstraintResolver {
public:
    explicit ReflectionConstraintResolver(const Qn::GroupAttribute& constraintGroup)
        : PerSampleConstraintResolver(kChecks.kind(), constraintGroup) {}

private:
    void addInputSampleTimes(const ConstraintScene& scene, SampleTimes& sampleTimes) const override {
        if (scene.targetPaths.empty()) {
            return;
        }
        const std::string& path = scene.targetPaths.front();
        const std::string type = locationType(scene.cookInterface, path);
        const Qn::FloatAttribute points =
            type == kPatchType
                ? scene.cookInterface.getAttr(kPatchPoints, path)
                : scene.cookInterface.getAttr(kMeshPoints, type == kFaceSetType ? parentPath(path) : path);
        if (points.isValid() && points.getNumberOfTimeSamples() >= 2) {
            for (float time : points.getSampleTimes()) {
                sampleTimes.insert(time);
            }
        }
    }

    Imath::M44d computeSample(const ConstraintInputs& inputs, float sampleTime) const override {
        checks().firstTargetSamples(inputs);
        if (inputs.targetPaths.empty()) {
            // Unlike the camera kinds' text, this one has no full stop.
            checks().fail("no target location path");
        }
        const Imath::M44d& base = checks().baseAt(inputs, sampleTime);
        // Only the first target counts.
        const Imath::M44d& target = checks().targetAt(inputs, 0, sampleTime);

        const std::string& path = inputs.targetPaths.front();
        const std::vector<Imath::V3d> points =
            locationType(inputs.cookInterface, path) == kPatchType
                ? patchPlanePoints(inputs.cookInterface, path, sampleTime)
                : facePlanePoints(m_constraintGroup, inputs.cookInterface, path, sampleTime);
        // A face of one or two points, or a patch with fewer control points (or another layout), spans
        // no plane; a further point of a face plays no part.
        if (points.size() < 3) {
            checks().fail("target has fewer than three plane points (" + path + ").");
        }
        return reflectionConstraintMatrix(base, target, points[0], points[1], points[2]);
    }
};

} // namespace

ConstraintKind reflectionConstraintKind() {
    return {&createResolver<ReflectionConstraintResolver>, {}};
}

} // namespace Private
} // namespace Vexil3Constraints
