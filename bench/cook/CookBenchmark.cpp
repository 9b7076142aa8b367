// Whole cooks of generated constraint scenes through the engine and the real plug-in: Point with 3
// targets and 2 samples at 1,000, 10,000 and 100,000 constrained locations on 1 and 2 threads, and
// every other constraint kind at 10,000. ns_per_unit is nanoseconds per constraint-sample.
#include "bench/support/BenchMain.h"
#include "bench/support/BenchScenes.h"
#include "bench/support/CookTiming.h"
#include "bench/support/SceneCache.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

constexpr int kTargets = 3;
constexpr int kSamples = 2;

void cookKind(benchmark::State& state, const std::string& kind, bool constrained) {
    const int n = static_cast<int>(state.range(0));
    const int threads = static_cast<int>(state.range(1));
    const std::string key = kind + (constrained ? "" : "-unconstrained") + "/" + std::to_string(n);
    const VexilBench::CachedScene& cached = VexilBench::cachedScene(key, [&] {
        VexilBench::SceneRecipe recipe;
        recipe.kind = kind;
        recipe.constrained = n;
        recipe.targetsPerConstraint = kTargets;
        recipe.samples = kSamples;
        recipe.withConstraints = constrained;
        return VexilBench::constraintScene(recipe);
    });
    VexilBench::runCookLoop(state, cached.scene, threads, double(n) * kSamples, cached.bytes);
}

/// Cook times are taken around the cook alone (the result is freed outside them).
void configure(benchmark::internal::Benchmark* b, int n, int threads) {
    b->Args({n, threads})->ArgNames({"N", "threads"})->UseManualTime()->Unit(benchmark::kMillisecond);
}

void registerAll() {
    for (int threads : {1, 2}) {
        for (int n : {1000, 10000, 100000}) {
            configure(benchmark::RegisterBenchmark("cook/Point", cookKind, std::string("Point"), true), n,
                      threads);
        }
        configure(benchmark::RegisterBenchmark("cook/unconstrained", cookKind, std::string("Point"), false),
                  10000, threads);
        for (const std::string& kind : VexilBench::constraintKinds()) {
            if (kind != "Point") {
                configure(benchmark::RegisterBenchmark(("cook/" + kind).c_str(), cookKind, kind, true), 10000,
                          threads);
            }
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    return VexilBench::runBenchmarks(argc, argv, &registerAll);
}
