// What writing a baked glTF file needs of one cooked frame: every location's transform relative to
// its parent node at each motion sample, its lens, its messages.
#pragma once

#include "host/scene/SceneTypes.h"
#include "tools/gltf/GltfCameras.h"

#include <Imath/ImathMatrix.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace VexilHost {
namespace Gltf {

/// One location of a cooked frame.
struct LocationFrame {
    /// The transform a glTF node at this location needs, at each sample offset of the frame: its
    /// world transform for a child of /root/world, else its world transform relative to its parent's.
    std::vector<Imath::M44d> local;
    bool isCamera = false;
    Lens lens;                 ///< at the frame's first sample, for a camera
    bool lensAnimated = false; ///< a lens attribute with differing samples
    std::string errorMessage;  ///< of a location whose type is "error"
    std::string warningMessage;
};

/// One cooked frame, as the writer needs it.
struct FrameTransforms {
    double frame = 0.0;
    /// The sample offsets (see shutterOffsets), ascending.
    std::vector<float> offsets;
    /// Every location below /root/world, by path.
    std::unordered_map<std::string, LocationFrame> locations;
};

/// Gathers frame `frame` from its cooked scene (rooted at /root): world transforms follow the host's
/// transform model, evaluated at `frame`'s offsets.
FrameTransforms gatherFrame(const SceneLocation& cooked, double frame, const std::vector<float>& offsets);

} // namespace Gltf
} // namespace VexilHost
