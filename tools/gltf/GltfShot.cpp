#include "tools/gltf/GltfShot.h"

#include "host/scene/SceneFileError.h"
#include "hostapi/attribute/DataAttribute.h"
#include "tools/gltf/GltfCameras.h"
#include "tools/gltf/GltfConstraints.h"
#include "tools/gltf/GltfFile.h"
#include "tools/gltf/GltfFormatError.h"
#include "tools/gltf/GltfMeshes.h"
#include "tools/gltf/LocationNames.h"
#include "tools/gltf/Rotations.h"
#include "tools/gltf/ShotTimes.h"

#include <cmath>
#include <filesystem>

namespace VexilHost {
namespace Gltf {

namespace {

std::string nodeName(const tinygltf::Model& model, int index) {
    return partName("node", static_cast<std::size_t>(index),
                    model.nodes[static_cast<std::size_t>(index)].name);
}

void checkNumbers(const tinygltf::Model& model, int index, const std::vector<double>& values,
                  const char* what, std::size_t count) {
    if (values.empty()) {
        return;
    }
    if (values.size() != count) {
        throw GltfFormatError(nodeName(model, index) + ": " + what + " has " + std::to_string(values.size()) +
                              " numbers, not " + std::to_string(count));
    }
    for (const double v : values) {
        if (!std::isfinite(v)) {
            throw GltfFormatError(nodeName(model, index) + ": " + what +
                                  " holds a number that is not finite");
        }
    }
}

// The node's own transform, as glTF states it, checked.
void checkTransform(const tinygltf::Model& model, int index) {
    const tinygltf::Node& node = model.nodes[static_cast<std::size_t>(index)];
    checkNumbers(model, index, node.matrix, "matrix", 16);
    checkNumbers(model, index, node.translation, "translation", 3);
    checkNumbers(model, index, node.rotation, "rotation", 4);
    checkNumbers(model, index, node.scale, "scale", 3);
    const std::vector<double>& q = node.rotation;
    if (!q.empty() && q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3] < 1e-12) {
        throw GltfFormatError(nodeName(model, index) + ": rotation is not a rotation (a zero quaternion)");
    }
}

Qn::DoubleAttribute doubles(const std::vector<double>& values) {
    return Qn::DoubleAttribute(values);
}

std::vector<double> rotateValues(const std::vector<double>& q) {
    const std::array<double, 4> r = axisAngleOfQuaternion({q[0], q[1], q[2], q[3]});
    return {r[0], r[1], r[2], r[3]};
}

// The `xform` of a node that is not animated, or an invalid attribute when it has no transform.
Qn::Attribute stillXform(const tinygltf::Node& node) {
    Qn::GroupBuilder xform(QN_GROUP_BUILDER_MODE_LITERAL);
    if (!node.matrix.empty()) {
        // glTF's column-major matrix for column vectors is, number for number, this host's row-major
        // matrix for row vectors.
        xform.set("matrix", doubles(node.matrix));
        return xform.build();
    }
    if (node.translation.empty() && node.rotation.empty() && node.scale.empty()) {
        return Qn::Attribute();
    }
    if (!node.translation.empty()) {
        xform.set("translate", doubles(node.translation));
    }
    if (!node.rotation.empty()) {
        xform.set("rotate", doubles(rotateValues(node.rotation)));
    }
    if (!node.scale.empty()) {
        xform.set("scale", doubles(node.scale));
    }
    return xform.build();
}

// A location's attributes in a fixed order: type, xform, then the rest as they come.
Qn::GroupAttribute withXform(const Qn::GroupAttribute& attrs, const Qn::Attribute& xform) {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    builder.set("type", attrs.getChildByName("type"));
    if (xform.isValid()) {
        builder.set("xform", xform);
    }
    for (int64_t i = 0; i < attrs.getNumberOfChildren(); ++i) {
        const std::string name = attrs.getChildName(i);
        if (name != "type") {
            builder.set(name, attrs.getChildByIndex(i));
        }
    }
    return builder.build();
}

// A node's attributes other than `xform`: type, then geometry (a mesh's, a camera's), then bound.
Qn::GroupAttribute stillAttributes(const tinygltf::Model& model, int index, bool animated,
                                   std::map<int, MeshAttributes>& meshes) {
    const tinygltf::Node& node = model.nodes[static_cast<std::size_t>(index)];
    checkTransform(model, index);
    if (animated && !node.matrix.empty()) {
        throw GltfFormatError(
            nodeName(model, index) +
            ": animated, but holds a matrix (an animated node has translation, rotation and scale)");
    }
    std::string type = "group";
    Qn::GroupBuilder geometry(QN_GROUP_BUILDER_MODE_LITERAL);
    Qn::Attribute bound;
    if (node.mesh >= 0) {
        if (static_cast<std::size_t>(node.mesh) >= model.meshes.size()) {
            throw GltfFormatError(nodeName(model, index) + ": mesh " + std::to_string(node.mesh) +
                                  " does not exist");
        }
        auto found = meshes.find(node.mesh);
        if (found == meshes.end()) {
            found = meshes.emplace(node.mesh, meshAttributes(model, node.mesh)).first;
        }
        if (found->second.geometry.isValid()) {
            type = "polymesh";
            geometry.update(found->second.geometry);
        }
        bound = found->second.bound;
    }
    if (node.camera >= 0) {
        if (static_cast<std::size_t>(node.camera) >= model.cameras.size()) {
            throw GltfFormatError(nodeName(model, index) + ": camera " + std::to_string(node.camera) +
                                  " does not exist");
        }
        type = "camera";
        geometry.update(cameraGeometry(model, node.camera));
    }
    const Qn::GroupAttribute geometryGroup = geometry.build();
    Qn::GroupBuilder attrs(QN_GROUP_BUILDER_MODE_LITERAL);
    attrs.set("type", Qn::StringAttribute(type));
    if (geometryGroup.getNumberOfChildren() > 0) {
        attrs.set("geometry", geometryGroup);
    }
    if (bound.isValid()) {
        attrs.set("bound", bound);
    }
    return attrs.build();
}

} // namespace

GltfShot::GltfShot(const std::string& path, std::uint64_t maxBytes)
    : m_model(readGltfModel(path, maxBytes)), m_folder(std::filesystem::path(path).parent_path().string()) {
    try {
        m_curves = readNodeCurves(m_model);
        const std::vector<LocationConstraints> constraints = readNodeTree();
        std::map<int, MeshAttributes> meshes; // a mesh several nodes show is read once
        for (const ShotNode& shotNode : m_nodes) {
            const int index = shotNode.node;
            const bool animated = m_curves.count(index) != 0;
            const Qn::GroupAttribute still = stillAttributes(m_model, index, animated, meshes);
            m_attrs.push_back(
                animated ? still
                         : withXform(still, stillXform(m_model.nodes[static_cast<std::size_t>(index)])));
        }
        m_ops = constraintOps(constraints);
    } catch (const GltfFormatError& error) {
        throw SceneFileError(path + ": " + error.what());
    }
}

std::vector<LocationConstraints> GltfShot::readNodeTree() {
    const int sceneIndex =
        m_model.defaultScene >= 0 ? m_model.defaultScene : (m_model.scenes.empty() ? -1 : 0);
    if (sceneIndex >= static_cast<int>(m_model.scenes.size())) {
        throw GltfFormatError("the default scene " + std::to_string(sceneIndex) + " does not exist");
    }
    const std::size_t nodeCount = m_model.nodes.size();
    std::vector<int> placeOf(nodeCount, -1); // the node's entry in m_nodes
    // Depth first, parents before children, without recursion.
    struct Pending {
        int node;
        int parent; // entry in m_nodes
        std::size_t depth;
        std::string name;
    };
    std::vector<Pending> pending;
    const auto pushChildren = [&](const std::vector<int>& children, int parent, std::size_t depth,
                                  const std::string& owner) {
        std::vector<std::string> written;
        for (const int child : children) {
            if (child < 0 || static_cast<std::size_t>(child) >= nodeCount) {
                throw GltfFormatError(owner + ": node " + std::to_string(child) +
                                      " does not exist (the file has " + std::to_string(nodeCount) +
                                      " nodes)");
            }
            written.push_back(m_model.nodes[static_cast<std::size_t>(child)].name);
        }
        const std::vector<std::string> names = siblingLocationNames(written, children);
        for (std::size_t i = children.size(); i-- > 0;) {
            pending.push_back({children[i], parent, depth, names[i]});
        }
    };
    if (sceneIndex >= 0) {
        pushChildren(m_model.scenes[static_cast<std::size_t>(sceneIndex)].nodes, -1, 1,
                     "scene " + std::to_string(sceneIndex));
    }
    std::vector<LocationConstraints> constraints;
    while (!pending.empty()) {
        const Pending next = pending.back();
        pending.pop_back();
        if (placeOf[static_cast<std::size_t>(next.node)] >= 0) {
            throw GltfFormatError(
                nodeName(m_model, next.node) +
                ": reached twice in the default scene (a node has one parent, and nodes make no "
                "cycle)");
        }
        if (next.depth > kMaxNodeDepth) {
            throw GltfFormatError(nodeName(m_model, next.node) + ": nodes nest deeper than " +
                                  std::to_string(kMaxNodeDepth) + " levels");
        }
        const int entry = static_cast<int>(m_nodes.size());
        placeOf[static_cast<std::size_t>(next.node)] = entry;
        const std::string parentPath = next.parent < 0 ? std::string("/root/world")
                                                       : m_nodes[static_cast<std::size_t>(next.parent)].path;
        m_nodes.push_back({next.node, parentPath + "/" + next.name, next.parent});
        m_names.push_back(next.name);
        pushChildren(m_model.nodes[static_cast<std::size_t>(next.node)].children, entry, next.depth + 1,
                     nodeName(m_model, next.node));
        if (std::vector<Qn::GroupAttribute> groups = nodeConstraints(m_model, next.node); !groups.empty()) {
            constraints.push_back({m_nodes.back().path, std::move(groups)});
        }
    }
    m_children.assign(m_nodes.size() + 1, {});
    for (std::size_t i = 0; i < m_nodes.size(); ++i) {
        const int parent = m_nodes[i].parent;
        m_children[parent < 0 ? m_nodes.size() : static_cast<std::size_t>(parent)].push_back(i);
    }
    return constraints;
}

Qn::Attribute GltfShot::animatedXform(std::size_t index, const TimeSlice& time, double fps) const {
    const tinygltf::Node& node = m_model.nodes[static_cast<std::size_t>(m_nodes[index].node)];
    const NodeCurves& curves = m_curves.at(m_nodes[index].node);
    const std::vector<float> offsets = shutterOffsets(time);
    // A property's samples at the frame's offsets, or its still value at time 0.
    const auto property = [&](const std::optional<Curve>& curve, const std::vector<double>& still,
                              bool isRotation) -> Qn::Attribute {
        if (!curve) {
            return still.empty() ? Qn::Attribute()
                                 : Qn::Attribute(doubles(isRotation ? rotateValues(still) : still));
        }
        std::map<float, std::vector<double>> samples;
        std::vector<double> previous;
        for (const float offset : offsets) {
            std::vector<double> value = sampleCurve(*curve, secondsAt(time.currentTime, offset, fps));
            if (isRotation) {
                value = rotateValues(value);
                // The host blends the angle and axis between samples: keep the axis from flipping.
                if (!previous.empty() &&
                    value[1] * previous[1] + value[2] * previous[2] + value[3] * previous[3] < 0.0) {
                    for (double& v : value) {
                        v = -v;
                    }
                }
                previous = value;
            }
            samples[offset] = std::move(value);
        }
        return Qn::DoubleAttribute(samples, 1);
    };
    Qn::GroupBuilder xform(QN_GROUP_BUILDER_MODE_LITERAL);
    const struct {
        const char* name;
        const std::optional<Curve>& curve;
        const std::vector<double>& still;
        bool isRotation;
    } parts[] = {{"translate", curves.translation, node.translation, false},
                 {"rotate", curves.rotation, node.rotation, true},
                 {"scale", curves.scale, node.scale, false}};
    for (const auto& part : parts) {
        if (const Qn::Attribute value = property(part.curve, part.still, part.isRotation); value.isValid()) {
            xform.set(part.name, value);
        }
    }
    return xform.build();
}

SceneLocation GltfShot::location(std::size_t index, const TimeSlice& time, double fps) const {
    SceneLocation location;
    location.name = m_names[index];
    location.attrs = m_curves.count(m_nodes[index].node) != 0
                         ? withXform(m_attrs[index], animatedXform(index, time, fps))
                         : m_attrs[index];
    for (const std::size_t child : m_children[index]) {
        location.children.push_back(this->location(child, time, fps));
    }
    return location;
}

SceneFile GltfShot::sceneAt(const TimeSlice& time, double fps) const {
    Qn::GroupBuilder group;
    group.set("type", Qn::StringAttribute("group"));
    const Qn::GroupAttribute groupAttrs = group.build();
    SceneFile scene;
    scene.time = time;
    scene.root.name = "root";
    scene.root.attrs = groupAttrs;
    SceneLocation world;
    world.name = "world";
    world.attrs = groupAttrs;
    for (const std::size_t child : m_children[m_nodes.size()]) {
        world.children.push_back(location(child, time, fps));
    }
    scene.root.children.push_back(std::move(world));
    scene.ops = m_ops;
    return scene;
}

} // namespace Gltf
} // namespace VexilHost
