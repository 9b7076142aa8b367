// The times of a shot: frames, the motion samples around each frame, and the glTF times they fall on.
#pragma once

#include "host/scene/SceneTypes.h"

#include <vector>

namespace VexilHost {
namespace Gltf {

/// Frames per second when none is given.
constexpr double kDefaultFps = 24.0;

/// The sample offsets of one frame, in frames relative to it: `numSamples` offsets spread evenly from
/// `shutterOpen` to `shutterClose` (one sample: `shutterOpen`), ascending, each once. These are the
/// sample times of every animated attribute of the frame's scene.
std::vector<float> shutterOffsets(const TimeSlice& time);

/// The glTF time in seconds of the moment `offset` frames after `frame`, at `fps` frames per second.
double secondsAt(double frame, double offset, double fps);

} // namespace Gltf
} // namespace VexilHost
