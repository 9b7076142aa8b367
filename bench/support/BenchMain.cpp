#include "bench/support/BenchMain.h"

#include <benchmark/benchmark.h>

namespace VexilBench {

int runBenchmarks(int argc, char** argv, void (*registerAll)()) {
    registerAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace VexilBench
