// Attributes of 1,000, 10,000 and 100,000 time samples (a baked animation, 0.01 apart), on one thread:
//  - samples/readWrite: reading a scene file whose one location has a translate of N samples and
//    writing the scene back as text;
//  - samples/constraint: cooking a Point constraint whose target has that translate, with motion blur,
//    so that the constraint is resolved at every one of the target's N sample times.
// ns_per_unit is the time divided by N: flat when the cost grows linearly with the samples.
#include "bench/support/BenchHost.h"
#include "bench/support/CookTiming.h"
#include "bench/support/SceneCache.h"
#include "host/scene/SceneReader.h"
#include "host/scene/SceneWriter.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <sstream>
#include <string>

namespace {

/// The scene text: "/root/world/target" with a translate of `samples` samples at times 0, 0.01, ...,
/// and, when `constrained`, "/root/world/follower" point-constrained to it and resolved.
std::string sampledSceneText(int samples, bool constrained) {
    std::ostringstream text;
    text << R"({"time": {"currentTime": 0, "shutterOpen": 0, "shutterClose": 0.5, "numSamples": 2},)"
         << R"("scene": {"attrs": {"type": "group"}, "children": {"world": {"attrs": {"type": "group")";
    if (constrained) {
        text << R"(, "globals": {"constraintList": ["/root/world/follower"]})";
    }
    text << R"(}, "children": {"target": {"attrs": {"type": "group", "xform": {"translate": {"double": {)";
    for (int i = 0; i < samples; ++i) {
        // Times as decimal text with two places: exact enough to stay apart as floats.
        text << (i == 0 ? "" : ", ") << '"' << i / 100 << '.' << (i % 100 < 10 ? "0" : "") << i % 100
             << "\": [" << 0.5 * i << ", 1, 0]";
    }
    text << "}}}}}";
    if (constrained) {
        text << R"(, "follower": {"attrs": {"type": "group", "xform": {"translate": {"double": [10, 0, 0]},)"
             << R"("constraint": {"type": "Point", "target": ["/root/world/target"],)"
             << R"("args": {"targetOrigin": "origin", "baseOrigin": "origin"}}}}})";
    }
    text << "}}}}";
    if (constrained) {
        text << R"(, "ops": [{"type": "ConstraintResolve", "location": "/root", "args": {}}])";
    }
    text << "}";
    return text.str();
}

void readWrite(benchmark::State& state) {
    VexilBench::pluginRegistry(); // installs the host's attribute suite, which reading needs
    const int samples = static_cast<int>(state.range(0));
    const std::string text = sampledSceneText(samples, false);
    double seconds = 0.0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const VexilHost::SceneFile scene = VexilHost::readSceneText(text, "samples.json");
        std::ostringstream written;
        VexilHost::writeScene(scene.root, written);
        const double elapsed =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        state.SetIterationTime(elapsed);
        seconds += elapsed;
        benchmark::DoNotOptimize(written.tellp());
    }
    state.counters["ns_per_unit"] = seconds * 1e9 / (static_cast<double>(state.iterations()) * samples);
}

void constraint(benchmark::State& state) {
    const int samples = static_cast<int>(state.range(0));
    const VexilBench::CachedScene& cached =
        VexilBench::cachedScene("samples/constraint/" + std::to_string(samples), [&] {
            return VexilHost::readSceneText(sampledSceneText(samples, true), "samples.json");
        });
    VexilBench::runCookLoop(state, cached.scene, 1, double(samples), cached.bytes);
}

/// Three sample counts a factor of ten apart, timed per run in milliseconds.
void sampleCounts(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("N")->Arg(1000)->Arg(10000)->Arg(100000)->UseManualTime()->Unit(
        benchmark::kMillisecond);
}

} // namespace

BENCHMARK(readWrite)->Name("samples/readWrite")->Apply(sampleCounts);
BENCHMARK(constraint)->Name("samples/constraint")->Apply(sampleCounts);

BENCHMARK_MAIN();
