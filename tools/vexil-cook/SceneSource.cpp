#include "tools/vexil-cook/SceneSource.h"

#include "host/scene/SceneReader.h"

#include <algorithm>

namespace VexilHost {

SceneSource::SceneSource(const Options& options, const OpRegistry& registry) : m_options(options) {
    if (!options.gltfInput()) {
        SceneReadOptions readOptions;
        readOptions.knownOpTypes = registry.opTypes();
        readOptions.maxInputBytes = options.maxInputBytes;
        m_scene = readSceneFile(options.scenePath, readOptions);
        return;
    }
    m_shot = std::make_unique<Gltf::GltfShot>(options.scenePath, options.maxInputBytes);
    const std::vector<std::string> known = registry.opTypes();
    for (const OpDescription& op : m_shot->ops()) {
        if (std::find(known.begin(), known.end(), op.type) == known.end()) {
            throw SceneFileError(options.scenePath + ": the shot's constraints need the op " + op.type +
                                 ", which no plug-in offers");
        }
    }
}

TimeSlice SceneSource::timeAt(std::optional<double> frame) const {
    TimeSlice time = m_shot ? TimeSlice() : m_scene.time;
    if (frame) {
        time.currentTime = static_cast<float>(*frame);
    }
    if (m_options.shutter) {
        time.shutterOpen = m_options.shutter->first;
        time.shutterClose = m_options.shutter->second;
    }
    if (m_options.samples) {
        time.numSamples = *m_options.samples;
    }
    return time;
}

SceneFile SceneSource::sceneAt(std::optional<double> frame) const {
    if (m_shot) {
        return m_shot->sceneAt(timeAt(frame), m_options.fps);
    }
    SceneFile scene = m_scene;
    scene.time = timeAt(frame);
    return scene;
}

} // namespace VexilHost
