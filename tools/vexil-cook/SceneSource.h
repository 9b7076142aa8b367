// Where the scenes of a run come from: a scene file, which is the same scene at every frame with the
// time slice the options give, or a glTF shot, whose animation is evaluated at each frame.
#pragma once

#include "host/loader/OpRegistry.h"
#include "host/scene/SceneTypes.h"
#include "tools/gltf/GltfShot.h"
#include "tools/vexil-cook/CommandLine.h"

#include <memory>
#include <optional>

namespace VexilHost {

/// The input of a run. Read-only once made, so frames can be made from several threads at once.
class SceneSource {
public:
    /// Reads `options.scenePath` (a scene file, "-" or a glTF shot). Throws SceneFileError.
    SceneSource(const Options& options, const OpRegistry& registry);

    /// The time slice of `frame` (nothing: no frame was given): the current time is the frame; the
    /// shutter and sample count come from the options, else from a scene file's time, else 0, 0 and 1.
    TimeSlice timeAt(std::optional<double> frame) const;

    /// The scene to cook for `frame`.
    SceneFile sceneAt(std::optional<double> frame) const;

    /// The op chain of every frame's scene.
    const std::vector<OpDescription>& ops() const { return m_shot ? m_shot->ops() : m_scene.ops; }

    /// The glTF shot, or null for a scene file.
    const Gltf::GltfShot* shot() const { return m_shot.get(); }

private:
    const Options& m_options;
    SceneFile m_scene; // a scene file's
    std::unique_ptr<Gltf::GltfShot> m_shot;
};

} // namespace VexilHost
