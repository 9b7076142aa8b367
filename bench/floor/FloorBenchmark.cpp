// The primitives of a constraint evaluation, one by one: an indirect call, an allocation and its free,
// a hashed lookup of a location path, and the attribute-suite calls the host contract makes a plug-in
// use (each through the reference host's own table). The arithmetic is `arithmetic/Point` of
// vexil_bench_compute.
#include "bench/support/BenchHost.h"
#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"
#include <vexil/AttributeHost.h>

#include <benchmark/benchmark.h>

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace {

int addOne(int value) {
    return value + 1;
}

/// A call through a pointer the compiler cannot see through, as every host table entry is.
void BM_IndirectCall(benchmark::State& state) {
    int (*volatile entry)(int) = &addOne;
    int value = 0;
    for (auto _ : state) {
        value = entry(value);
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(BM_IndirectCall)->Name("floor/indirect_call");

/// One allocation of a typical small record and its free.
void BM_MallocFree(benchmark::State& state) {
    for (auto _ : state) {
        void* block = ::operator new(64);
        benchmark::DoNotOptimize(block);
        ::operator delete(block);
    }
}
BENCHMARK(BM_MallocFree)->Name("floor/malloc_free");

/// Finding a location path among 10,000 (the size of the peer run's list): hashing it and comparing.
void BM_HashedLookup(benchmark::State& state) {
    std::vector<std::string> paths;
    for (int i = 0; i < 10000; ++i) {
        paths.push_back("/root/world/g" + std::to_string(i / 1000) + "/l" + std::to_string(i));
    }
    std::unordered_map<std::string_view, int> index;
    for (size_t i = 0; i < paths.size(); ++i) {
        index.emplace(paths[i], static_cast<int>(i));
    }
    size_t next = 0;
    for (auto _ : state) {
        const auto found = index.find(paths[next]);
        benchmark::DoNotOptimize(found->second);
        next = next + 7919 < paths.size() ? next + 7919 : next + 7919 - paths.size();
    }
}
BENCHMARK(BM_HashedLookup)->Name("floor/hashed_lookup");

const AttributeHostSuite& suite() {
    VexilBench::pluginRegistry(); // hands the host's tables to the client classes
    return *Qn::Attribute::suite();
}

/// A group like a constraint's `args`: five named children.
Qn::GroupAttribute argsGroup() {
    Qn::GroupBuilder builder;
    builder.set("targetOrigin", Qn::StringAttribute("origin"));
    builder.set("baseOrigin", Qn::StringAttribute("origin"));
    builder.set("xAxis", Qn::IntAttribute(1));
    builder.set("yAxis", Qn::IntAttribute(1));
    builder.set("zAxis", Qn::IntAttribute(1));
    return builder.build();
}

/// Reading one argument by name: the child found, its string read, the child released (3 calls).
void BM_SuiteReadArgument(benchmark::State& state) {
    const AttributeHostSuite& s = suite();
    const Qn::GroupAttribute args = argsGroup();
    for (auto _ : state) {
        QnAttributeHandle child = s.getChildByName(args.getHandle(), "baseOrigin", 10);
        int64_t count = 0;
        const char* const* values = s.getStringNearestSample(child, 0.0f, &count);
        benchmark::DoNotOptimize(values);
        s.release(child);
    }
}
BENCHMARK(BM_SuiteReadArgument)->Name("floor/suite_read_argument");

/// A result group of one matrix child, as every transform constraint hands back: the matrix made, a
/// builder made, the child set, the group built, the builder, the matrix and the group released
/// (7 calls).
void BM_SuiteMatrixGroup(benchmark::State& state) {
    const AttributeHostSuite& s = suite();
    const float time = 0.0f;
    double matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 4, 2, 0, 1};
    const double* samples[1] = {matrix};
    for (auto _ : state) {
        QnAttributeHandle values = s.createDoubleSamples(&time, 1, samples, 16, 16);
        QnGroupBuilderHandle builder = s.createGroupBuilderWithMode(QN_GROUP_BUILDER_MODE_LITERAL);
        s.groupBuilderSet(builder, "matrix", 6, values);
        QnAttributeHandle group = s.groupBuilderBuild(builder, 0);
        benchmark::DoNotOptimize(group);
        s.releaseGroupBuilder(builder);
        s.release(values);
        s.release(group);
    }
}
BENCHMARK(BM_SuiteMatrixGroup)->Name("floor/suite_matrix_group");

/// Rebuilding a three-child `xform` (translate, rotate, the resolved constraint), child by child, as
/// the contract makes a plug-in hand back a location's new transform (7 calls).
void BM_SuiteRebuildXform(benchmark::State& state) {
    const AttributeHostSuite& s = suite();
    const Qn::DoubleAttribute translate(1.0);
    const Qn::DoubleAttribute rotate(2.0);
    const Qn::GroupAttribute resolved = argsGroup();
    for (auto _ : state) {
        QnGroupBuilderHandle builder = s.createGroupBuilderWithMode(QN_GROUP_BUILDER_MODE_LITERAL);
        s.groupBuilderSet(builder, "translate", 9, translate.getHandle());
        s.groupBuilderSet(builder, "rotate", 6, rotate.getHandle());
        s.groupBuilderSet(builder, "resolvedconstraint", 18, resolved.getHandle());
        QnAttributeHandle group = s.groupBuilderBuild(builder, 0);
        benchmark::DoNotOptimize(group);
        s.releaseGroupBuilder(builder);
        s.release(group);
    }
}
BENCHMARK(BM_SuiteRebuildXform)->Name("floor/suite_rebuild_xform");

} // namespace

BENCHMARK_MAIN();
