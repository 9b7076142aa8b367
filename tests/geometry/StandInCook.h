// A stand-in for the host's cook table that serves attributes of an in-memory scene, for tests of
// code that queries other locations (target origins, faces).
#pragma once

#include "PluginApis/src/QnVexil/op/VexilCookInterface.h"
#include "constraints/resolve/ConstraintTypes.h"
#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"
#include "tests/support/ThrownMessage.h"

#include <map>
#include <string>
#include <vector>

namespace GeometryTests {

using VexilTest::thrownMessage;

/// A translation by (x, y, z).
inline Imath::M44d translation(double x, double y, double z) {
    Imath::M44d m;
    m.setTranslation(Imath::V3d(x, y, z));
    return m;
}

/// One transform sample at time 0.
inline Vexil3Constraints::Private::XformSamples at0(const Imath::M44d& m) {
    return Vexil3Constraints::Private::XformSamples{{0.0f, m}};
}

/// Loads the build's attribute host library once; false when it cannot be loaded.
bool loadAttributeSuite();

/// An input scene answering the attribute (14) and location-type (27) queries of the cook table.
class StandInCook {
public:
    /// Location path -> attribute name (dotted, as queried) -> value; "type" is the location type.
    std::map<std::string, std::map<std::string, Qn::Attribute>> scene;
    /// When set, every query raises the host's abort flag and returns nothing.
    bool abortQueries = false;
    /// "name@path" of every query, in order.
    std::vector<std::string> queries;

    /// A cook interface over this scene; valid while this object lives.
    Qn::VexilCookInterface cookInterface();

    /// Adds a mesh location of `type` with flat point positions, start indices and vertex list.
    void addMesh(const std::string& path, const std::vector<float>& points,
                 const std::vector<int32_t>& startIndex, const std::vector<int32_t>& vertexList,
                 const std::string& type = "polymesh");
    /// Adds a face set location naming `faces` of its parent mesh.
    void addFaceSet(const std::string& path, const std::vector<int32_t>& faces);
};

} // namespace GeometryTests
