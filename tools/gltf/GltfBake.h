// Writing cooked frames as a glTF file: the shot's model with its nodes' cooked transforms baked into
// one animation over the frames, cameras updated, and constraints and messages kept in extras.
#pragma once

#include "host/scene/SceneTypes.h"
#include "tools/gltf/FrameTransforms.h"
#include "tools/gltf/GltfShot.h"

#include <tiny_gltf.h>

#include <string>
#include <vector>

namespace VexilHost {
namespace Gltf {

/// The extras key of a baked node's constraints: their result is in the node's transform, so a
/// reader of the written file does not install them again.
constexpr const char* kBakedConstraintsKey = "vexilBakedConstraints";
/// The extras keys of a location's error and warning (from the first frame that has one).
constexpr const char* kErrorKey = "vexilErrorMessage";
constexpr const char* kWarningKey = "vexilWarningMessage";
/// The key of the asset's extras that records what was baked: {"fps": R, "frames": [F, ...],
/// "offsets": [S, ...]}, from which the key times of the bake follow.
constexpr const char* kBakeRecordKey = "vexilBake";
/// The name of the animation that holds the bake.
constexpr const char* kBakeAnimationName = "vexil-cook bake";

/// The model a bake is written into, and which of its nodes stands for which location.
class GltfBake {
public:
    /// For a glTF shot: its own model, meshes, materials and images untouched.
    explicit GltfBake(const GltfShot& shot);

    /// For a scene file: a model made from `cooked`, a frame's cooked scene: a node for every
    /// location below /root/world (parents before children, in scene order), a mesh of triangles for
    /// every polymesh or subdmesh with points and faces, a camera for every camera. The constraint
    /// groups of `beforeResolve` (the scene as the op chain's last ConstraintResolve op receives it;
    /// null for none) go to the nodes' extras. `offset` is the first sample offset, at which lenses are
    /// read.
    GltfBake(const SceneLocation& cooked, const SceneLocation* beforeResolve, float offset);

    /// Writes the bake of `frames` (in frame order) to `path` ("-": standard output), binary when
    /// `binary`. The keys of the animation are at secondsAt(frame, offset, fps) for every frame and
    /// offset; a time reached by two frames takes the later frame's value. Each node whose transform
    /// changes over the keys gets translation, rotation and scale channels with linear interpolation;
    /// any other node whose transform differs from the model's gets it as its still transform; every
    /// existing channel of the nodes' transforms is replaced. What glTF cannot hold is reported on
    /// `warnings` as "<path>: <what>" lines. Returns an empty text, or "<file>: cannot write: <why>".
    std::string write(const std::vector<FrameTransforms>& frames, double fps, const std::string& path,
                      bool binary, std::vector<std::string>& warnings) const;

private:
    struct Node {
        int node;
        std::string path;
    };
    void writeLens(tinygltf::Model& model, const Node& entry, const std::vector<FrameTransforms>& frames,
                   const LocationFrame& first, std::vector<std::string>& warnings) const;

    tinygltf::Model m_model;
    std::vector<Node> m_nodes;
    std::string m_folder;                       ///< relative images start here
    std::vector<tinygltf::Value> m_constraints; ///< per entry of m_nodes: the groups to keep, or null
    std::vector<std::string> m_lost;            ///< what making the model lost, as warnings
};

} // namespace Gltf
} // namespace VexilHost
