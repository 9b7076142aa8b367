// The main of the benchmark programs whose benchmarks are registered at run time.
#pragma once

namespace VexilBench {

/// Calls `registerAll`, then runs the benchmarks the command line selects. Returns the exit status:
/// 1 for unrecognised arguments, 0 otherwise.
int runBenchmarks(int argc, char** argv, void (*registerAll)());

} // namespace VexilBench
