// The Point constraint end to end: every origin mode on real meshes, several targets, base origins,
// axis masks and animated points. Expected points are worked out by hand.
#include "ResolverScenes.h"

using namespace ResolverTests;
using namespace VexilTest;
using Imath::V3d;

namespace {

// An "L" of a 4x4 quad (centre (2,2,0)) and a small triangle (4,0,0), (6,0,0), (6,1,0) (centre
// (16/3, 1/3, 0)): the face centres average to (11/3, 7/6, 0), the points' box centre is (3,2,0).
Json lMesh(const Json& xform, const Json& children = Json::object()) {
    return mesh({0, 0, 0, 4, 0, 0, 4, 4, 0, 0, 4, 0, 6, 0, 0, 6, 1, 0}, {0, 4, 7}, {0, 1, 2, 3, 1, 4, 5},
                xform, children);
}

// The cube [0,2]^3 as six quads; every face centre averages to (1,1,1).
Json cube() {
    return mesh({0, 0, 0, 2, 0, 0, 2, 2, 0, 0, 2, 0, 0, 0, 2, 2, 0, 2, 2, 2, 2, 0, 2, 2},
                {0, 4, 8, 12, 16, 20, 24},
                {0, 3, 2, 1, 4, 5, 6, 7, 0, 1, 5, 4, 3, 7, 6, 2, 0, 4, 7, 3, 1, 2, 6, 5});
}

Json pointArgs(const std::string& targetOrigin, const std::string& baseOrigin = "origin") {
    return {{"targetOrigin", targetOrigin}, {"baseOrigin", baseOrigin}};
}

// A group at (1,1,1) constrained to `targets`.
Json follower(const std::vector<std::string>& targets, const Json& args) {
    return placed({{"translate", triple(1, 1, 1)}, {"constraint", constraint("Point", targets, args)}});
}

V3d position(const CookResult& result, const std::string& path, float time = 0.0f) {
    return translationOf(world(result.scene, path, time));
}

} // namespace

TEST(PointResolver, OriginModesOnMeshes) {
    // The L stands at (10,0,0), turned 90 degrees about z: local (x,y,z) lands at (10 - y, x, z).
    Json lAttrs = lMesh({{"translate", triple(10, 0, 0)}, {"rotate", rotate(90, 0, 0, 1)}},
                        {{"fs", node({{"type", "faceset"}, {"geometry", {{"faces", ints({1})}}}})}});
    lAttrs["attrs"]["bound"] = doubles({0, 6, 0, 4, -2, 0});
    struct Case {
        const char* name;
        std::vector<std::string> targets;
        const char* mode;
        V3d expected;
    };
    const std::vector<Case> cases = {
        {"origin", {"/root/world/L"}, "origin", V3d(10, 0, 0)},
        {"unknownMode", {"/root/world/L"}, "object", V3d(10, 0, 0)},
        // Face centres (11/3, 7/6, 0) turned and moved.
        {"faceCenters", {"/root/world/L"}, "faceCenterAverage", V3d(10 - 7.0 / 6.0, 11.0 / 3.0, 0)},
        // Box of the points 0..6 x 0..4: centre (3,2,0).
        {"faceBox", {"/root/world/L"}, "faceBoundingBox", V3d(8, 3, 0)},
        // The bound attribute's centre (3,2,-1).
        {"bound", {"/root/world/L"}, "boundingBox", V3d(8, 3, -1)},
        // The face set holds only the triangle, centre (16/3, 1/3, 0); it moves with its mesh.
        {"faceSet", {"/root/world/L/fs"}, "faceCenterAverage", V3d(10 - 1.0 / 3.0, 16.0 / 3.0, 0)},
        // Two L face centres in world, (8,2,0) and (29/3,16/3,0), and six cube centres of (1,1,1): each
        // face is one vote, so (53/3 + 6, 22/3 + 6, 6) / 8.
        {"weighted",
         {"/root/world/L", "/root/world/cube"},
         "faceCenterAverage",
         V3d(71.0 / 24.0, 5.0 / 3.0, 0.75)},
        // One vote per target: ((8,3,0) + (1,1,1)) / 2.
        {"perTarget", {"/root/world/L", "/root/world/cube"}, "faceBoundingBox", V3d(4.5, 2, 0.5)},
    };
    Json children = {{"L", lAttrs}, {"cube", cube()}};
    for (const Case& c : cases)
        children[c.name] = follower(c.targets, pointArgs(c.mode));
    const CookResult result = cookWorld(children);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = std::string("/root/world/") + c.name;
        EXPECT_EQ("", stringValue(result.scene, path, "errorMessage"));
        expectVecNear(c.expected, position(result, path));
    }
}

