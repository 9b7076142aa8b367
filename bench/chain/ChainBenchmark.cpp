// Chains of 100, 300 and 1,000 Point constraints, each constrained location targeting the previous
// one (the first an animated location), listed in chain order, 2 samples, cooked on one thread. Each
// location resolves the part of the chain above it within its own cook, so the time grows with the
// square of the length; ns_per_unit is nanoseconds per constraint of the chain.
#include "bench/support/BenchScenes.h"
#include "bench/support/CookTiming.h"
#include "bench/support/SceneCache.h"

#include <benchmark/benchmark.h>

namespace {

void chain(benchmark::State& state) {
    const int length = static_cast<int>(state.range(0));
    const VexilBench::CachedScene& cached = VexilBench::cachedScene(
        "chain/" + std::to_string(length), [&] { return VexilBench::chainScene(length); });
    VexilBench::runCookLoop(state, cached.scene, 1, double(length), cached.bytes);
}

} // namespace

BENCHMARK(chain)->ArgName("length")->Arg(100)->Arg(300)->Arg(1000)->UseManualTime()->Unit(
    benchmark::kMillisecond);

BENCHMARK_MAIN();
