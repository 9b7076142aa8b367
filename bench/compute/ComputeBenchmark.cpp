// The compute step of each resolver kind, on the same 10,000 constrained locations (3 targets, 2
// samples) as the cook benchmark, with every input prepared ahead and no engine around it: what a
// cook costs at the very least. The step makes the resolver from the constraint description (where
// resolvers read their arguments) and resolves every sample. ns_per_unit is nanoseconds per
// constraint-sample.
#include "bench/compute/StandInInputs.h"
#include "bench/support/BenchHost.h"
#include "bench/support/BenchMain.h"
#include "bench/support/BenchScenes.h"
#include "constraints/resolve/ConstraintResolverRegistry.h"
#include "constraints/resolve/LocationResolver.h"
#include "constraints/resolvers/TransformMath.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>

namespace {

using namespace Vexil3Constraints::Private;

constexpr int kConstrained = 10000;

/// One constrained location's inputs, as the framework would hand them to its resolver.
struct Prepared {
    std::string path;
    TargetPaths targets;
    SampleTimes times;
    XformSamples base;
    XformSamplesList targetSamples;
    Qn::GroupAttribute description;
    ConstraintResolverPtr resolver; // made ahead for the sample times and the check of the result
};

struct KindInputs {
    VexilHost::SceneFile scene;
    std::unique_ptr<VexilBench::SceneIndex> index;
    std::vector<Prepared> locations;
    ConstraintResolverCreator create = nullptr;
    double samples = 0; // constraint-samples over all locations
};

KindInputs prepare(const std::string& kind) {
    VexilBench::pluginRegistry();
    KindInputs inputs;
    VexilBench::SceneRecipe recipe;
    recipe.kind = kind;
    recipe.constrained = kConstrained;
    inputs.scene = VexilBench::constraintScene(recipe);
    inputs.index = std::make_unique<VexilBench::SceneIndex>(inputs.scene);
    Qn::VexilCookInterface cook(inputs.index->handle(), VexilBench::SceneIndex::suite());
    VexilBench::StandInCache cache(*inputs.index);
    inputs.create = findConstraintResolverCreator(kind);
    for (int i = 0; i < kConstrained; ++i) {
        Prepared p;
        p.path = VexilBench::constrainedPath(i);
        const Qn::GroupAttribute group = inputs.index->attrs(p.path).getChildByName("xform.constraint");
        const std::vector<std::string> targets =
            Qn::StringAttribute(group.getChildByName("target")).getNearestSampleStrings(0.0f);
        p.targets.assign(targets.begin(), targets.end());
        p.description = group;
        p.resolver = inputs.create(group, ResolverSetup());
        p.times = cache.getWorldXformSampleTimes(cook, p.path);
        for (const std::string& target : p.targets) {
            const SampleTimes t = cache.getWorldXformSampleTimes(cook, target);
            p.times.insert(t.begin(), t.end());
        }
        p.resolver->addTimeSamples(cook, p.path, p.targets, cache, p.times);
        mergeSampleTimes(p.times, true);
        p.base = cache.getWorldXform(cook, p.path, p.times);
        for (const std::string& target : p.targets) {
            p.targetSamples.push_back(cache.getWorldXform(cook, target, p.times));
        }
        inputs.samples += static_cast<double>(p.times.size());
        inputs.locations.push_back(std::move(p));
    }
    return inputs;
}

void computeStep(benchmark::State& state, const std::string& kind) {
    const KindInputs inputs = prepare(kind);
    Qn::VexilCookInterface cook(inputs.index->handle(), VexilBench::SceneIndex::suite());
    VexilBench::StandInCache cache(*inputs.index);
    double seconds = 0.0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        for (const Prepared& p : inputs.locations) {
            OutputAttributes outputs;
            const ConstraintResolverPtr resolver = inputs.create(p.description, ResolverSetup());
            Qn::GroupAttribute result =
                resolver->resolve(p.times, cook, p.base, p.path, p.targetSamples, p.targets, cache, outputs);
            benchmark::DoNotOptimize(result);
        }
        const double elapsed =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        state.SetIterationTime(elapsed);
        seconds += elapsed;
    }
    // One result checked: a compute step that fails measures the wrong thing.
    const Prepared& first = inputs.locations.front();
    OutputAttributes outputs;
    const Qn::GroupAttribute result = first.resolver->resolve(
        first.times, cook, first.base, first.path, first.targetSamples, first.targets, cache, outputs);
    const Qn::StringAttribute error(result.getChildByName("errorMessage"));
    if (error.isValid()) {
        state.SkipWithError(error.getValue(std::string(), false).c_str());
    }
    state.counters["ns_per_unit"] = seconds * 1e9 / (double(state.iterations()) * inputs.samples);
}

/// The transform arithmetic alone, on the same points and matrices: average target origin and the
/// kind's matrix function.
void arithmetic(benchmark::State& state, const std::string& kind) {
    const KindInputs inputs = prepare(kind);
    struct Sample {
        Imath::M44d base;
        Imath::V3d target[3];
    };
    std::vector<Sample> samples;
    for (const Prepared& p : inputs.locations) {
        for (float t : p.times) {
            Sample s;
            s.base = p.base.at(t);
            for (size_t k = 0; k < 3; ++k) {
                s.target[k] = p.targetSamples[k].at(t).translation();
            }
            samples.push_back(s);
        }
    }
    const Imath::V3d aim(0, 0, -1), up(0, 1, 0), worldUp(0, 1, 0), origin(0, 0, 0);
    for (auto _ : state) {
        for (const Sample& s : samples) {
            const Imath::V3d target = (s.target[0] + s.target[1] + s.target[2]) / 3.0;
            Imath::M44d m = kind == "Aim" ? aimConstraintMatrix(s.base, target, aim, up, worldUp)
                                          : pointConstraintMatrix(s.base, origin, target, true, true, true);
            benchmark::DoNotOptimize(m);
        }
    }
    state.counters["ns_per_unit"] = benchmark::Counter(
        double(samples.size()), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void registerAll() {
    for (const std::string& kind : VexilBench::constraintKinds()) {
        benchmark::RegisterBenchmark(("compute/" + kind).c_str(), computeStep, kind)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    }
    for (const char* kind : {"Point", "Aim"}) {
        benchmark::RegisterBenchmark((std::string("arithmetic/") + kind).c_str(), arithmetic,
                                     std::string(kind))
            ->Unit(benchmark::kMillisecond);
    }
}

} // namespace

int main(int argc, char** argv) {
    return VexilBench::runBenchmarks(argc, argv, &registerAll);
}
