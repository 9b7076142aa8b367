// The measuring loop shared by the whole-cook benchmarks: manual timing of each cook, a check that the
// cook succeeded, and the per-sample and memory counters.
#pragma once

#include "host/scene/SceneTypes.h"

#include <benchmark/benchmark.h>

#include <string>

namespace VexilBench {

/// CPU seconds used so far by every thread of the process.
double processCpuSeconds();

/// Cooks `scene` once per benchmark iteration with `threads` threads and reports, besides the time:
/// "ns_per_unit" (cook nanoseconds divided by `units`, e.g. constraints x samples), "cpu_ns_per_unit" (the
/// same with the CPU time of every thread of the process, steadier on a busy machine), "peak_MiB" (the peak
/// resident memory above what was resident before the first cook) and "input_MiB" (`inputBytes`, the
/// memory the scene took to build). Skips with the error when a location below `checkedPath` failed.
void runCookLoop(benchmark::State& state, const VexilHost::SceneFile& scene, int threads, double units,
                 int64_t inputBytes, const std::string& checkedPath = "/root/world");

} // namespace VexilBench
