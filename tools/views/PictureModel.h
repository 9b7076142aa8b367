// What a scene picture shows, gathered from the scene before and after the op chain: every location's
// world placement, bound, mesh wireframe and camera lens, the constraints' targets, and the errors.
#pragma once

#include "host/scene/SceneTypes.h"
#include "tools/views/SceneWalk.h"
#include "tools/views/ViewProjection.h"

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>

#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace VexilHost {
namespace Picture {

/// How one location looks in one state of the scene (world space unless noted).
struct Shape {
    /// The world transform at time 0 (row vectors).
    Imath::M44d world;
    /// The world transform at each world-transform sample time, when there are two or more distinct
    /// ones (motion samples); empty otherwise.
    std::vector<std::pair<float, Imath::M44d>> motion;
    /// The `bound` (local space; nearest sample to time 0), when there is a usable one.
    std::optional<Imath::Box3d> bound;
    /// Mesh points (local space) and the edges of its faces, as pairs of point indices.
    std::vector<Imath::V3d> meshPoints;
    std::vector<std::pair<int32_t, int32_t>> meshEdges;
    /// The lens of a location of type "camera".
    std::optional<Lens> lens;
};

/// One location of the cooked scene as the picture draws it.
struct DrawnLocation {
    std::string path;
    std::string name;
    std::string type;
    /// The location after the op chain.
    Shape after;
    /// True when the location carries constraint descriptions before resolution.
    bool constrained = false;
    /// The location in the input scene (constrained locations found there only).
    std::optional<Shape> before;
    /// The constraints' targets, absolute, in order, without repeats.
    std::vector<std::string> targets;
    /// `type` is "error"; `errorMessage` and `warningMessage` as found.
    bool isError = false;
    std::string errorMessage;
    std::string warningMessage;
    /// A location that only groups others: no transform of its own, no bound, mesh or lens.
    bool groupOnly = false;
};

/// Every location of a cooked scene below "/root", in tree order.
class PictureModel {
public:
    /// Gathers the model from the input scene, the scene as it was just before constraint resolution
    /// (for the constraint descriptions) and the cooked scene; all three rooted at "/root".
    PictureModel(const SceneLocation& input, const SceneLocation& beforeResolve, const SceneLocation& cooked);

    const std::vector<DrawnLocation>& locations() const { return m_locations; }
    /// The location at `path`, or null.
    const DrawnLocation* find(const std::string& path) const;

private:
    std::vector<DrawnLocation> m_locations;
    std::unordered_map<std::string, size_t> m_index;
};

/// Meshes with more edges than this are drawn by their bound only.
constexpr size_t kMaxMeshEdges = 50000;

/// The shape of `location`, whose transform operations and those of its ancestors are `chain`.
Shape shapeOf(const SceneLocation& location, const TransformChain& chain);

} // namespace Picture
} // namespace VexilHost
