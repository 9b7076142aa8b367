#include "bench/support/SceneCache.h"

#include "bench/support/BenchHost.h"
#include "bench/support/MemoryProbe.h"

#include <map>
#include <memory>

namespace VexilBench {

namespace {

std::map<std::string, std::unique_ptr<CachedScene>>& scenes() {
    static std::map<std::string, std::unique_ptr<CachedScene>> cache;
    return cache;
}

} // namespace

const CachedScene& cachedScene(const std::string& key, const std::function<VexilHost::SceneFile()>& make) {
    auto& cache = scenes();
    auto it = cache.find(key);
    if (it == cache.end()) {
        pluginRegistry(); // the attribute suite must be installed before attributes are made
        resetPeak();
        const int64_t before = residentBytes();
        auto entry = std::make_unique<CachedScene>();
        entry->scene = make();
        entry->bytes = residentBytes() - before;
        it = cache.emplace(key, std::move(entry)).first;
    }
    return *it->second;
}

void dropCachedScenes() {
    scenes().clear();
}

} // namespace VexilBench
