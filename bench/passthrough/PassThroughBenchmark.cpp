// What ConstraintResolve costs where it resolves nothing: 1,000 groups of 1,000 leaves (1,000,000
// locations below "/root/world") and a constraint list of every 10th leaf (100,000 entries), none of
// them constrained, so each location pays the ancestor test and the traversal alone. The same scene
// with no op at all gives the engine's own cost. ns_per_unit is nanoseconds per location; input_MiB is
// the memory the scene took to build, peak_MiB the peak the cook added to it.
#include "bench/support/BenchMain.h"
#include "bench/support/BenchScenes.h"
#include "bench/support/CookTiming.h"
#include "bench/support/SceneCache.h"

#include <benchmark/benchmark.h>

namespace {

constexpr int kGroups = 1000;
constexpr int kLeaves = 1000;
constexpr int kListEvery = 10;

void passThrough(benchmark::State& state, bool withOp) {
    const int threads = static_cast<int>(state.range(0));
    const std::string key = withOp ? "with-op" : "no-op";
    const VexilBench::CachedScene& cached = VexilBench::cachedScene(key, [&] {
        VexilBench::dropCachedScenes(); // one scene of this size at a time
        return VexilBench::passThroughScene(kGroups, kLeaves, kListEvery, withOp);
    });
    const double locations = static_cast<double>(VexilBench::countLocations(cached.scene.root));
    VexilBench::runCookLoop(state, cached.scene, threads, locations, cached.bytes);
    state.counters["locations"] = locations;
}

void registerAll() {
    for (bool withOp : {true, false}) {
        benchmark::RegisterBenchmark(withOp ? "passthrough/ConstraintResolve" : "passthrough/no-op",
                                     passThrough, withOp)
            ->ArgName("threads")
            ->Arg(1)
            ->Arg(2)
            ->Iterations(1)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    }
}

} // namespace

int main(int argc, char** argv) {
    return VexilBench::runBenchmarks(argc, argv, &registerAll);
}
