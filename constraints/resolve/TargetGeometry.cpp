#include "constraints/resolve/TargetGeometry.h"

#include "PluginApis/src/QnVexil/op/QnVexilCookInterfaceUtils.h"
#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"
#include "constraints/resolve/FaceIterator.h"
#include "constraints/resolve/ResolverChecks.h"

#include <algorithm>
#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

const XformSamples kNoSamples;

// The matrix keyed exactly by `sampleTime`: the first key not less than it must not be greater.
const Imath::M44d& transformAt(const XformSamples& samples, float sampleTime, const std::string& path) {
    const auto it = samples.lower_bound(sampleTime);
    if (it == samples.end() || it->first > sampleTime)
        throw std::runtime_error("Incorrect time samples for xform (" + path + ").");
    const ValueProblem problem = valueProblem(it->second);
    if (problem != ValueProblem::None)
        requireUsable(problem, "Transform of " + path);
    return it->second;
}

Imath::V3d boundingBoxCentre(Qn::VexilCookInterface& cookInterface, const std::string& path,
                             float sampleTime) {
    const Qn::DoubleAttribute bound = Qn::VexilCookInterfaceUtils::getBoundAttr(cookInterface, path);
    if (!bound.isValid())
        throw std::runtime_error("Cannot get bounds attribute (" + path + ").");
    double values[6] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    try {
        bound.fillInterpolatedValues(values, 6, sampleTime, 0.0, true);
    } catch (const std::exception&) {
        // The missing opening parenthesis is part of the established message.
        throw std::runtime_error("Cannot get bounds attribute " + path + ").");
    }
    requireUsableBound(values, 6, path, "");
    return Imath::V3d((values[0] + values[1]) * 0.5, (values[2] + values[3]) * 0.5,
                      (values[4] + values[5]) * 0.5);
}

// The centre of the box of all points of all faces; (0,0,0) when there are none.
Imath::V3d faceBoundingBoxCentre(Qn::VexilCookInterface& cookInterface, const std::string& path,
                                 float sampleTime) {
    Imath::V3d boxMin(0.0, 0.0, 0.0);
    Imath::V3d boxMax(0.0, 0.0, 0.0);
    bool firstPoint = true;
    for (FaceIterator faces(cookInterface, path, sampleTime); faces.isValid(); faces.advance()) {
        for (const Imath::V3d& point : faces.getFacePoints()) {
            if (firstPoint) {
                boxMin = boxMax = point;
                firstPoint = false;
                continue;
            }
            for (int axis = 0; axis < 3; ++axis) {
                boxMin[axis] = std::min(boxMin[axis], point[axis]);
                boxMax[axis] = std::max(boxMax[axis], point[axis]);
            }
        }
    }
    return Imath::V3d((boxMin.x + boxMax.x) * 0.5, (boxMin.y + boxMax.y) * 0.5, (boxMin.z + boxMax.z) * 0.5);
}

// A point carried to world space by the divide of a matrix whose last column is zero, or beyond the
// largest constraint value, cannot stand for its location.
void requireUsableOrigin(const Imath::V3d& point, const std::string& path) {
    const ValueProblem problem = valueProblem(&point.x, 3);
    if (problem != ValueProblem::None)
        throw std::runtime_error("Origin of " + path + " " + std::string(describe(problem)) +
                                 " in world space.");
}

void insertSampleTimes(const Qn::DataAttribute& attr, SampleTimes& sampleTimes) {
    if (!attr.isValid() || attr.getNumberOfTimeSamples() < 2)
        return;
    for (float time : attr.getSampleTimes())
        sampleTimes.insert(time);
}

} // namespace

