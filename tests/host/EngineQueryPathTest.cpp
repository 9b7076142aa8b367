// World-transform queries that reach a location by path: a cook's own location (its chain built from
// its parent's walk and its own input), and a location among many siblings (found through the
// parent's child index rather than a scan), on both engine modes, against values worked out by hand.
#include "host/engine/AttributeEdit.h"
#include "host/engine/Engine.h"
#include "tests/host/HostTestSupport.h"

#include <gtest/gtest.h>

#include <array>

namespace VexilHost {
namespace {

using namespace HostTest;

constexpr int kSiblings = 40; // well above the size at which a parent's children get a name index

/// world: translate (0,0,0) at 0 -> (0,10,0) at 1; many: scale 2; many/c<i>: translate (i,0,0), given
/// in reverse order so that a child's name and its position disagree; reset: translate (1,2,3), then an
/// origin, then a nested group translating by (4,0,0).
SceneLocation scene() {
    std::vector<SceneLocation> children;
    for (int i = kSiblings - 1; i >= 0; --i) {
        children.push_back(location("c" + std::to_string(i),
                                    {{"xform", group({{"translate", doubles({double(i), 0, 0})}})}}));
    }
    return location(
        "root", {},
        {location(
            "world",
            {{"xform", group({{"translate", animated({{0.0f, {0, 0, 0}}, {1.0f, {0, 10, 0}}}, 3)}})}},
            {location("reset", {{"xform", group({{"translate", doubles({1, 2, 3})},
                                                 {"origin", doubles({0})},
                                                 {"after", group({{"translate", doubles({4, 0, 0})}})}})}}),
             location("many", {{"xform", group({{"scale", doubles({2, 2, 2})}})}}, std::move(children))})});
}

/// Cooks TestWorld at `at` asking for `of` (after a TestMark step, so that the queried step is a
/// cooked one) and returns the cooked scene.
SceneLocation query(const std::string& at, const std::string& of, bool abortMode,
                    const NamedAttrs& extra = {}) {
    NamedAttrs args = {{"at", strings({at})}, {"of", strings({of})}};
    args.insert(args.end(), extra.begin(), extra.end());
    const SceneFile file =
        sceneFile(scene(), {op("TestMark", "/root/world"), op("TestWorld", "/root/world", args)});
    EngineOptions options;
    options.abortMode = abortMode;
    options.threads = 2;
    Engine engine(file, testRegistry(), options);
    return engine.cook();
}

/// The 16 values of one world matrix: scale 2 on every axis, origin at (x, y, 0).
std::array<double, 16> scaledAt(double x, double y) {
    return {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, x, y, 0, 1};
}

void expectWorld(const SceneLocation& out, const std::string& at,
                 const std::vector<std::array<double, 16>>& expected) {
    const Qn::FloatAttribute times(attrOf(out, at, "queried.times"));
    ASSERT_TRUE(times.isValid());
    const auto t = times.getNearestSample(0.0f);
    EXPECT_EQ(std::vector<float>(t.begin(), t.end()), (std::vector<float>{0.0f, 1.0f}));
    const Qn::DoubleAttribute world(attrOf(out, at, "queried.world"));
    ASSERT_EQ(world.getNumberOfValues(), static_cast<int64_t>(16 * expected.size()));
    const auto values = world.getNearestSample(0.0f);
    for (size_t m = 0; m < expected.size(); ++m) {
        for (size_t i = 0; i < 16; ++i) {
            EXPECT_DOUBLE_EQ(values[static_cast<int64_t>(16 * m + i)], expected[m][i])
                << "sample " << m << " value " << i;
        }
    }
}

TEST(EngineQueryPaths, OwnLocationWorldTransformFollowsItsAncestors) {
    // c37: T(37,0,0) * S(2) * T(0,10t,0): its origin goes to (74, 10t, 0).
    for (bool abortMode : {false, true}) {
        SCOPED_TRACE(abortMode ? "abort mode" : "plain");
        const std::string at = "/root/world/many/c37";
        const SceneLocation out = query(at, at, abortMode);
        expectWorld(out, at, {scaledAt(74, 0), scaledAt(74, 10)});
        // Trailing slashes and the empty path name the cook's own location too.
        expectWorld(query(at, at + "//", abortMode), at, {scaledAt(74, 0), scaledAt(74, 10)});
        expectWorld(query(at, "", abortMode), at, {scaledAt(74, 0), scaledAt(74, 10)});
    }
}

TEST(EngineQueryPaths, OwnLocationWithAnOriginIgnoresItsAncestors) {
    // Only the operations after the origin count, and the world above is cut off; the sample times
    // still gather every operation of the chain.
    for (bool abortMode : {false, true}) {
        SCOPED_TRACE(abortMode ? "abort mode" : "plain");
        const std::string at = "/root/world/reset";
        const std::array<double, 16> moved = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 4, 0, 0, 1};
        expectWorld(query(at, at, abortMode), at, {moved, moved});
    }
}

TEST(EngineQueryPaths, OwnLocationOverridesReplaceItsOwnXformOrAnAncestors) {
    const std::string at = "/root/world/many/c5";
    // Its own xform replaced by translate (1,0,0): origin (2, 10t, 0).
    const SceneLocation own =
        query(at, at, false, {{"overrides", group({{at, group({{"translate", doubles({1, 0, 0})}})}})}});
    expectWorld(own, at, {scaledAt(2, 0), scaledAt(2, 10)});
    // The parent's xform replaced by scale 2 then translate (0,3,0): the later operation applies
    // first, so c5's origin (5,0,0) moves to (5,3,0), doubles to (10,6,0), then rises with the world.
    const SceneLocation parent =
        query(at, at, false,
              {{"overrides", group({{"/root/world/many", group({{"scale", doubles({2, 2, 2})},
                                                                {"translate", doubles({0, 3, 0})}})}})}});
    expectWorld(parent, at, {scaledAt(10, 6), scaledAt(10, 16)});
}

TEST(EngineQueryPaths, SiblingsAmongManyAreFoundByName) {
    for (bool abortMode : {false, true}) {
        SCOPED_TRACE(abortMode ? "abort mode" : "plain");
        for (int target : {0, 15, 16, 39}) {
            SCOPED_TRACE(target);
            const std::string at = "/root/world/many/c2";
            const SceneLocation out = query(at, "/root/world/many/c" + std::to_string(target), abortMode);
            expectWorld(out, at, {scaledAt(2.0 * target, 0), scaledAt(2.0 * target, 10)});
        }
        // A name that no child has: no transform; neither does a prefix of an existing name.
        for (const std::string missing :
             {"/root/world/many/c40", "/root/world/many/c", "/root/world/many/c3x"}) {
            SCOPED_TRACE(missing);
            const SceneLocation out = query("/root/world/many/c2", missing, abortMode);
            EXPECT_EQ(
                Qn::DoubleAttribute(attrOf(out, "/root/world/many/c2", "queried.world")).getNumberOfValues(),
                0);
        }
    }
}

TEST(EngineQueryPaths, EveryChildOfALargeParentIsCookedInItsPlace) {
    const SceneFile file = sceneFile(scene(), {op("TestMark", "/root/world")});
    const SceneLocation out = Engine(file, testRegistry()).cook();
    const std::vector<std::string> names = childrenOf(out, "/root/world/many");
    ASSERT_EQ(names.size(), static_cast<size_t>(kSiblings));
    for (int i = 0; i < kSiblings; ++i) {
        const std::string name = "c" + std::to_string(kSiblings - 1 - i);
        EXPECT_EQ(names[static_cast<size_t>(i)], name);
        // Each output child carries its own input's transform, not a neighbour's.
        const Qn::DoubleAttribute translate(attrOf(out, "/root/world/many/" + name, "xform.translate"));
        ASSERT_TRUE(translate.isValid()) << name;
        EXPECT_EQ(translate.getNearestSample(0.0f)[0], double(kSiblings - 1 - i)) << name;
    }
}

} // namespace
} // namespace VexilHost

