// The Orient constraint end to end: object and face orientations, per-axis mixing (the 190-degree and
// shorter-equivalent cases), scale, shear and position kept, animated faces, a seeded random scene,
// and the exact failure texts. Expected rotations come from Imath's decomposition of the cooked world
// transforms or from frames worked out by hand.
#include "ResolverScenes.h"

#include <cmath>
#include <random>

using namespace ResolverTests;
using namespace VexilTest;
using Imath::M44d;
using Imath::V3d;

namespace {

constexpr double kDeg = M_PI / 180.0;

Json orientArgs(const std::string& orientation, const Json& extra = Json::object()) {
    Json args = {{"targetOrientation", orientation}};
    for (auto it = extra.begin(); it != extra.end(); ++it)
        args[it.key()] = it.value();
    return args;
}

Json withOrient(Json xform, const std::vector<std::string>& targets, const Json& args) {
    xform["constraint"] = constraint("Orient", targets, args);
    return placed(xform);
}

// An xform whose rotation has the XYZ Euler angles (degrees): x is applied first, then y, then z.
Json eulerXform(const V3d& translate, const V3d& degrees, const V3d& scale = V3d(1, 1, 1),
                const V3d& shear = V3d(0, 0, 0)) {
    M44d shearMatrix;
    shearMatrix.setShear(shear);
    std::vector<double> shearValues;
    for (int i = 0; i < 16; ++i)
        shearValues.push_back(shearMatrix[i / 4][i % 4]);
    // One operation of a kind per group, so each rotation sits in a group of its own.
    return {{"translate", triple(translate.x, translate.y, translate.z)},
            {"aboutZ", {{"rotate", rotate(degrees.z, 0, 0, 1)}}},
            {"aboutY", {{"rotate", rotate(degrees.y, 0, 1, 0)}}},
            {"aboutX", {{"rotate", rotate(degrees.x, 1, 0, 0)}}},
            {"shear", {{"matrix", doubles(shearValues, 16)}}},
            {"scale", triple(scale.x, scale.y, scale.z)}};
}

M44d rotationX(double degrees) {
    const double c = std::cos(degrees * kDeg), s = std::sin(degrees * kDeg);
    return M44d(1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, 0, 0, 0, 1);
}

M44d rotationY(double degrees) {
    const double c = std::cos(degrees * kDeg), s = std::sin(degrees * kDeg);
    return M44d(c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 0, 0, 0, 1);
}

M44d rotationZ(double degrees) {
    const double c = std::cos(degrees * kDeg), s = std::sin(degrees * kDeg);
    return M44d(c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
}

// The unit triangle in xy gives the frame with rows (0,-1,0), (1,0,0), (0,0,1): -90 degrees about z.
const M44d kUnitTriangleFrame(0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);

} // namespace

TEST(OrientResolver, ObjectOrientationKeepsScaleShearAndPosition) {
    const Json children = {
        {"t", placed({{"translate", triple(3, 4, 5)},
                      {"rotate", rotate(40, 1, 2, 3)},
                      {"scale", triple(1, 2, 0.5)}})},
        {"free", placed(eulerXform(V3d(-1, 2, 7), V3d(10, -25, 60), V3d(2, 0.5, 1.5), V3d(0.3, 0.1, -0.2)))},
        {"a", withOrient(eulerXform(V3d(-1, 2, 7), V3d(10, -25, 60), V3d(2, 0.5, 1.5), V3d(0.3, 0.1, -0.2)),
                         {"/root/world/t"}, orientArgs("object"))}};
    const CookResult result = cookWorld(children);
    const M44d oriented = world(result.scene, "/root/world/a");
    const Parts after = decompose(oriented);
    expectVecNear(V3d(2, 0.5, 1.5), after.scale);
    expectVecNear(V3d(0.3, 0.1, -0.2), after.shear);
    expectVecNear(V3d(-1, 2, 7), translationOf(oriented));
    expectMatrixNear(decompose(world(result.scene, "/root/world/t")).rotation, after.rotation);
    // Sanity of the scene itself: the free twin decomposes into what it was built from.
    expectVecNear(V3d(0.3, 0.1, -0.2), decompose(world(result.scene, "/root/world/free")).shear);
}

TEST(OrientResolver, AxisFlagsMixEulerAngles) {
    struct Case {
        const char* name;
        Json flags;
        bool x, y, z; // which angles come from the target
    };
    const std::vector<Case> cases = {
        {"all", Json::object(), true, true, true},
        {"yOff", {{"yAxis", ints({0})}}, true, false, true},
        {"xOff", {{"xAxis", ints({0})}}, false, true, true},
        {"onlyZ", {{"xAxis", ints({0})}, {"yAxis", ints({0})}}, false, false, true},
        // Only integers switch an axis off.
        {"floatY", {{"yAxis", floats({0})}}, true, true, true},
    };
    const V3d baseDegrees(-35, 20, 70), targetDegrees(50, -40, -15);
    Json children = {{"t", placed(eulerXform(V3d(0), targetDegrees, V3d(3, 1, 2)))}};
    for (const Case& c : cases)
        children[c.name] = withOrient(eulerXform(V3d(1, 1, 1), baseDegrees, V3d(1, 2, 3)), {"/root/world/t"},
                                      orientArgs("object", c.flags));
    const CookResult result = cookWorld(children);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const V3d expected(c.x ? targetDegrees.x : baseDegrees.x, c.y ? targetDegrees.y : baseDegrees.y,
                           c.z ? targetDegrees.z : baseDegrees.z);
        expectVecNear(expected * kDeg, eulerXYZ(world(result.scene, std::string("/root/world/") + c.name)));
    }
}

