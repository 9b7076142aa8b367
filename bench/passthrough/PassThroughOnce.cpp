// One cook of a smaller pass-through scene, for instruction-count profiles (the full benchmark is too
// large to run under an instruction counter): `vexil_bench_passthrough_once GROUPS LEAVES [no-op]`
// cooks GROUPS groups of LEAVES leaves, every 10th leaf listed, with ConstraintResolve (or no op), on
// one thread, and prints the location count and the CPU nanoseconds per location.
#include "bench/support/BenchHost.h"
#include "bench/support/BenchScenes.h"
#include "bench/support/CookTiming.h"

#include <iostream>
#include <string>

int main(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::cerr << "usage: vexil_bench_passthrough_once GROUPS LEAVES [no-op]" << std::endl;
        return 2;
    }
    try {
        const int groups = std::stoi(argv[1]);
        const int leaves = std::stoi(argv[2]);
        const bool withOp = argc == 3 || std::string(argv[3]) != "no-op";
        VexilBench::pluginRegistry();
        const VexilHost::SceneFile scene = VexilBench::passThroughScene(groups, leaves, 10, withOp);
        const double locations = static_cast<double>(VexilBench::countLocations(scene.root));
        const double cpu0 = VexilBench::processCpuSeconds();
        const VexilHost::SceneLocation cooked = VexilBench::cookScene(scene, 1);
        const double cpu = VexilBench::processCpuSeconds() - cpu0;
        const std::string error = VexilBench::firstError(cooked, "/root/world");
        if (!error.empty()) {
            throw std::runtime_error(error);
        }
        std::cout << "locations=" << locations << " cpu_ns_per_location=" << 1e9 * cpu / locations
                  << std::endl;
    } catch (const std::exception& error) {
        std::cerr << "vexil_bench_passthrough_once: " << error.what() << std::endl;
        return 1;
    }
    return 0;
}
