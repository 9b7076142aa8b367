// The Reflection constraint end to end: bases mirrored across the plane of a mesh face, a face set's
// face or a NURBS patch's first control points, following moving and deforming targets. Expected
// transforms are mirror images worked out by hand; the rigid cases are also checked point by point
// against the reflection across the world plane.
#include "TransformResolverScenes.h"

using namespace ResolverTests;
using namespace TransformResolverTests;
using namespace VexilTest;
using Imath::V3d;

namespace {

// A 2x2 quad in the local plane y = 0; its first three points give the normal (0,−1,0).
const std::vector<double> kFloorQuad = {-1, 0, -1, 1, 0, -1, 1, 0, 1, -1, 0, 1};

Json floorMesh(const Json& xform, const std::vector<double>& points = kFloorQuad) {
    return mesh(points, {0, 4}, {0, 1, 2, 3}, xform);
}

Json faceArgs(int faceIndex) {
    return {{"targetFaceIndex", ints({faceIndex})}};
}

// A base with `xform` operations plus one or more Reflection constraints on `target`.
Json mirrored(Json xform, const std::string& target, const Json& args, int constraints = 1) {
    for (int i = 0; i < constraints; ++i) {
        xform[i == 0 ? std::string("constraint") : "constraint" + std::to_string(i)] =
            constraint("Reflection", {target}, args);
    }
    return placed(xform);
}

Json patch(const std::vector<double>& pw, int tupleSize, const Json& xform = Json::object()) {
    Json attrs = {{"type", "nurbspatch"}, {"geometry", {{"point", {{"Pw", floats(pw, tupleSize)}}}}}};
    if (!xform.empty()) {
        attrs["xform"] = xform;
    }
    return node(attrs);
}

// Reflection of a world point across the plane through `onPlane` with unit normal `normal`.
V3d reflect(const V3d& p, const V3d& onPlane, const V3d& normal) {
    return p - 2.0 * ((p - onPlane) ^ normal) * normal;
}

// A base at (3,5,−2) turned 90° about z: world axes x → (0,1,0), y → (−1,0,0).
Json turnedBaseXform() {
    return {{"translate", triple(3, 5, -2)}, {"rotate", rotate(90, 0, 0, 1)}};
}
const Imath::M44d kTurnedBase = rows(V3d(0, 1, 0), V3d(-1, 0, 0), V3d(0, 0, 1), V3d(3, 5, -2));

} // namespace

TEST(ReflectionResolver, MirrorsAcrossAMovingFloor) {
    // The floor rises from y = 1 at time 0 to y = 2 at time 1.
    const CookResult result = cookWorld(
        {{"floor", floorMesh({{"translate", animatedDoubles({{"0", {0, 1, 0}}, {"1", {0, 2, 0}}})}})},
         {"base", mirrored(turnedBaseXform(), "/root/world/floor", faceArgs(0))},
         {"twice", mirrored(turnedBaseXform(), "/root/world/floor", faceArgs(0), 2)}});
    struct Case {
        float time;
        double planeHeight;
    };
    for (const Case& c : {Case{0.0f, 1.0}, Case{1.0f, 2.0}}) {
        SCOPED_TRACE(c.time);
        // Mirror across y = h: axes x → (0,−1,0), y → (−1,0,0), z stays; position (3, 2h − 5, −2).
        expectWorld(result, "/root/world/base", c.time,
                    rows(V3d(0, -1, 0), V3d(-1, 0, 0), V3d(0, 0, 1), V3d(3, 2 * c.planeHeight - 5, -2)));
        // Point by point: every local point lands on the reflection of where it was.
        const Imath::M44d after = world(result.scene, "/root/world/base", c.time);
        for (const V3d& local : {V3d(0, 0, 0), V3d(1, 0, 0), V3d(0.5, -2, 3)}) {
            const V3d before = pointThrough(local, kTurnedBase);
            expectVecNear(reflect(before, V3d(0, c.planeHeight, 0), V3d(0, 1, 0)),
                          pointThrough(local, after));
        }
        // Mirroring twice gives back the original.
        expectWorld(result, "/root/world/twice", c.time, kTurnedBase);
    }
}