TEST(OrientResolver, TargetAnglesAreNormalisedBeforeMixing) {
    const Json yOff = {{"yAxis", ints({0})}};
    const Json children = {
        // 190 degrees about x is taken as -170 degrees; the base's 30 degrees about y is kept.
        {"t190", placed({{"rotate", rotate(190, 1, 0, 0)}})},
        {"a190",
         withOrient({{"rotate", rotate(30, 0, 1, 0)}}, {"/root/world/t190"}, orientArgs("object", yOff))},
        // Euler (170, 80, 170) has the shorter equivalent (-10, 100, -10); with y from the identity base
        // that gives (-10, 0, -10), not (170, 0, 170).
        {"tLong", placed(eulerXform(V3d(0), V3d(170, 80, 170)))},
        {"aLong", withOrient(Json::object(), {"/root/world/tLong"}, orientArgs("object", yOff))}};
    const CookResult result = cookWorld(children);
    expectMatrixNear(rotationX(-170) * rotationY(30), world(result.scene, "/root/world/a190"));
    expectMatrixNear(rotationX(-10) * rotationZ(-10), world(result.scene, "/root/world/aLong"));
}

TEST(OrientResolver, OnlyTheFirstTargetCounts) {
    const Json children = {{"t1", placed({{"rotate", rotate(30, 0, 0, 1)}})},
                           {"t2", placed({{"rotate", rotate(60, 1, 0, 0)}})},
                           {"a", withOrient({{"translate", triple(1, 2, 3)}},
                                            {"/root/world/t1", "/root/world/t2"}, orientArgs("object"))}};
    const CookResult result = cookWorld(children);
    M44d expected = rotationZ(30);
    expected[3][0] = 1;
    expected[3][1] = 2;
    expected[3][2] = 3;
    expectMatrixNear(expected, world(result.scene, "/root/world/a"));
}

TEST(OrientResolver, FaceFrames) {
    // The target's own transform (including a zero scale) is not applied to a face frame.
    const Json targetXform = {{"translate", triple(5, 5, 5)}, {"rotate", rotate(45, 1, 0, 0)}};
    Json flatTarget = mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 3}, {0, 1, 2},
                           {{"translate", triple(5, 5, 5)}, {"scale", triple(1, 1, 0)}});
    const Json children = {
        {"tri", mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 3}, {0, 1, 2}, targetXform)},
        // Face 0: the unit triangle; face 1: (0,0,0), (0,0,1), (1,0,0), whose frame has rows
        // (-1,0,0), (0,0,1), (0,1,0).
        {"two", mesh({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}, {0, 3, 6}, {0, 1, 2, 0, 3, 1}, targetXform)},
        // The first two points coincide; the triple (0, 2, 3) gives the unit-triangle frame.
        {"repeated", mesh({0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 4}, {0, 1, 2, 3}, targetXform)},
        {"flat", flatTarget},
        {"scaledBase", withOrient({{"translate", triple(1, 2, 3)}, {"scale", triple(2, 2, 2)}},
                                  {"/root/world/tri"}, orientArgs("face", {{"targetFaceIndex", ints({0})}}))},
        {"secondFace", withOrient(Json::object(), {"/root/world/two"},
                                  orientArgs("face", {{"targetFaceIndex", ints({1})}}))},
        {"coincident", withOrient(Json::object(), {"/root/world/repeated"},
                                  orientArgs("face", {{"targetFaceIndex", ints({0})}}))},
        {"flatTarget", withOrient(Json::object(), {"/root/world/flat"},
                                  orientArgs("face", {{"targetFaceIndex", ints({0})}}))}};
    const CookResult result = cookWorld(children);
    expectMatrixNear(M44d(0, -2, 0, 0, 2, 0, 0, 0, 0, 0, 2, 0, 1, 2, 3, 1),
                     world(result.scene, "/root/world/scaledBase"));
    expectMatrixNear(M44d(-1, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1),
                     world(result.scene, "/root/world/secondFace"));
    expectMatrixNear(kUnitTriangleFrame, world(result.scene, "/root/world/coincident"));
    expectMatrixNear(kUnitTriangleFrame, world(result.scene, "/root/world/flatTarget"));
}

