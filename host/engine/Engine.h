// The cooking engine: applies the op chain of a scene file to its input scene, location by location,
// lazily and concurrently, and hands back the cooked scene.
#pragma once

#include "host/engine/OpRegistry.h"
#include "host/scene/SceneTypes.h"

#include <memory>

namespace VexilHost {

struct EngineOptions {
    /// Cook threads; 0 uses every core.
    int threads = 0;
    /// Abort the first query of any location not yet cooked, cook it, then cook the asker again.
    bool abortMode = false;
};

/// Cooks one scene with the ops of a registry. Immutable inputs; safe to cook from one thread.
class Engine {
public:
    Engine(const SceneFile& scene, const OpRegistry& registry, const EngineOptions& options = {});
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// Cooks every location of the op chain's output and returns it, rooted at "/root". Throws
    /// std::runtime_error for an op type the registry does not know.
    SceneLocation cook();

    /// Cooks and returns only the subtree at `path` (throws std::runtime_error when it does not exist).
    SceneLocation cook(const std::string& path);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace VexilHost