namespace {

/// Adds the origin votes of one target to `sum` and their number to `count`.
void addTargetOrigin(OriginMode mode, const XformSamples& samples, Qn::VexilCookInterface& cookInterface,
                     const std::string& path, bool applyTransform, float sampleTime, Imath::V3d& sum,
                     int32_t& count) {
    Imath::M44d matrix;
    if (applyTransform)
        matrix = transformAt(samples, sampleTime, path);

    if (mode == OriginMode::FaceCenterAverage) {
        // Every face centre is one vote, so a target weighs as many times as it has faces.
        std::vector<Imath::V3d> centres;
        for (FaceIterator faces(cookInterface, path, sampleTime); faces.isValid(); faces.advance())
            centres.push_back(faces.getFaceCenter());
        for (Imath::V3d centre : centres) {
            if (applyTransform) {
                matrix.multVecMatrix(Imath::V3d(centre), centre);
                requireUsableOrigin(centre, path);
            }
            sum += centre;
        }
        count += static_cast<int32_t>(centres.size());
        return;
    }

    Imath::V3d point(0.0, 0.0, 0.0); // "origin", and any mode not recognised
    if (mode == OriginMode::BoundingBox)
        point = boundingBoxCentre(cookInterface, path, sampleTime);
    else if (mode == OriginMode::FaceBoundingBox)
        point = faceBoundingBoxCentre(cookInterface, path, sampleTime);
    // Only the centre is transformed, not the box.
    if (applyTransform) {
        matrix.multVecMatrix(Imath::V3d(point), point);
        requireUsableOrigin(point, path);
    }
    sum += point;
    count += 1;
}

Imath::V3d average(const Imath::V3d& sum, int32_t count) {
    return count != 0 ? sum / static_cast<double>(count) : sum;
}

} // namespace

OriginMode originModeOf(std::string_view mode) {
    if (mode == "boundingBox")
        return OriginMode::BoundingBox;
    if (mode == "faceCenterAverage")
        return OriginMode::FaceCenterAverage;
    if (mode == "faceBoundingBox")
        return OriginMode::FaceBoundingBox;
    return OriginMode::Origin;
}

Imath::V3d computeTargetOrigin(const std::string& mode, const XformSamplesList& targetSamples,
                               Qn::VexilCookInterface& cookInterface, const TargetPaths& targetPaths,
                               bool applyTransform, float sampleTime) {
    return computeTargetOrigin(originModeOf(mode), targetSamples, cookInterface, targetPaths, applyTransform,
                               sampleTime);
}

Imath::V3d computeTargetOrigin(const std::string& mode, const XformSamples& targetSamples,
                               Qn::VexilCookInterface& cookInterface, const std::string& targetPath,
                               bool applyTransform, float sampleTime) {
    return computeTargetOrigin(originModeOf(mode), targetSamples, cookInterface, targetPath, applyTransform,
                               sampleTime);
}

Imath::V3d computeTargetOrigin(OriginMode mode, const XformSamplesList& targetSamples,
                               Qn::VexilCookInterface& cookInterface, const TargetPaths& targetPaths,
                               bool applyTransform, float sampleTime) {
    Imath::V3d sum(0.0, 0.0, 0.0);
    int32_t count = 0;
    for (size_t i = 0; i < targetPaths.size(); ++i) {
        addTargetOrigin(mode, i < targetSamples.size() ? targetSamples[i] : kNoSamples, cookInterface,
                        targetPaths[i], applyTransform, sampleTime, sum, count);
    }
    return average(sum, count);
}

Imath::V3d computeTargetOrigin(OriginMode mode, const XformSamples& targetSamples,
                               Qn::VexilCookInterface& cookInterface, const std::string& targetPath,
                               bool applyTransform, float sampleTime) {
    // One target, without copying its samples into a list.
    Imath::V3d sum(0.0, 0.0, 0.0);
    int32_t count = 0;
    addTargetOrigin(mode, targetSamples, cookInterface, targetPath, applyTransform, sampleTime, sum, count);
    return average(sum, count);
}

void requireUsableBound(const double* values, size_t count, const std::string& path, std::string_view where) {
    const ValueProblem problem = valueProblem(values, count);
    if (problem != ValueProblem::None)
        throw std::runtime_error("Bound of " + path + " " + std::string(describe(problem)) +
                                 std::string(where) + ".");
}

