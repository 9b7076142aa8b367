#include "constraints/resolve/FaceIterator.h"

#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"
#include "constraints/resolve/ResolverChecks.h"

#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

const char* const kMissingAttributes = "FaceIterator mesh has missing attributes for mesh description.";
const char* const kOutOfRangeVertex = "FaceIterator mesh has out of range vertex.";

// The path without its last component ("/a/b/fs" gives "/a/b"; "/fs" gives "/").
std::string parentPath(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return std::string();
    return slash == 0 ? std::string("/") : path.substr(0, slash);
}

} // namespace

FaceIterator::FaceIterator(Qn::VexilCookInterface& cookInterface, const std::string& locationPath,
                           float sampleTime) {
    const std::string locationType =
        cookInterface.getLocationType(locationPath).getValue(std::string(), false);
    if (locationType == "faceset") {
        m_meshPath = parentPath(locationPath);
        m_faceSetPath = locationPath;
    } else {
        m_meshPath = locationPath;
    }

    const std::string meshType =
        m_meshPath == locationPath ? locationType
                                   : cookInterface.getLocationType(m_meshPath).getValue(std::string(), false);
    if (meshType != "subdmesh" && meshType != "polymesh")
        throw std::runtime_error("FaceIterator mesh has unsupport type: " + meshType + ".");

    m_points = cookInterface.getAttr("geometry.point.P", m_meshPath);
    m_startIndices = cookInterface.getAttr("geometry.poly.startIndex", m_meshPath);
    m_vertexList = cookInterface.getAttr("geometry.poly.vertexList", m_meshPath);
    if (!m_points.isValid() || !m_startIndices.isValid() || !m_vertexList.isValid())
        throw std::runtime_error(kMissingAttributes);

    m_startView = m_startIndices.getNearestSample(0.0f);
    m_vertexView = m_vertexList.getNearestSample(0.0f);
    m_faceCount = m_startView.size - 1;
    m_pointBuffer.resize(static_cast<size_t>(m_points.getNumberOfValues()));
    if (!m_pointBuffer.empty())
        m_points.fillInterpolatedValues(m_pointBuffer.data(), static_cast<int64_t>(m_pointBuffer.size()),
                                        sampleTime, 0.0f, true);

    if (!m_faceSetPath.empty()) {
        m_faces = cookInterface.getAttr("geometry.faces", m_faceSetPath);
        if (!m_faces.isValid())
            throw std::runtime_error(kMissingAttributes);
        m_faceView = m_faces.getNearestSample(0.0f);
        m_faceCount = m_faceView.size;
    }

    computeFace();
}

void FaceIterator::advance(int32_t count) {
    m_faceNumber += count;
    computeFace();
}

void FaceIterator::computeFace() {
    m_facePoints.clear();
    m_faceCenter = Imath::V3d(0.0, 0.0, 0.0);
    if (m_faceNumber < 0 || m_faceNumber >= m_faceCount)
        return;

    const int64_t face = m_faceSetPath.empty() ? m_faceNumber : m_faceView[m_faceNumber];
    // Compared as signed 64-bit so that a negative index, or a mesh without start indices, is
    // rejected here instead of being read.
    if (face < 0 || face >= m_startView.size - 1)
        throw std::runtime_error("FaceIterator faceset has invalid face index.");

    // Unsigned 32-bit, as stored: a face with no vertices wraps `last` below `first`.
    const uint32_t first = static_cast<uint32_t>(m_startView[face]);
    const uint32_t last = static_cast<uint32_t>(m_startView[face + 1]) - 1u;
    if (first > last)
        throw std::runtime_error("FaceIterator mesh has invalid vertex range (end < start).");

    const uint64_t vertexCount = static_cast<uint64_t>(m_vertexView.size);
    if (first >= vertexCount)
        throw std::runtime_error(kOutOfRangeVertex);

    const uint64_t bufferSize = m_pointBuffer.size();
    Imath::V3d sum(0.0, 0.0, 0.0);
    for (uint64_t v = first; v <= last; ++v) {
        const int64_t point = m_vertexView[static_cast<int64_t>(v)];
        if (point < 0 || static_cast<uint64_t>(3 * point + 2) >= bufferSize)
            throw std::runtime_error("FaceIterator mesh has out of range point.");
        const float* values = &m_pointBuffer[3 * point];
        const ValueProblem problem = valueProblem(values, 3);
        if (problem != ValueProblem::None)
            requireUsable(problem, "FaceIterator mesh point " + std::to_string(point));
        const Imath::V3d position(values[0], values[1], values[2]);
        m_facePoints.push_back(position);
        sum += position;
        if (v + 1 <= last && v + 1 >= vertexCount)
            throw std::runtime_error(kOutOfRangeVertex);
    }
    m_faceCenter = sum / static_cast<double>(static_cast<uint64_t>(last) - first + 1);
}

} // namespace Private
} // namespace Vexil3Constraints
