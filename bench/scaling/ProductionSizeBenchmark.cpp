// The sizes production scenes reach, each at three sizes a factor of ten apart, cooked on one thread:
//  - scaling/chain: a rope of N links, each Point-constrained to the one before, listed in that order;
//  - scaling/nesting: N constrained locations nested inside each other, each following a fixed target,
//    every level listed below its parent (the scene file nests at most about 2,000 levels);
//  - scaling/setupEntries: one ConstraintSetup op installing N constraints, then ConstraintResolve;
//  - scaling/opChain: N ConstraintListEdit ops, each cooked at /root and /root/world and passing 1,000
//    other locations through, then ConstraintResolve.
// ns_per_unit is the time divided by N: flat when the cost grows linearly with the size.
#include "bench/support/BenchScenes.h"
#include "bench/support/CookTiming.h"
#include "bench/support/SceneCache.h"
#include "host/scene/SceneReader.h"

#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

namespace {

const char* const kPoint = R"("type": "Point", "args": {"targetOrigin": "origin", "baseOrigin": "origin"})";

VexilHost::SceneFile nestingScene(int depth) {
    std::ostringstream list;
    std::string path = "/root/world";
    for (int i = 0; i < depth; ++i) {
        path += "/n";
        list << (i == 0 ? "" : ", ") << '"' << path << '"';
    }
    std::ostringstream text;
    text << R"({"scene": {"children": {"world": {"attrs": {"globals": {"constraintList": [)" << list.str()
         << R"(]}}, "children": {"t": {"attrs": {"xform": {"translate": {"double": [0, 5, 0]}}}})";
    for (int i = 0; i < depth; ++i) {
        text << (i == 0 ? ", " : "") << R"("n": {"attrs": {"xform": {"translate": {"double": [1, 0, 0]}, )"
             << R"("constraint": {)" << kPoint << R"(, "target": ["/root/world/t"]}}}, "children": {)";
    }
    for (int i = 0; i < depth; ++i) {
        text << "}}";
    }
    text << R"(}}}}, "ops": [{"type": "ConstraintResolve"}]})";
    return VexilHost::readSceneText(text.str(), "nesting.json");
}

VexilHost::SceneFile setupScene(int entries) {
    std::ostringstream bases;
    std::ostringstream constraints;
    for (int i = 0; i < entries; ++i) {
        bases << ", \"b" << i << R"(": {"attrs": {"xform": {"translate": {"double": [)" << i << ", 0, 0]}}}}";
        constraints << (i == 0 ? "" : ", ") << "\"e" << i << R"(": {"baseLocationPath": "/root/world/b)" << i
                    << R"(", "constraintGroup": {)" << kPoint << R"(, "target": ["/root/world/t"]}})";
    }
    std::ostringstream text;
    text << R"({"scene": {"children": {"world": {"children": {"t": {"attrs": {"xform": {"translate": )"
         << R"({"double": [0, 5, 0]}}}})" << bases.str() << R"(}}}}, "ops": [{"type": "ConstraintSetup", )"
         << R"("args": {"constraints": {)" << constraints.str() << R"(}}}, {"type": "ConstraintResolve"}]})";
    return VexilHost::readSceneText(text.str(), "setup.json");
}

VexilHost::SceneFile opChainScene(int ops) {
    std::ostringstream leaves;
    for (int i = 0; i < 1000; ++i) {
        leaves << (i == 0 ? "" : ", ") << "\"l" << i << R"(": {"attrs": {"xform": {"translate": {"double": [)"
               << i << ", 0, 0]}}}}";
    }
    std::ostringstream text;
    text
        << R"({"scene": {"children": {"world": {"attrs": {"globals": {"constraintList": ["/root/world/t"]}}, )"
        << R"("children": {"t": {"attrs": {"xform": {"translate": {"double": [0, 5, 0]}}}}, "geo": )"
        << R"({"children": {)" << leaves.str() << "}}}}}}, \"ops\": [";
    for (int i = 0; i < ops; ++i) {
        text
            << R"({"type": "ConstraintListEdit", "args": {"mode": "remove", "locationPaths": ["/root/world/x"]}}, )";
    }
    text << R"({"type": "ConstraintResolve"}]})";
    return VexilHost::readSceneText(text.str(), "opchain.json");
}

template <VexilHost::SceneFile (*Make)(int)> void cookAtSize(benchmark::State& state, const char* name) {
    const int size = static_cast<int>(state.range(0));
    const VexilBench::CachedScene& cached =
        VexilBench::cachedScene(std::string(name) + "/" + std::to_string(size), [&] { return Make(size); });
    VexilBench::runCookLoop(state, cached.scene, 1, double(size), cached.bytes);
}

void chain(benchmark::State& state) {
    cookAtSize<VexilBench::chainScene>(state, "chain");
}
void nesting(benchmark::State& state) {
    cookAtSize<nestingScene>(state, "nesting");
}
void setupEntries(benchmark::State& state) {
    cookAtSize<setupScene>(state, "setup");
}
void opChain(benchmark::State& state) {
    cookAtSize<opChainScene>(state, "opChain");
}

void sizes(benchmark::internal::Benchmark* benchmark, int smallest) {
    benchmark->ArgName("N")
        ->Arg(smallest)
        ->Arg(10 * smallest)
        ->Arg(100 * smallest)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK(chain)->Name("scaling/chain")->Apply([](auto* b) { sizes(b, 1000); });
BENCHMARK(nesting)->Name("scaling/nesting")->Apply([](auto* b) { sizes(b, 20); });
BENCHMARK(setupEntries)->Name("scaling/setupEntries")->Apply([](auto* b) { sizes(b, 1000); });
BENCHMARK(opChain)->Name("scaling/opChain")->Apply([](auto* b) { sizes(b, 1000); });

BENCHMARK_MAIN();
