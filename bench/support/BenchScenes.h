// Scenes generated in memory for the benchmarks: N constrained locations of one constraint kind,
// their targets, the constraint list, and the op chain that resolves them.
#pragma once

#include "host/scene/SceneTypes.h"

#include <string>
#include <vector>

namespace VexilBench {

/// What a generated constraint scene holds.
struct SceneRecipe {
    /// The constraint type name of every constrained location ("Point", "Aim", ...).
    std::string kind = "Point";
    /// Constrained locations, placed in groups of kGroupSize below /root/world.
    int constrained = 1000;
    /// Targets of each constraint, chosen round-robin from the target pool.
    int targetsPerConstraint = 3;
    /// Locations in the target pool ("/root/world/targets/t<j>").
    int targetPool = 30;
    /// Transform samples of every target (1: static; 2 or more: animated over the shutter 0 .. 0.5).
    int samples = 2;
    /// False gives the same locations, transforms and list without any constraint description: the
    /// unconstrained scene of the same size.
    bool withConstraints = true;
    /// Added to every target translation: stepping it gives one scene per frame of an animation.
    double targetOffset = 0.0;
};

/// Constrained locations per group ("/root/world/g<k>/c<i>").
constexpr int kGroupSize = 1000;
/// Every constraint kind the benchmarks cover, in registry order.
const std::vector<std::string>& constraintKinds();

/// The path of constrained location `index`.
std::string constrainedPath(int index);

/// The scene of `recipe`: the constrained locations carry their constraint description in `xform`
/// (and "/root/world" lists them in `globals.constraintList`), cooked by ConstraintResolve at "/root".
VexilHost::SceneFile constraintScene(const SceneRecipe& recipe);

/// A flat chain below "/root/world/chain": c0 is point-constrained to an animated target, and each
/// c<k> to c<k-1>; the list orders them c0 first.
VexilHost::SceneFile chainScene(int length);

/// `groups` x `leaves` plain locations ("/root/world/g<k>/l<i>", each with a translate and a bound)
/// and a constraint list of every `listEvery`-th leaf, none of them constrained: what ConstraintResolve
/// only passes through. With `withOp` false the op chain is empty (the engine's own cost).
VexilHost::SceneFile passThroughScene(int groups, int leaves, int listEvery, bool withOp);

/// The number of locations below and including "/root" of a scene.
int64_t countLocations(const VexilHost::SceneLocation& root);

} // namespace VexilBench