namespace VexilHost {
namespace {

using namespace HostTest;

TEST(EngineQueryPaths, DottedNamesWalkNestedGroupsAndLiteralNamesDoNot) {
    useHostAttributes();
    const Qn::GroupAttribute root =
        group({{"a", group({{"b", group({{"c", doubles({7})}})}, {"leaf", doubles({3})}})},
               {"x.y", doubles({5})},
               {"x", group({{"y", doubles({6})}})}});
    struct Case {
        std::string name;
        double expected; // 0: absent
    };
    const std::vector<Case> cases = {
        {"a.b.c", 7},       {"a..b.c", 7},    {".a.leaf", 3}, {"a.leaf.", 3},
        {"a.leaf.more", 0}, {"a.missing", 0}, {"x.y", 6},     {"a.b.c.d", 0},
    };
    for (const Case& c : cases) {
        const Qn::DoubleAttribute found(AttributeEdit::getDotted(root, c.name));
        if (c.expected == 0) {
            EXPECT_FALSE(found.isValid()) << c.name;
        } else {
            ASSERT_TRUE(found.isValid()) << c.name;
            EXPECT_EQ(found.getNearestSample(0.0f)[0], c.expected) << c.name;
        }
    }
    // Only dots: no part at all, so the group itself.
    EXPECT_EQ(AttributeEdit::getDotted(root, "..").getHandle(), root.getHandle());
    EXPECT_FALSE(AttributeEdit::getDotted(Qn::GroupAttribute(), "a").isValid());
    // A literal lookup takes a dotted name whole, and never walks into "x".
    EXPECT_EQ(Qn::DoubleAttribute(AttributeEdit::childNamed(root, "x.y")).getNearestSample(0.0f)[0], 5);
    EXPECT_FALSE(AttributeEdit::childNamed(root, "a.leaf").isValid());
    EXPECT_FALSE(AttributeEdit::childNamed(root, "").isValid());
}

} // namespace
} // namespace VexilHost