TEST(OrientResolver, AnimatedFaceAnimatesTheResult) {
    // At time 1 the triangle is turned +90 degrees about z: (0,0,0), (0,1,0), (-1,0,0), whose frame is
    // the identity.
    Json tri = mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 3}, {0, 1, 2});
    tri["attrs"]["geometry"]["point"]["P"] = {
        {"float", {{"0", {0, 0, 0, 1, 0, 0, 0, 1, 0}}, {"1", {0, 0, 0, 0, 1, 0, -1, 0, 0}}}},
        {"tupleSize", 3}};
    const Json children = {{"tri", tri},
                           {"a", withOrient(Json::object(), {"/root/world/tri"},
                                            orientArgs("face", {{"targetFaceIndex", ints({0})}}))}};
    const CookResult result = cookWorld(children);
    const auto samples = worldSamples(result.scene, "/root/world/a");
    ASSERT_EQ(2u, samples.size());
    expectMatrixNear(kUnitTriangleFrame, samples.at(0.0f));
    expectMatrixNear(M44d(), samples.at(1.0f));
}

TEST(OrientResolver, SeededRandomScene) {
    std::mt19937 rng(9001);
    std::uniform_real_distribution<double> angle(-80.0, 80.0);
    std::uniform_real_distribution<double> scale(0.3, 3.0);
    std::uniform_real_distribution<double> small(-0.5, 0.5);
    struct Trial {
        V3d baseDegrees, targetDegrees, scale, shear, translate;
        bool useY;
    };
    std::vector<Trial> trials;
    Json children = Json::object();
    for (int i = 0; i < 24; ++i) {
        const Trial t{V3d(angle(rng), angle(rng), angle(rng)),        V3d(angle(rng), angle(rng), angle(rng)),
                      V3d(scale(rng), scale(rng), scale(rng)),        V3d(small(rng), small(rng), small(rng)),
                      V3d(small(rng), small(rng), small(rng)) * 40.0, i % 2 == 0};
        const std::string name = "n" + std::to_string(i);
        children[name + "t"] =
            placed(eulerXform(V3d(1, 2, 3), t.targetDegrees, V3d(scale(rng), scale(rng), scale(rng))));
        const Json flags = t.useY ? Json::object() : Json{{"yAxis", ints({0})}};
        children[name] = withOrient(eulerXform(t.translate, t.baseDegrees, t.scale, t.shear),
                                    {"/root/world/" + name + "t"}, orientArgs("object", flags));
        trials.push_back(t);
    }
    const CookResult result = cookWorld(children);
    for (size_t i = 0; i < trials.size(); ++i) {
        SCOPED_TRACE(i);
        const Trial& t = trials[i];
        const M44d oriented = world(result.scene, "/root/world/n" + std::to_string(i));
        const Parts parts = decompose(oriented);
        expectVecNear(t.scale, parts.scale);
        expectVecNear(t.shear, parts.shear);
        expectVecNear(t.translate, translationOf(oriented));
        const V3d expected(t.targetDegrees.x, t.useY ? t.targetDegrees.y : t.baseDegrees.y,
                           t.targetDegrees.z);
        expectVecNear(expected * kDeg, eulerXYZ(oriented));
    }
}

TEST(OrientResolver, ExactFailureTexts) {
    const std::string prefix = "Orient Constraint Error: Orient constraint resolver: ";
    struct Case {
        const char* name;
        Json xform;
        const char* target;
        Json args;
        std::string message;
    };
    const Json plain = Json::object();
    const Json flat = {{"scale", triple(1, 0, 1)}};
    const std::vector<Case> cases = {
        // The base is decomposed before the orientation is read.
        {"flatBase", flat, "/root/world/t", Json::object(),
         prefix + "Imath detected zero scale in base matrix row"},
        {"floatFaceIndex", plain, "/root/world/tri", orientArgs("face", {{"targetFaceIndex", floats({0})}}),
         prefix + "empty args.targetFaceIndex."},
        {"twoPoints", plain, "/root/world/line", orientArgs("face", {{"targetFaceIndex", ints({1})}}),
         prefix + "Error creating rotation from face points."},
    };
    Json children = {
        {"t", placed({{"rotate", rotate(30, 0, 0, 1)}})},
        {"tri", mesh({0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 3}, {0, 1, 2})},
        // Face 1 of the line has two points.
        {"line", mesh({0, 0, 0, 1, 0, 0, 2, 0, 0}, {0, 3, 5}, {0, 1, 2, 0, 1})},
    };
    for (const Case& c : cases)
        children[c.name] = withOrient(c.xform, {c.target}, c.args);
    const CookResult result = cookWorld(children);
    for (const Case& c : cases)
        expectError(result, std::string("/root/world/") + c.name, c.message);
}
