// Generated scenes kept for the whole benchmark run, each built once, with the memory it took.
#pragma once

#include "host/scene/SceneTypes.h"

#include <functional>
#include <string>

namespace VexilBench {

/// A generated scene and the resident memory its building added.
struct CachedScene {
    VexilHost::SceneFile scene;
    int64_t bytes = 0;
};

/// The scene of `key`, built by `make` on first use (so a benchmark filtered out builds nothing).
/// Scenes stay until the program ends; not thread-safe (benchmarks set up on one thread).
const CachedScene& cachedScene(const std::string& key, const std::function<VexilHost::SceneFile()>& make);

/// Drops every cached scene (to measure a large one alone).
void dropCachedScenes();

} // namespace VexilBench
