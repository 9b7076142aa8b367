#include "bench/support/CookTiming.h"

#include "bench/support/BenchHost.h"
#include "bench/support/MemoryProbe.h"

#include <chrono>
#include <ctime>

namespace VexilBench {

double processCpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

void runCookLoop(benchmark::State& state, const VexilHost::SceneFile& scene, int threads, double units,
                 int64_t inputBytes, const std::string& checkedPath) {
    pluginRegistry();
    resetPeak();
    const int64_t before = residentBytes();
    // One untimed cook first: its result is checked, and it brings the heap to the size a cook needs,
    // as a host that cooks the same scene again and again has it. Without it a benchmark that runs a
    // single timed cook (the largest scenes) would pay the first touch of every page that the smaller
    // ones, timed over many cooks, pay only once.
    {
        const VexilHost::SceneLocation cooked = cookScene(scene, threads);
        const std::string error = firstError(cooked, checkedPath);
        if (!error.empty()) {
            state.SkipWithError(error.c_str());
            return;
        }
    }
    double seconds = 0.0;
    double cpuSeconds = 0.0;
    for (auto _ : state) {
        const double cpuStart = processCpuSeconds();
        const auto start = std::chrono::steady_clock::now();
        VexilHost::SceneLocation cooked = cookScene(scene, threads);
        const double elapsed =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        cpuSeconds += processCpuSeconds() - cpuStart;
        state.SetIterationTime(elapsed);
        seconds += elapsed;
        benchmark::DoNotOptimize(cooked);
    }
    const double iterations = static_cast<double>(state.iterations());
    if (iterations > 0 && units > 0) {
        state.counters["ns_per_unit"] = seconds * 1e9 / (iterations * units);
        state.counters["cpu_ns_per_unit"] = cpuSeconds * 1e9 / (iterations * units);
    }
    state.counters["peak_MiB"] = static_cast<double>(peakResidentBytes() - before) / (1024.0 * 1024.0);
    state.counters["input_MiB"] = static_cast<double>(inputBytes) / (1024.0 * 1024.0);
}

} // namespace VexilBench
