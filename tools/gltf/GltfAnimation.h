// The animation of a glTF model's nodes: translation, rotation and scale curves, checked when read
// and evaluated at any time.
#pragma once

#include <tiny_gltf.h>

#include <map>
#include <optional>
#include <vector>

namespace VexilHost {
namespace Gltf {

/// How a curve goes from one key to the next.
enum class Interpolation { Step, Linear, CubicSpline };

/// One animated property of a node.
struct Curve {
    Interpolation interpolation = Interpolation::Linear;
    /// 3 for translation and scale, 4 for a rotation quaternion (x, y, z, w).
    int components = 3;
    /// Key times in seconds, strictly ascending, at least one.
    std::vector<double> times;
    /// `components` values per key; for CubicSpline three groups per key: in-tangent, value,
    /// out-tangent.
    std::vector<double> values;
};

/// The value of `curve` at `seconds`: the first or last key's value outside the keys; between two
/// keys the step's earlier value, the linear blend (spherical for a rotation, along the shorter
/// arc), or the cubic Hermite spline of the two values and their tangents. A rotation comes out as a
/// unit quaternion.
std::vector<double> sampleCurve(const Curve& curve, double seconds);

/// The curves of one node; a property without a curve is not animated.
struct NodeCurves {
    std::optional<Curve> translation;
    std::optional<Curve> rotation;
    std::optional<Curve> scale;
};

/// The translation, rotation and scale curves of every animation of `model`, by node index. All
/// animations play at once; when two channels drive the same property of a node, the later one in
/// the file wins. Channels of morph-target weights are left out. Throws GltfFormatError naming the
/// animation, channel, sampler or accessor at fault.
std::map<int, NodeCurves> readNodeCurves(const tinygltf::Model& model);

} // namespace Gltf
} // namespace VexilHost
