// The cooking engine: applies the op chain of a scene file to its input scene, location by location,
// lazily and concurrently, and hands back the cooked scene.
#pragma once

#include "host/loader/OpRegistry.h"
#include "host/scene/SceneTypes.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace VexilHost {

struct EngineOptions {
    /// Cook threads; 0 uses every core.
    int threads = 0;
    /// Abort the first query of any location not yet cooked, cook it, then cook the asker again.
    bool abortMode = false;
    /// When set, raised by one for each location of the output as soon as it is cooked, so that
    /// another thread can show progress; must outlive the cook.
    std::atomic<int64_t>* locationsCooked = nullptr;
};

/// Counts of the last cook of an Engine.
struct CookStatistics {
    /// Op cooks that finished (one per cooked location and op step).
    int64_t cooks = 0;
    /// Op cooks that ended with the abort flag set and were tried again.
    int64_t abortedAttempts = 0;
};

/// Cooks one scene with the ops of a registry: lazily (a location is cooked when the output or another
/// cook needs it), each location at most once per op step, concurrently, with the same result for any
/// number of threads and with or without abort mode. Every cook call starts afresh and frees all op
/// private data before it returns. The scene and registry must outlive the engine; one cook at a time.
class Engine {
public:
    Engine(const SceneFile& scene, const OpRegistry& registry, const EngineOptions& options = {});
    /// The engine keeps the scene and the registry by reference: a temporary one would be gone before
    /// the first cook.
    Engine(SceneFile&&, const OpRegistry&, const EngineOptions& = {}) = delete;
    Engine(const SceneFile&, OpRegistry&&, const EngineOptions& = {}) = delete;
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// Cooks every location of the op chain's output and returns it, rooted at "/root". Throws
    /// std::runtime_error for an op type the registry does not know.
    SceneLocation cook();

    /// Cooks and returns only the subtree at `path` (throws std::runtime_error when it does not exist).
    SceneLocation cook(const std::string& path);

    /// The counts of the last cook (zero before the first).
    CookStatistics statistics() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace VexilHost
