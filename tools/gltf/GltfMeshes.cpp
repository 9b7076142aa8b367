#include "tools/gltf/GltfMeshes.h"

#include "hostapi/attribute/DataAttribute.h"
#include "tools/gltf/GltfAccessor.h"
#include "tools/gltf/GltfFormatError.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace VexilHost {
namespace Gltf {

namespace {

// A primitive's triangles as indices into its own points.
std::vector<std::uint32_t> triangles(const std::vector<std::uint32_t>& indices, int mode, int accessor) {
    std::vector<std::uint32_t> out;
    if (mode == TINYGLTF_MODE_TRIANGLES) {
        if (indices.size() % 3 != 0) {
            throw GltfFormatError("accessor " + std::to_string(accessor) + ": " +
                                  std::to_string(indices.size()) + " vertices do not make whole triangles");
        }
        return indices;
    }
    for (std::size_t i = 2; i < indices.size(); ++i) {
        if (mode == TINYGLTF_MODE_TRIANGLE_FAN) {
            out.insert(out.end(), {indices[0], indices[i - 1], indices[i]});
        } else if (i % 2 == 0) { // strip: every other triangle turns the other way
            out.insert(out.end(), {indices[i - 2], indices[i - 1], indices[i]});
        } else {
            out.insert(out.end(), {indices[i - 1], indices[i - 2], indices[i]});
        }
    }
    return out;
}

// The positions must lie within the min and max the accessor states, when it states them.
void checkStatedBounds(const tinygltf::Model& model, int index, const std::vector<double>& points) {
    const tinygltf::Accessor& accessor = model.accessors[static_cast<std::size_t>(index)];
    if (accessor.minValues.size() != 3 || accessor.maxValues.size() != 3) {
        return;
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
        const std::size_t axis = i % 3;
        const double low = accessor.minValues[axis];
        const double high = accessor.maxValues[axis];
        const double slack = 1e-5 * std::max({1.0, std::fabs(low), std::fabs(high)});
        if (points[i] < low - slack || points[i] > high + slack) {
            throw GltfFormatError("accessor " + std::to_string(index) + ": point " + std::to_string(i / 3) +
                                  " lies outside the accessor's own min and max");
        }
    }
}

} // namespace

MeshAttributes meshAttributes(const tinygltf::Model& model, int index) {
    const tinygltf::Mesh& mesh = model.meshes[static_cast<std::size_t>(index)];
    const std::string where = partName("mesh", static_cast<std::size_t>(index), mesh.name);
    std::vector<float> points;
    std::vector<int32_t> vertices;
    for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
        const tinygltf::Primitive& primitive = mesh.primitives[p];
        const int mode = primitive.mode < 0 ? TINYGLTF_MODE_TRIANGLES : primitive.mode;
        if (mode != TINYGLTF_MODE_TRIANGLES && mode != TINYGLTF_MODE_TRIANGLE_STRIP &&
            mode != TINYGLTF_MODE_TRIANGLE_FAN) {
            continue;
        }
        const auto position = primitive.attributes.find("POSITION");
        if (position == primitive.attributes.end()) {
            throw GltfFormatError(where + ": primitive " + std::to_string(p) + " has no POSITION");
        }
        const std::vector<double> own = accessorValues(model, position->second, 3);
        checkStatedBounds(model, position->second, own);
        const std::size_t count = own.size() / 3;
        const std::size_t first = points.size() / 3;
        if (first + count > static_cast<std::size_t>(std::numeric_limits<int32_t>::max())) {
            throw GltfFormatError(where + ": more points than a polymesh can index");
        }
        std::vector<std::uint32_t> indices;
        if (primitive.indices >= 0) {
            indices = accessorIndices(model, primitive.indices);
            for (std::size_t i = 0; i < indices.size(); ++i) {
                if (indices[i] >= count) {
                    throw GltfFormatError("accessor " + std::to_string(primitive.indices) + ": index " +
                                          std::to_string(indices[i]) + " is beyond the " +
                                          std::to_string(count) + " points of " + where + " primitive " +
                                          std::to_string(p));
                }
            }
        } else {
            for (std::uint32_t i = 0; i < count; ++i) {
                indices.push_back(i);
            }
        }
        for (const std::uint32_t v :
             triangles(indices, mode, primitive.indices >= 0 ? primitive.indices : position->second)) {
            vertices.push_back(static_cast<int32_t>(first + v));
        }
        points.insert(points.end(), own.begin(), own.end());
    }
    MeshAttributes result;
    if (!points.empty()) {
        double box[6] = {points[0], points[0], points[1], points[1], points[2], points[2]};
        for (std::size_t i = 0; i < points.size(); ++i) {
            const std::size_t axis = i % 3;
            box[2 * axis] = std::min<double>(box[2 * axis], points[i]);
            box[2 * axis + 1] = std::max<double>(box[2 * axis + 1], points[i]);
        }
        result.bound = Qn::DoubleAttribute(box, 6);
    }
    if (!vertices.empty()) {
        std::vector<int32_t> starts;
        for (std::size_t i = 0; i <= vertices.size(); i += 3) {
            starts.push_back(static_cast<int32_t>(i));
        }
        Qn::GroupBuilder point;
        point.set("P", Qn::FloatAttribute(points, 3));
        Qn::GroupBuilder poly;
        poly.set("startIndex", Qn::IntAttribute(starts)).set("vertexList", Qn::IntAttribute(vertices));
        Qn::GroupBuilder geometry;
        geometry.set("point", point.build()).set("poly", poly.build());
        result.geometry = geometry.build();
    }
    return result;
}

} // namespace Gltf
} // namespace VexilHost