TEST(PointResolver, BaseOriginLandsOnTheTarget) {
    // A 4x4 quad base, scaled, turned and moved; its bound and its face both centre on (2,2,0).
    const Json baseXform = {
        {"translate", triple(0, 0, 5)}, {"rotate", rotate(90, 0, 0, 1)}, {"scale", triple(2, 1, 1)}};
    auto base = [&](const char* baseOrigin) {
        Json xform = baseXform;
        xform["constraint"] = constraint("Point", {"/root/world/t"}, pointArgs("origin", baseOrigin));
        Json b = mesh({0, 0, 0, 4, 0, 0, 4, 4, 0, 0, 4, 0}, {0, 4}, {0, 1, 2, 3}, xform);
        b["attrs"]["bound"] = doubles({0, 4, 0, 4, 0, 0});
        return b;
    };
    const Json children = {{"t", placed({{"translate", triple(10, 10, 10)}})},
                           {"byBound", base("boundingBox")},
                           {"byFaces", base("faceCenterAverage")},
                           {"byOrigin", base("origin")}};
    const CookResult result = cookWorld(children);
    for (const char* name : {"byBound", "byFaces"}) {
        SCOPED_TRACE(name);
        const std::string path = std::string("/root/world/") + name;
        expectVecNear(V3d(10, 10, 10), pointThrough(V3d(2, 2, 0), world(result.scene, path)));
        // Orientation and scale are untouched: local x still runs along world y, twice as long.
        expectVecNear(V3d(0, 2, 0), row(world(result.scene, path), 0));
    }
    expectVecNear(V3d(10, 10, 10), position(result, "/root/world/byOrigin"));
}

TEST(PointResolver, AxisMasksReadOnlyIntegers) {
    struct Case {
        const char* name;
        Json masks;
        V3d expected;
    };
    // Base at (9,9,9), target at (2,6,-4).
    const std::vector<Case> cases = {
        {"xOff", {{"xAxis", ints({0})}}, V3d(9, 6, -4)},
        {"yOff", {{"yAxis", ints({0})}}, V3d(2, 9, -4)},
        {"xzOff", {{"xAxis", ints({0})}, {"zAxis", ints({0})}}, V3d(9, 6, 9)},
        {"allOff", {{"xAxis", ints({0})}, {"yAxis", ints({0})}, {"zAxis", ints({0})}}, V3d(9, 9, 9)},
        // A float 0 is not an integer: the axis stays enabled.
        {"floatZ", {{"zAxis", floats({0})}}, V3d(2, 6, -4)},
        {"nonZero", {{"xAxis", ints({7})}}, V3d(2, 6, -4)},
    };
    Json children = {{"t", placed({{"translate", triple(2, 6, -4)}})}};
    for (const Case& c : cases) {
        Json args = pointArgs("origin");
        for (auto it = c.masks.begin(); it != c.masks.end(); ++it)
            args[it.key()] = it.value();
        children[c.name] = placed(
            {{"translate", triple(9, 9, 9)}, {"constraint", constraint("Point", {"/root/world/t"}, args)}});
    }
    const CookResult result = cookWorld(children);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        expectVecNear(c.expected, position(result, std::string("/root/world/") + c.name));
    }
}

TEST(PointResolver, AnimatedPointsAnimateTheResult) {
    // A quad whose points rise from z = 0 at time 0 to z = 4 at time 1; its face centre is (1,1,z).
    Json quad = mesh({0, 0, 0, 2, 0, 0, 2, 2, 0, 0, 2, 0}, {0, 4}, {0, 1, 2, 3});
    quad["attrs"]["geometry"]["point"]["P"] = {
        {"float", {{"0", {0, 0, 0, 2, 0, 0, 2, 2, 0, 0, 2, 0}}, {"1", {0, 0, 4, 2, 0, 4, 2, 2, 4, 0, 2, 4}}}},
        {"tupleSize", 3}};
    const Json children = {{"q", quad}, {"a", follower({"/root/world/q"}, pointArgs("faceCenterAverage"))}};
    const CookResult result = cookWorld(children);
    const auto samples = worldSamples(result.scene, "/root/world/a");
    ASSERT_EQ(2u, samples.size());
    expectVecNear(V3d(1, 1, 0), position(result, "/root/world/a", 0.0f));
    expectVecNear(V3d(1, 1, 4), position(result, "/root/world/a", 1.0f));
}

TEST(PointResolver, SingularBaseUsesTheTargetPointAsItIs) {
    // Scale 0 makes the base's world transform singular: its inverse counts as the identity, so the
    // offset is the target's world position minus the base origin, (5,5,5) - (0,0,0).
    const Json children = {
        {"t", placed({{"translate", triple(5, 5, 5)}})},
        {"flat", placed({{"translate", triple(1, 2, 3)},
                         {"scale", triple(0, 0, 0)},
                         {"constraint", constraint("Point", {"/root/world/t"}, pointArgs("origin"))}})}};
    const CookResult result = cookWorld(children);
    EXPECT_EQ("", stringValue(result.scene, "/root/world/flat", "errorMessage"));
    const auto matrix =
        samples(attribute(result.scene, "/root/world/flat", "xform.resolvedconstraint.matrix"));
    ASSERT_EQ(1u, matrix.size());
    const std::vector<double> expected = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 5, 5, 1};
    EXPECT_EQ(expected, matrix.begin()->second);
}
