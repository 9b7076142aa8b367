// A glTF shot read for cooking: the model as the file holds it, its default scene's nodes as
// locations below /root/world, and the scene of any frame, with the animation evaluated at the
// frame's motion samples.
#pragma once

#include "host/scene/SceneTypes.h"
#include "tools/gltf/GltfAnimation.h"
#include "tools/gltf/GltfConstraints.h"

#include <tiny_gltf.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace VexilHost {
namespace Gltf {

/// One node of the default scene and the location it became.
struct ShotNode {
    int node = -1;
    /// "/root/world/<name>/...", with the names made safe and unique (see siblingLocationNames).
    std::string path;
    /// The index in GltfShot::nodes() of the parent node, or -1 for a root node of the scene.
    int parent = -1;
};

/// A glTF shot. Read-only once made, so frames can be built from several threads at once.
class GltfShot {
public:
    /// Reads the glTF file at `path` (see readGltfModel) and checks everything the scene of a frame
    /// needs: the default scene's node tree (each node once, nested at most kMaxNodeDepth deep),
    /// transforms, cameras, meshes, animations and constraints. Throws SceneFileError
    /// "<file>: <what>" naming the node, accessor, camera, mesh or animation at fault.
    GltfShot(const std::string& path, std::uint64_t maxBytes);

    /// The scene of one frame: `time` becomes the time slice (its currentTime is the frame), and every
    /// animated transform is sampled at the frame's motion samples (shutterOffsets), the glTF time
    /// of a sample being secondsAt(frame, offset, fps). The op chain installs and resolves the
    /// constraints of the nodes' extras (see constraintOps).
    SceneFile sceneAt(const TimeSlice& time, double fps) const;

    /// The op chain every frame's scene has.
    const std::vector<OpDescription>& ops() const { return m_ops; }
    /// The model as read.
    const tinygltf::Model& model() const { return m_model; }
    /// The nodes of the default scene, each parent before its children.
    const std::vector<ShotNode>& nodes() const { return m_nodes; }
    /// The folder of the file, which relative buffer and image paths start from.
    const std::string& folder() const { return m_folder; }

    /// Nodes nest at most this deep, so that every reader and writer of the scene, which recurse once
    /// per level, stay within their stack.
    static constexpr std::size_t kMaxNodeDepth = 2000;

private:
    // Reads the default scene's node tree into m_nodes, m_names and m_children; the nodes' constraints.
    std::vector<LocationConstraints> readNodeTree();
    SceneLocation location(std::size_t index, const TimeSlice& time, double fps) const;
    Qn::Attribute animatedXform(std::size_t index, const TimeSlice& time, double fps) const;

    tinygltf::Model m_model;
    std::string m_folder;
    std::vector<ShotNode> m_nodes;
    std::vector<std::vector<std::size_t>> m_children; // of each entry of m_nodes; [m_nodes.size()] the roots
    std::vector<std::string> m_names;                 // of each entry of m_nodes
    std::vector<Qn::GroupAttribute> m_attrs; // whole for a still node; without `xform` for an animated one
    std::map<int, NodeCurves> m_curves;
    std::vector<OpDescription> m_ops;
};

} // namespace Gltf
} // namespace VexilHost