std::vector<Imath::V3d> getFacePoints(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                                      int32_t faceIndex, float sampleTime) {
    FaceIterator faces(cookInterface, locationPath, sampleTime);
    if (faceIndex < 0 || faceIndex >= faces.getFaceCount())
        throw std::runtime_error("Cannot get valid face " + std::to_string(faceIndex) + ". (" + locationPath +
                                 ").");
    faces.advance(faceIndex);
    return faces.getFacePoints();
}

namespace {

/// What an origin mode reads besides transforms: "origin", the common one, reads nothing.
enum class OriginInput { None, Points, Bound };

OriginInput originInput(OriginMode mode) {
    switch (mode) {
    case OriginMode::FaceCenterAverage:
    case OriginMode::FaceBoundingBox:
        return OriginInput::Points;
    case OriginMode::BoundingBox:
        return OriginInput::Bound;
    case OriginMode::Origin:
        break;
    }
    return OriginInput::None;
}

void addOriginSampleTimesOf(OriginInput input, Qn::VexilCookInterface& cookInterface, const std::string& path,
                            SampleTimes& sampleTimes) {
    static const std::string kPoints("geometry.point.P");
    static const std::string kBound("bound");
    if (input == OriginInput::Points)
        insertSampleTimes(Qn::FloatAttribute(cookInterface.getAttr(kPoints, path)), sampleTimes);
    else if (input == OriginInput::Bound)
        insertSampleTimes(Qn::DoubleAttribute(cookInterface.getAttr(kBound, path)), sampleTimes);
}

} // namespace

void addTargetOriginSampleTimes(const std::string& mode, Qn::VexilCookInterface& cookInterface,
                                const TargetPaths& targetPaths, SampleTimes& sampleTimes) {
    addTargetOriginSampleTimes(originModeOf(mode), cookInterface, targetPaths, sampleTimes);
}

void addTargetOriginSampleTimes(const std::string& mode, Qn::VexilCookInterface& cookInterface,
                                const std::string& locationPath, SampleTimes& sampleTimes) {
    addTargetOriginSampleTimes(originModeOf(mode), cookInterface, locationPath, sampleTimes);
}

void addTargetOriginSampleTimes(OriginMode mode, Qn::VexilCookInterface& cookInterface,
                                const TargetPaths& targetPaths, SampleTimes& sampleTimes) {
    const OriginInput input = originInput(mode);
    if (input == OriginInput::None)
        return;
    for (const std::string& path : targetPaths)
        addOriginSampleTimesOf(input, cookInterface, path, sampleTimes);
}

void addTargetOriginSampleTimes(OriginMode mode, Qn::VexilCookInterface& cookInterface,
                                const std::string& locationPath, SampleTimes& sampleTimes) {
    addOriginSampleTimesOf(originInput(mode), cookInterface, locationPath, sampleTimes);
}

Imath::V3d getFloat3Attr(const Qn::GroupAttribute& group, const std::string& name) {
    return float3Value(group.getChildByName(name), name);
}

Imath::V3d float3Value(const Qn::Attribute& attribute, const std::string& name) {
    const Qn::FloatAttribute attr(attribute);
    const Qn::SampleView<float> values = attr.getNearestSample(0.0f);
    if (!attr.isValid() || values.size != 3)
        throw std::runtime_error("Cannot find float attribute of size 3 " + name);
    // An axis of (inf, 0, 0) would pass every zero test.
    requireUsable(valueProblem(values.data, 3), name);
    return Imath::V3d(values[0], values[1], values[2]);
}

std::string getRequiredStringArg(const Qn::GroupAttribute& constraintGroup, const std::string& resolverType,
                                 const std::string& argumentName) {
    return requiredStringValue(constraintGroup.getChildByName(argumentName), resolverType, argumentName);
}

std::string requiredStringValue(const Qn::Attribute& attribute, const std::string& resolverType,
                                const std::string& argumentName) {
    const std::string value = Qn::StringAttribute(attribute).getValue(std::string(), false);
    if (value.empty())
        ResolverChecks(resolverType).failEmptyArgument(argumentName);
    return value;
}

} // namespace Private
} // namespace Vexil3Constraints
