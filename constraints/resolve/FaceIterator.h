// Walks the faces of a polygon mesh, a subdivision mesh or a face set at one sample time.
#pragma once

#include "hostapi/attribute/DataAttribute.h"

#include <Imath/ImathVec.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Qn {
class VexilCookInterface;
}

namespace Vexil3Constraints {
namespace Private {

/// Iterates the faces of the "polymesh" or "subdmesh" at a location, or of the "faceset" at a location
/// (whose mesh is its parent), with point positions interpolated at one sample time; points are in
/// the mesh's local space. Face 0 is computed on construction, so a fault there throws at once.
/// Every fault throws std::runtime_error with a fixed "FaceIterator ..." message; a point of a face that
/// is not finite or beyond the largest constraint value is one ("FaceIterator mesh point 3 is not finite.").
class FaceIterator {
public:
    /// Reads the mesh description of `locationPath` and computes face 0.
    FaceIterator(Qn::VexilCookInterface& cookInterface, const std::string& locationPath, float sampleTime);

    /// The number of faces walked (the face set's face count for a face set).
    int64_t getFaceCount() const { return m_faceCount; }
    /// The current face number, starting at 0.
    int32_t getFaceNumber() const { return m_faceNumber; }
    /// True while the current face number is a face (0 .. face count - 1).
    bool isValid() const { return m_faceNumber >= 0 && m_faceNumber < m_faceCount; }
    /// Moves `count` faces on and computes the face there.
    void advance(int32_t count = 1);
    /// The current face's points in vertex-list order; empty past the last face.
    const std::vector<Imath::V3d>& getFacePoints() const { return m_facePoints; }
    /// The mean of the current face's points; (0,0,0) past the last face.
    const Imath::V3d& getFaceCenter() const { return m_faceCenter; }

private:
    void computeFace();

    std::string m_meshPath;
    std::string m_faceSetPath;
    Qn::FloatAttribute m_points;
    Qn::IntAttribute m_startIndices;
    Qn::IntAttribute m_vertexList;
    Qn::IntAttribute m_faces;
    // Views of the three integer attributes' samples nearest to time 0 (the attributes above keep
    // them alive).
    Qn::SampleView<int32_t> m_startView;
    Qn::SampleView<int32_t> m_vertexView;
    Qn::SampleView<int32_t> m_faceView;
    std::vector<float> m_pointBuffer;
    int64_t m_faceCount = 0;
    int32_t m_faceNumber = 0;
    std::vector<Imath::V3d> m_facePoints;
    Imath::V3d m_faceCenter{0.0, 0.0, 0.0};
};

} // namespace Private
} // namespace Vexil3Constraints
