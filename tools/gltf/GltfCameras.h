// Cameras both ways: a glTF camera as this host's camera attributes, and a cooked camera's lens as a
// glTF camera.
#pragma once

#include "hostapi/attribute/GroupAttribute.h"

#include <tiny_gltf.h>

#include <string>
#include <vector>

namespace VexilHost {
namespace Gltf {

/// `far` of a perspective camera whose glTF camera has none (an infinite projection).
constexpr double kDefaultFar = 100000.0;

/// The `geometry` group of a camera location for glTF camera `index`: `projection` ("perspective" or
/// "orthographic"), `near` and `far`, and the screen window `left`, `right`, `bottom`, `top`; a
/// perspective camera also `fov` (degrees, from `yfov`) with the window [-aspectRatio, aspectRatio] x
/// [-1, 1] ([-1, 1] x [-1, 1] without an aspect ratio), an orthographic one the window [-xmag, xmag] x
/// [-ymag, ymag]. Throws GltfFormatError naming the camera for values no camera can have.
Qn::GroupAttribute cameraGeometry(const tinygltf::Model& model, int index);

/// A camera location's lens as the host's attributes give it (missing values as the pictures take them).
struct Lens {
    bool orthographic = false;
    double fov = 70.0;
    double left = -1.0, right = 1.0, bottom = -1.0, top = 1.0;
    double near = 0.1, far = kDefaultFar;
    bool operator==(const Lens& other) const;
    bool operator!=(const Lens& other) const { return !(*this == other); }
};

/// The lens of a location's attributes at `time`; `animated` is set when a lens attribute has
/// samples that differ.
Lens lensAt(const Qn::GroupAttribute& attrs, float time, bool& animated);

/// The glTF camera of `lens`. What glTF cannot hold is appended to `lost` as a phrase ("an off-centre
/// screen window"): the window is then written centred with its size kept.
tinygltf::Camera gltfCamera(const Lens& lens, std::vector<std::string>& lost);

/// Whether two glTF cameras show the same view: the same projection and numbers (within rounding),
/// where a missing far plane equals kDefaultFar and a missing aspect ratio 1, as they are read.
bool sameCamera(const tinygltf::Camera& a, const tinygltf::Camera& b);

} // namespace Gltf
} // namespace VexilHost
