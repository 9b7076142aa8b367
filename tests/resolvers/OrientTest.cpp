// The Orient constraint end to end: per-axis mixing (the 190-degree and shorter-equivalent cases), the
// first target alone, animated faces. Expected rotations come from Imath's decomposition of the cooked world
// transforms or from frames worked out by hand.
#include "ResolverScenes.h"

#include <cmath>

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
