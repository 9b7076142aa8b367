// Our side of the side-by-side run: N locations, each point-constrained to one of 3 animated targets,
// cooked at 24 frames on one thread, and the same N locations unconstrained. Prints one line of
// key=value pairs (times in seconds, both process CPU and wall) for run-peer to read.
#include "bench/support/BenchHost.h"
#include "bench/support/BenchScenes.h"
#include "bench/support/CookTiming.h"

#include <chrono>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr int kFrames = 24;

struct Timing {
    double cpu = 0.0;
    double wall = 0.0;
};

/// Cooks the 24 frames of the scene in order; the scenes are made before the clock starts, as a
/// file would be read before evaluation.
Timing cookFrames(int n, bool constrained) {
    std::vector<VexilHost::SceneFile> frames;
    for (int f = 0; f < kFrames; ++f) {
        VexilBench::SceneRecipe recipe;
        recipe.kind = "Point";
        recipe.constrained = n;
        recipe.targetsPerConstraint = 1;
        recipe.targetPool = 3;
        recipe.samples = 1;
        recipe.withConstraints = constrained;
        recipe.targetOffset = 0.25 * f; // the targets' animation, evaluated at frame f
        frames.push_back(VexilBench::constraintScene(recipe));
    }
    Timing timing;
    for (const VexilHost::SceneFile& frame : frames) {
        const double cpu0 = VexilBench::processCpuSeconds();
        const auto wall0 = std::chrono::steady_clock::now();
        VexilHost::SceneLocation cooked = VexilBench::cookScene(frame, 1);
        timing.cpu += VexilBench::processCpuSeconds() - cpu0;
        timing.wall += std::chrono::duration<double>(std::chrono::steady_clock::now() - wall0).count();
        if (constrained && &frame == &frames.front()) {
            const std::string error = VexilBench::firstError(cooked, "/root/world");
            if (!error.empty()) {
                throw std::runtime_error(error);
            }
        }
    }
    return timing;
}

} // namespace

int main(int argc, char** argv) {
    // With "constrained" or "unconstrained" after N, only that scene is cooked, once per frame and with
    // no warm-up: for counting instructions and calls per evaluation under a profiler.
    const std::string only = argc == 3 ? argv[2] : "";
    if (argc < 2 || argc > 3 || (argc == 3 && only != "constrained" && only != "unconstrained")) {
        std::cerr << "usage: vexil_bench_peer N [constrained|unconstrained]" << std::endl;
        return 2;
    }
    try {
        const int n = std::stoi(argv[1]);
        VexilBench::pluginRegistry();
        if (!only.empty()) {
            cookFrames(n, only == "constrained");
            return 0;
        }
        cookFrames(n, true); // warm-up: libraries, allocator, caches
        const Timing constrained = cookFrames(n, true);
        const Timing unconstrained = cookFrames(n, false);
        std::cout << "side=vexil n=" << n << " frames=" << kFrames << " constrained_cpu=" << constrained.cpu
                  << " constrained_wall=" << constrained.wall << " unconstrained_cpu=" << unconstrained.cpu
                  << " unconstrained_wall=" << unconstrained.wall << std::endl;
    } catch (const std::exception& error) {
        std::cerr << "vexil_bench_peer: " << error.what() << std::endl;
        return 1;
    }
    return 0;
}