TEST(ReflectionResolver, PlaneSourcesAndTargetPlacements) {
    // Wall: face 0 in the plane y = 0, face 1 a quad in the plane x = 0 whose fourth point lies off
    // the plane (only the first three count). The face set "side" holds face 1 only.
    const Json wall = mesh({0, 0, 0, 1, 0, 0, 0, 0, 1, /* face 1 */ 0, 0, 0, 0, 1, 0, 0, 0, 1, 0.5, 3, 3},
                           {0, 3, 7}, {0, 1, 2, 3, 4, 5, 6}, {{"translate", triple(5, 0, 0)}},
                           {{"side", node({{"type", "faceset"}, {"geometry", {{"faces", ints({1})}}}})}});
    // Shear: the local y axis lands on world (1,1,0) while the plane y = 0 stays; world (X,Y,Z) goes
    // to local (X − Y, Y, Z), is flipped to (X − Y, −Y, Z) and comes back as (X − 2Y, −Y, Z).
    const Json sheared =
        floorMesh({{"matrix", doubles({1, 0, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, 16)}});
    // Plane x = 4: the floor turned 90° about z (local (x,0,z) lands on (0,x,z)) and moved by 4 in x.
    const Json turnedFloor = floorMesh({{"translate", triple(4, 0, 0)}, {"rotate", rotate(90, 0, 0, 1)}});
    // Homogeneous control points (2,0,0,2), (4,0,0,2), (2,0,2,2) are (1,0,0), (2,0,0), (1,0,1): the
    // plane y = 0. The fourth point is ignored.
    const Json homogeneous = patch({2, 0, 0, 2, 4, 0, 0, 2, 2, 0, 2, 2, 7, 7, 7, 1}, 4);
    // Three values per point: (0,0,1), (1,0,1), (0,1,1) span the plane z = 1.
    const Json plain = patch({0, 0, 1, 1, 0, 1, 0, 1, 1}, 3);
    // Coincident first points: the mirror collapses everything onto the first point, world (3,1,1).
    const Json pinched =
        mesh({2, 0, 0, 2, 0, 0, 2, 1, 0}, {0, 3}, {0, 1, 2}, {{"translate", triple(1, 1, 1)}});

    const Json at123 = {{"translate", triple(1, 2, 3)}};
    const Json none = Json::object();
    const CookResult result = cookWorld({
        {"wall", wall},
        {"sheared", sheared},
        {"turnedFloor", turnedFloor},
        {"homogeneous", homogeneous},
        {"plain", plain},
        {"pinched", pinched},
        {"wallFace0", mirrored(at123, "/root/world/wall", faceArgs(0))},
        {"wallFace1", mirrored(at123, "/root/world/wall", faceArgs(1))},
        {"faceSet", mirrored(at123, "/root/world/wall/side", faceArgs(0))},
        {"oblique", mirrored({{"translate", triple(0, 1, 0)}}, "/root/world/sheared", faceArgs(0))},
        {"turned", mirrored(at123, "/root/world/turnedFloor", faceArgs(0))},
        // A patch ignores args.targetFaceIndex, even when it is missing.
        {"patch4", mirrored({{"translate", triple(0, 5, 0)}}, "/root/world/homogeneous", none)},
        {"patch3", mirrored({{"translate", triple(2, 3, 4)}}, "/root/world/plain", faceArgs(99))},
        {"degenerate", mirrored(at123, "/root/world/pinched", faceArgs(0))},
    });
    const V3d zero(0, 0, 0);
    struct Case {
        const char* path;
        Imath::M44d world;
    };
    const Case cases[] = {
        {"/root/world/wallFace0", rows(V3d(1, 0, 0), V3d(0, -1, 0), V3d(0, 0, 1), V3d(1, -2, 3))},
        {"/root/world/wallFace1", rows(V3d(-1, 0, 0), V3d(0, 1, 0), V3d(0, 0, 1), V3d(9, 2, 3))},
        {"/root/world/faceSet", rows(V3d(-1, 0, 0), V3d(0, 1, 0), V3d(0, 0, 1), V3d(9, 2, 3))},
        {"/root/world/oblique", rows(V3d(1, 0, 0), V3d(-2, -1, 0), V3d(0, 0, 1), V3d(-2, -1, 0))},
        {"/root/world/turned", rows(V3d(-1, 0, 0), V3d(0, 1, 0), V3d(0, 0, 1), V3d(7, 2, 3))},
        {"/root/world/patch4", rows(V3d(1, 0, 0), V3d(0, -1, 0), V3d(0, 0, 1), V3d(0, -5, 0))},
        {"/root/world/patch3", rows(V3d(1, 0, 0), V3d(0, 1, 0), V3d(0, 0, -1), V3d(2, 3, -2))},
        {"/root/world/degenerate", rows(zero, zero, zero, V3d(3, 1, 1))},
    };
    for (const Case& c : cases) {
        expectWorld(result, c.path, 0.0f, c.world);
    }
}

TEST(ReflectionResolver, DeformingTargetsBringTheirOwnSampleTimes) {
    // Still targets whose points move: the floor quad rises from y = 0 to y = 1, the patch's plane
    // from z = 0 to z = 2 (homogeneous, weight 2). The bases stand still; only the points animate.
    std::vector<double> raised = kFloorQuad;
    for (size_t i = 1; i < raised.size(); i += 3) {
        raised[i] = 1.0;
    }
    Json floor = floorMesh(Json::object());
    floor["attrs"]["geometry"]["point"]["P"] = {{"float", {{"0", kFloorQuad}, {"1", raised}}},
                                                {"tupleSize", 3}};
    Json lifting = patch({}, 4);
    lifting["attrs"]["geometry"]["point"]["Pw"] = {
        {"float", {{"0", {0, 0, 0, 2, 2, 0, 0, 2, 0, 2, 0, 2}}, {"1", {0, 0, 4, 2, 2, 0, 4, 2, 0, 2, 4, 2}}}},
        {"tupleSize", 4}};
    Json wall = floorMesh(Json::object());
    wall["attrs"]["geometry"]["point"]["P"] = {{"float", {{"0", kFloorQuad}, {"1", raised}}},
                                               {"tupleSize", 3}};
    wall["children"]["all"] = node({{"type", "faceset"}, {"geometry", {{"faces", ints({0})}}}});
    const CookResult result = cookWorld(
        {{"floor", floor},
         {"lifting", lifting},
         {"wall", wall},
         {"overFloor", mirrored({{"translate", triple(0, 5, 0)}}, "/root/world/floor", faceArgs(0))},
         {"overPatch", mirrored({{"translate", triple(0, 0, 5)}}, "/root/world/lifting", Json::object())},
         {"overSet", mirrored({{"translate", triple(0, 5, 0)}}, "/root/world/wall/all", faceArgs(0))}});
    const Imath::M44d flipY = rows(V3d(1, 0, 0), V3d(0, -1, 0), V3d(0, 0, 1));
    const Imath::M44d flipZ = rows(V3d(1, 0, 0), V3d(0, 1, 0), V3d(0, 0, -1));
    struct Case {
        const char* path;
        float time;
        Imath::M44d axes;
        V3d position;
    };
    const Case cases[] = {
        {"/root/world/overFloor", 0.0f, flipY, V3d(0, -5, 0)},
        {"/root/world/overFloor", 1.0f, flipY, V3d(0, -3, 0)},
        {"/root/world/overPatch", 0.0f, flipZ, V3d(0, 0, -5)},
        {"/root/world/overPatch", 1.0f, flipZ, V3d(0, 0, -1)},
        {"/root/world/overSet", 0.0f, flipY, V3d(0, -5, 0)},
        {"/root/world/overSet", 1.0f, flipY, V3d(0, -3, 0)},
    };
    for (const Case& c : cases) {
        Imath::M44d expected = c.axes;
        expected[3][0] = c.position.x;
        expected[3][1] = c.position.y;
        expected[3][2] = c.position.z;
        expectWorld(result, c.path, c.time, expected);
    }
}
