#include "bench/support/BenchHost.h"

#include "hostapi/attribute/DataAttribute.h"

#include <malloc.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace VexilBench {

namespace {

/// A host that cooks the same scene again and again keeps the memory a cook needs. With glibc's
/// defaults the heap freed at the end of a cook goes back to the system and the next cook faults it
/// in again, at a cost that depends on what the allocator's self-adjusting thresholds happen to have
/// seen (one cook of the pass-through scene took 0.4 or 1.3 us per location depending on it).
/// VEXIL_BENCH_DEFAULT_HEAP=1 keeps glibc's defaults.
void keepHeapBetweenCooks() {
    const char* keepDefaults = std::getenv("VEXIL_BENCH_DEFAULT_HEAP");
    if (keepDefaults != nullptr && std::string(keepDefaults) == "1") {
        return;
    }
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
}

} // namespace

const VexilHost::OpRegistry& pluginRegistry() {
    static const VexilHost::OpRegistry registry = [] {
        keepHeapBetweenCooks();
        if (Qn::Attribute::setHost(VexilHost::hostServices()) != 0 ||
            Qn::GroupBuilder::setHost(VexilHost::hostServices()) != 0) {
            throw std::runtime_error("the host offers no attribute suite");
        }
        std::ostringstream diagnostics;
        VexilHost::OpRegistry loaded = VexilHost::OpRegistry::load({VEXIL_PLUGIN_DIR}, diagnostics);
        if (loaded.find("ConstraintResolve") == nullptr) {
            throw std::runtime_error("no ConstraintResolve op in " + std::string(VEXIL_PLUGIN_DIR) + ": " +
                                     diagnostics.str());
        }
        return loaded;
    }();
    return registry;
}

VexilHost::SceneLocation cookScene(const VexilHost::SceneFile& scene, int threads) {
    VexilHost::EngineOptions options;
    options.threads = threads;
    VexilHost::Engine engine(scene, pluginRegistry(), options);
    return engine.cook();
}

namespace {

std::string errorBelow(const VexilHost::SceneLocation& location, const std::string& path) {
    const Qn::StringAttribute message(location.attrs.getChildByName("errorMessage"));
    if (message.isValid()) {
        return path + ": " + message.getValue(std::string(), false);
    }
    for (const VexilHost::SceneLocation& child : location.children) {
        std::string found = errorBelow(child, path + "/" + child.name);
        if (!found.empty()) {
            return found;
        }
    }
    return std::string();
}

} // namespace

std::string firstError(const VexilHost::SceneLocation& root, const std::string& path) {
    const VexilHost::SceneLocation* at = &root;
    std::string walked = "/root";
    size_t start = walked.size() + 1;
    while (start <= path.size() && path.size() > walked.size()) {
        size_t slash = path.find('/', start);
        if (slash == std::string::npos) {
            slash = path.size();
        }
        const std::string name = path.substr(start, slash - start);
        const VexilHost::SceneLocation* next = nullptr;
        for (const VexilHost::SceneLocation& child : at->children) {
            if (child.name == name) {
                next = &child;
                break;
            }
        }
        if (next == nullptr) {
            return path + ": no such location in the cooked scene";
        }
        at = next;
        walked += "/" + name;
        start = slash + 1;
    }
    return errorBelow(*at, walked);
}

} // namespace VexilBench
