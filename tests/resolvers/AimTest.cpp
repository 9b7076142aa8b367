// The Aim constraint end to end: animated bases and targets checked by geometry (the aim axis points
// at the target, the up axis lies in the plane of the aim direction and the target up, position and
// scale kept), and the target origin read from a mesh. The frames themselves are the maths tests'.
#include "ResolverScenes.h"

#include <cmath>

using namespace ResolverTests;
using namespace VexilTest;
using Imath::M44d;
using Imath::V3d;

namespace {

Json aimArgs(const V3d& aim, const V3d& up, const V3d& targetUp, const std::string& targetOrigin = "origin") {
    return {{"targetOrigin", targetOrigin},
            {"baseAimAxis", axis(aim.x, aim.y, aim.z)},
            {"baseUpAxis", axis(up.x, up.y, up.z)},
            {"targetUpAxis", axis(targetUp.x, targetUp.y, targetUp.z)}};
}

Json withAim(Json xform, const std::string& target, const Json& args) {
    xform["constraint"] = constraint("Aim", {target}, args);
    return placed(xform);
}

// The lengths of the three axes of a transform.
V3d axisLengths(const M44d& m) {
    return V3d(row(m, 0).length(), row(m, 1).length(), row(m, 2).length());
}

// Checks the aimed world transform `aimed` of a base whose unconstrained world transform is `base`.
void expectAimed(const M44d& base, const M44d& aimed, const V3d& target, const V3d& aim, const V3d& up,
                 const V3d& targetUp) {
    const V3d position = translationOf(base);
    expectVecNear(position, translationOf(aimed));
    expectVecNear(axisLengths(base), axisLengths(aimed));
    const V3d toTarget = (target - position).normalized();
    expectVecNear(toTarget, directionThrough(aim, aimed).normalized());
    const V3d worldUp = directionThrough(up, aimed).normalized();
    EXPECT_NEAR(0.0, worldUp.dot(toTarget.cross(targetUp).normalized()), 1e-9);
}

} // namespace

TEST(AimResolver, FollowsAnimatedBaseAndTargetAtEverySample) {
    // The base moves along z and carries a turn and a non-uniform scale; the target moves around it.
    const Json baseXform = {{"translate", animatedDoubles({{"0", {0, 0, 0}}, {"1", {0, 0, 10}}})},
                            {"rotate", rotate(30, 1, 0, 0)},
                            {"scale", triple(2, 1, 0.5)}};
    const Json targetXform = {
        {"translate", animatedDoubles({{"0", {5, 0, 0}}, {"0.5", {0, 5, 3}}, {"1", {-4, -4, 12}}})}};
    const V3d aim(0, 0, 1), up(0, 1, 0), targetUp(0, 1, 0);
    const Json children = {{"t", placed(targetXform)},
                           {"free", placed(baseXform)},
                           {"a", withAim(baseXform, "/root/world/t", aimArgs(aim, up, targetUp))}};
    const CookResult result = cookWorld(children);
    const auto aimed = worldSamples(result.scene, "/root/world/a");
    ASSERT_EQ(3u, aimed.size());
    // The base's own transform: scale (2,1,0.5), 30 degrees about x, at (0,0,10t).
    const double c = std::cos(M_PI / 6.0), s = std::sin(M_PI / 6.0);
    const M44d turnedAndScaled(2, 0, 0, 0, 0, c, s, 0, 0, -0.5 * s, 0.5 * c, 0, 0, 0, 0, 1);
    expectMatrixNear(turnedAndScaled, world(result.scene, "/root/world/free", 0.0f));
    for (const auto& [time, matrix] : aimed) {
        SCOPED_TRACE(time);
        M44d base = turnedAndScaled;
        base[3][2] = 10.0 * time;
        // The target's own world transform gives its position at each of its samples.
        const V3d target = translationOf(world(result.scene, "/root/world/t", time));
        expectAimed(base, matrix, target, aim, up, targetUp);
    }
    // At time 0.5 the base is at (0,0,5) and the target at (0,5,3).
    expectVecNear(V3d(0, 5, -2).normalized(), directionThrough(aim, aimed.at(0.5f)).normalized());
}

TEST(AimResolver, AimsAtTheFaceCentresOfAMesh) {
    // The cube [0,2]^3 at (10,0,0): its face centres average to (11,1,1).
    Json cube = mesh({0, 0, 0, 2, 0, 0, 2, 2, 0, 0, 2, 0, 0, 0, 2, 2, 0, 2, 2, 2, 2, 0, 2, 2},
                     {0, 4, 8, 12, 16, 20, 24},
                     {0, 3, 2, 1, 4, 5, 6, 7, 0, 1, 5, 4, 3, 7, 6, 2, 0, 4, 7, 3, 1, 2, 6, 5},
                     {{"translate", triple(10, 0, 0)}});
    const V3d aim(1, 0, 0), up(0, 1, 0), targetUp(0, 1, 0);
    const Json children = {{"cube", cube},
                           {"a", withAim({{"translate", triple(1, 1, 1)}}, "/root/world/cube",
                                         aimArgs(aim, up, targetUp, "faceCenterAverage"))},
                           {"b", withAim({{"translate", triple(1, 1, 1)}}, "/root/world/cube",
                                         aimArgs(aim, up, targetUp, "origin"))}};
    const CookResult result = cookWorld(children);
    expectVecNear(V3d(1, 0, 0), directionThrough(aim, world(result.scene, "/root/world/a")).normalized());
    expectVecNear(V3d(9, -1, -1).normalized(),
                  directionThrough(aim, world(result.scene, "/root/world/b")).normalized());
}
