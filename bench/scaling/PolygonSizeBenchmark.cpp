// An Orient constraint to the one face of a polygon of 30, 300 and 3,000 points that all lie on one
// line, cooked on one thread: the face spans no plane, so the search for a frame tries the whole face
// before the constraint fails with "Error creating rotation from face points.". The line runs along
// the x axis (`axis`), along the diagonal x = y (`diagonal`) or along y = 2x (`steep`, whose unit edges
// come out in a few roundings, so the search looks at every point from every point: the quadratic
// case); ns_per_unit is nanoseconds per point.
#include "bench/support/BenchHost.h"
#include "bench/support/CookTiming.h"
#include "bench/support/SceneCache.h"

#include "hostapi/attribute/DataAttribute.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

const char* const kExpectedError =
    "/root/world/follower: Orient Constraint Error: Orient constraint resolver: Error creating rotation from "
    "face points.";

Qn::GroupAttribute group(const std::vector<std::pair<std::string, Qn::Attribute>>& children) {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    for (const auto& [name, value] : children) {
        builder.set(name, value);
    }
    return builder.build();
}

/// A polygon mesh at /root/world/polygon with one face of `points` points on the line y = slope x, and a
/// location orient-constrained to that face.
VexilHost::SceneFile lineScene(int points, float slope) {
    std::vector<float> positions;
    std::vector<int32_t> vertices;
    for (int i = 0; i < points; ++i) {
        positions.insert(positions.end(), {float(i), slope * float(i), 0.0f});
        vertices.push_back(i);
    }
    const Qn::GroupAttribute geometry =
        group({{"point", group({{"P", Qn::FloatAttribute(positions, 3)}})},
               {"poly", group({{"startIndex", Qn::IntAttribute(std::vector<int32_t>{0, points})},
                               {"vertexList", Qn::IntAttribute(vertices)}})}});
    const Qn::GroupAttribute constraint =
        group({{"type", Qn::StringAttribute("Orient")},
               {"target", Qn::StringAttribute(std::vector<std::string>{"/root/world/polygon"})},
               {"args", group({{"targetOrientation", Qn::StringAttribute("face")},
                               {"targetFaceIndex", Qn::IntAttribute(0)}})}});
    VexilHost::SceneFile file;
    file.root = {"root", group({{"type", Qn::StringAttribute("group")}}), {}};
    VexilHost::SceneLocation world{"world", group({{"type", Qn::StringAttribute("group")}}), {}};
    world.children.push_back(
        {"polygon", group({{"type", Qn::StringAttribute("polymesh")}, {"geometry", geometry}}), {}});
    world.children.push_back(
        {"follower",
         group({{"type", Qn::StringAttribute("group")}, {"xform", group({{"constraint", constraint}})}}),
         {}});
    file.root.children.push_back(std::move(world));
    file.ops.push_back({"ConstraintResolve", "/root", group({})});
    return file;
}

/// `slope` is the line's y per x.
void polygon(benchmark::State& state, float slope) {
    const int points = static_cast<int>(state.range(0));
    const VexilBench::CachedScene& cached = VexilBench::cachedScene(
        std::to_string(slope) + "/" + std::to_string(points), [&] { return lineScene(points, slope); });
    // The cook must fail exactly as the degenerate face does, or it measures something else.
    const std::string error =
        VexilBench::firstError(VexilBench::cookScene(cached.scene, 1), "/root/world/follower");
    if (error != kExpectedError) {
        state.SkipWithError(("unexpected result: " + error).c_str());
        return;
    }
    VexilBench::runCookLoop(state, cached.scene, 1, double(points), cached.bytes, "/root/world/polygon");
}

void configure(benchmark::internal::Benchmark* b) {
    b->ArgName("points")->Arg(30)->Arg(300)->Arg(3000)->UseManualTime()->Unit(benchmark::kMillisecond);
}

} // namespace

BENCHMARK_CAPTURE(polygon, axis, 0.0f)->Apply(configure);
BENCHMARK_CAPTURE(polygon, diagonal, 1.0f)->Apply(configure);
BENCHMARK_CAPTURE(polygon, steep, 2.0f)->Apply(configure);

BENCHMARK_MAIN();
