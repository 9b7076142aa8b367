#include "tools/views/PictureModel.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "host/engine/AttributeEdit.h"
#include "hostapi/attribute/DataAttribute.h"
#include "tools/views/ConstraintDescription.h"

#include <algorithm>
#include <unordered_set>

namespace VexilHost {
namespace Picture {

namespace {

// The values of a float or double attribute at the sample nearest to time 0, as doubles.
std::vector<double> realValues(const Qn::Attribute& attr) {
    std::vector<double> values;
    if (const Qn::DoubleAttribute doubles(attr); doubles.isValid()) {
        const auto sample = doubles.getNearestSample(0.0f);
        values.assign(sample.begin(), sample.end());
    } else if (const Qn::FloatAttribute floats(attr); floats.isValid()) {
        const auto sample = floats.getNearestSample(0.0f);
        values.assign(sample.begin(), sample.end());
    }
    return values;
}

std::vector<int32_t> intValues(const Qn::Attribute& attr) {
    const auto sample = Qn::IntAttribute(attr).getNearestSample(0.0f);
    return std::vector<int32_t>(sample.begin(), sample.end());
}

void readLensValue(const Qn::GroupAttribute& attrs, const char* name, double& value) {
    const std::vector<double> values = realValues(attrs.getChildByName(name));
    if (!values.empty()) {
        value = values[0];
    }
}

Lens readLens(const Qn::GroupAttribute& attrs) {
    Lens lens;
    readLensValue(attrs, "geometry.left", lens.left);
    readLensValue(attrs, "geometry.right", lens.right);
    readLensValue(attrs, "geometry.bottom", lens.bottom);
    readLensValue(attrs, "geometry.top", lens.top);
    readLensValue(attrs, "geometry.fov", lens.fovDegrees);
    readLensValue(attrs, "geometry.near", lens.nearDistance);
    readLensValue(attrs, "geometry.far", lens.farDistance);
    lens.orthographic =
        Qn::StringAttribute(attrs.getChildByName("geometry.projection")).getValue(std::string(), false) ==
        "orthographic";
    return lens;
}

// Points and face edges of a mesh; faces with indices out of range are left out.
void readMesh(const Qn::GroupAttribute& attrs, Shape& shape) {
    const std::vector<double> p = realValues(attrs.getChildByName("geometry.point.P"));
    const std::vector<int32_t> starts = intValues(attrs.getChildByName("geometry.poly.startIndex"));
    const std::vector<int32_t> vertices = intValues(attrs.getChildByName("geometry.poly.vertexList"));
    const int64_t numPoints = static_cast<int64_t>(p.size() / 3);
    for (int64_t i = 0; i < numPoints; ++i) {
        shape.meshPoints.emplace_back(p[3 * i], p[3 * i + 1], p[3 * i + 2]);
    }
    for (size_t face = 0; face + 1 < starts.size(); ++face) {
        const int64_t begin = starts[face];
        const int64_t end = starts[face + 1];
        if (begin < 0 || end > static_cast<int64_t>(vertices.size()) || end - begin < 2) {
            continue;
        }
        bool usable = true;
        for (int64_t v = begin; v < end && usable; ++v) {
            usable = vertices[v] >= 0 && vertices[v] < numPoints;
        }
        for (int64_t v = begin; v < end && usable; ++v) {
            const int64_t next = v + 1 < end ? v + 1 : begin;
            shape.meshEdges.emplace_back(vertices[v], vertices[next]);
        }
        if (shape.meshEdges.size() > kMaxMeshEdges) {
            shape.meshEdges.clear();
            return;
        }
    }
}

std::string stringAttr(const Qn::GroupAttribute& attrs, const char* name) {
    return Qn::StringAttribute(AttributeEdit::childNamed(attrs, name)).getValue(std::string(), false);
}

} // namespace

Shape shapeOf(const SceneLocation& location, const TransformChain& chain) {
    Shape shape;
    const WorldSamples samples = worldSamples(chain);
    shape.world = XformModel::worldAt(chain, 0.0f);
    for (size_t i = 1; i < samples.matrices.size(); ++i) {
        if (samples.matrices[i] != samples.matrices[0]) {
            for (size_t j = 0; j < samples.times.size(); ++j) {
                shape.motion.emplace_back(samples.times[j], samples.matrices[j]);
            }
            break;
        }
    }
    const std::vector<double> bound = realValues(AttributeEdit::childNamed(location.attrs, "bound"));
    if (bound.size() == 6 && bound[0] <= bound[1] && bound[2] <= bound[3] && bound[4] <= bound[5]) {
        shape.bound =
            Imath::Box3d(Imath::V3d(bound[0], bound[2], bound[4]), Imath::V3d(bound[1], bound[3], bound[5]));
    }
    const std::string type = stringAttr(location.attrs, "type");
    if (type == "polymesh" || type == "subdmesh") {
        readMesh(location.attrs, shape);
    } else if (type == "camera") {
        shape.lens = readLens(location.attrs);
    }
    return shape;
}

PictureModel::PictureModel(const SceneLocation& input, const SceneLocation& beforeResolve,
                           const SceneLocation& cooked) {
    walkScene(
        cooked, [&](const std::string& path, const SceneLocation& location, const TransformChain& chain) {
            if (path == "/root") {
                return;
            }
            DrawnLocation drawn;
            drawn.path = path;
            drawn.name = location.name;
            drawn.type = stringAttr(location.attrs, "type");
            drawn.after = shapeOf(location, chain);
            drawn.isError = drawn.type == "error";
            drawn.errorMessage = stringAttr(location.attrs, "errorMessage");
            drawn.warningMessage = stringAttr(location.attrs, "warningMessage");
            drawn.groupOnly = chain.back()->empty() && !drawn.after.bound && drawn.after.meshEdges.empty() &&
                              !drawn.after.lens && !location.children.empty();
            m_index.emplace(path, m_locations.size());
            m_locations.push_back(std::move(drawn));
        });
    walkScene(beforeResolve,
              [&](const std::string& path, const SceneLocation& location, const TransformChain&) {
                  auto it = m_index.find(path);
                  if (it == m_index.end()) {
                      return;
                  }
                  DrawnLocation& drawn = m_locations[it->second];
                  std::unordered_set<std::string> seen;
                  for (const ConstraintDescription& constraint :
                       readConstraintDescriptions(AttributeEdit::childNamed(location.attrs, "xform"))) {
                      drawn.constrained = true;
                      for (const std::string& target : constraint.targets) {
                          const std::string absolute = Qn::PathUtils::normalisedPath(path, target);
                          if (!absolute.empty() && seen.insert(absolute).second) {
                              drawn.targets.push_back(absolute);
                          }
                      }
                  }
              });
    walkScene(input,
              [&](const std::string& path, const SceneLocation& location, const TransformChain& chain) {
                  auto it = m_index.find(path);
                  if (it != m_index.end() && m_locations[it->second].constrained) {
                      m_locations[it->second].before = shapeOf(location, chain);
                  }
              });
}

const DrawnLocation* PictureModel::find(const std::string& path) const {
    auto it = m_index.find(path);
    return it == m_index.end() ? nullptr : &m_locations[it->second];
}

} // namespace Picture
} // namespace VexilHost
