// The Aim constraint end to end: hand-worked frames, animated bases and targets, a seeded random
// scene checked by geometry (the aim axis points at the target, the up axis lies in the plane of the
// aim direction and the target up, position and scale kept), and the exact failure texts.
#include "ResolverScenes.h"

#include <cmath>
#include <random>

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

TEST(AimResolver, HandWorkedFrames) {
    struct Case {
        const char* name;
        Json xform;
        V3d target;
        Json args;
        M44d expected;
    };
    const V3d x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    const std::vector<Case> cases = {
        // +x turned onto -z: +90 degrees about y.
        {"towardsMinusZ", Json::object(), V3d(0, 0, -5), aimArgs(x, y, y),
         M44d(0, 0, -1, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1)},
        // Straight above with up +y: the side falls back to +z, giving +90 degrees about z.
        {"straightUp", Json::object(), V3d(0, 5, 0), aimArgs(x, y, y),
         M44d(0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1)},
        // Up +z along the aim direction: a degenerate frame, no error, the base left as it was.
        {"zUpAlongZ", Json::object(), V3d(0, 0, 5), aimArgs(x, y, z), M44d()},
        // Scale (2,3,4) kept, position (1,2,3) kept, +x turned onto -z.
        {"scaled",
         {{"translate", triple(1, 2, 3)}, {"scale", triple(2, 3, 4)}},
         V3d(1, 2, -7),
         aimArgs(x, y, y),
         M44d(0, 0, -2, 0, 0, 3, 0, 0, 4, 0, 0, 0, 1, 2, 3, 1)},
        // The base's -z aims at +x with up +y: -z onto +x is -90 degrees about y.
        {"minusZAim",
         {{"translate", triple(0, 0, 0)}},
         V3d(8, 0, 0),
         aimArgs(V3d(0, 0, -1), y, y),
         M44d(0, 0, 1, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 0, 1)},
    };
    Json children = Json::object();
    for (const Case& c : cases) {
        const std::string name = c.name;
        children[name + "Target"] = placed({{"translate", triple(c.target.x, c.target.y, c.target.z)}});
        children[name] = withAim(c.xform, "/root/world/" + name + "Target", c.args);
    }
    const CookResult result = cookWorld(children);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = std::string("/root/world/") + c.name;
        EXPECT_EQ("", stringValue(result.scene, path, "errorMessage"));
        expectMatrixNear(c.expected, world(result.scene, path));
    }
}

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

TEST(AimResolver, SeededRandomScene) {
    std::mt19937 rng(424242);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    std::uniform_real_distribution<double> scale(0.3, 3.0);
    std::uniform_real_distribution<double> degrees(-180.0, 180.0);
    std::uniform_int_distribution<int> grid(-64, 64);
    struct Trial {
        V3d target, aim, up, targetUp;
    };
    std::vector<Trial> trials;
    Json children = Json::object();
    for (int i = 0; i < 24; ++i) {
        // Axes are float arguments: multiples of 1/64 are exact as floats, so the checks see the
        // values that were cooked.
        auto floatVec = [&] {
            return V3d(grid(rng), grid(rng), grid(rng)) / 64.0;
        };
        Trial trial{V3d(unit(rng), unit(rng), unit(rng)) * 20.0, floatVec(), floatVec(), floatVec()};
        const Json xform = {{"translate", triple(unit(rng) * 10, unit(rng) * 10, unit(rng) * 10)},
                            {"rotate", rotate(degrees(rng), unit(rng), unit(rng), unit(rng) + 2.0)},
                            {"scale", triple(scale(rng), scale(rng), scale(rng))}};
        const std::string name = "n" + std::to_string(i);
        children[name + "t"] =
            placed({{"translate", triple(trial.target.x, trial.target.y, trial.target.z)}});
        children[name + "free"] = placed(xform);
        children[name] =
            withAim(xform, "/root/world/" + name + "t", aimArgs(trial.aim, trial.up, trial.targetUp));
        trials.push_back(trial);
    }
    const CookResult result = cookWorld(children);
    int checked = 0;
    for (size_t i = 0; i < trials.size(); ++i) {
        SCOPED_TRACE(i);
        const Trial& t = trials[i];
        const std::string path = "/root/world/n" + std::to_string(i);
        const M44d base = world(result.scene, path + "free");
        const V3d toTarget = (t.target - translationOf(base)).normalized();
        // Near-parallel frames are ill-conditioned; they are covered by the hand-worked cases.
        if (std::abs(toTarget.dot(t.targetUp.normalized())) > 0.95 ||
            std::abs(
                directionThrough(t.aim, base).normalized().dot(directionThrough(t.up, base).normalized())) >
                0.95)
            continue;
        expectAimed(base, world(result.scene, path), t.target, t.aim, t.up, t.targetUp);
        ++checked;
    }
    EXPECT_GT(checked, 12);
}

TEST(AimResolver, ExactFailureTexts) {
    const V3d x(1, 0, 0), y(0, 1, 0), zero(0, 0, 0);
    Json upAsDoubles = aimArgs(x, y, y);
    upAsDoubles["baseUpAxis"] = doubles({0, 1, 0});
    Json noTargetUp = aimArgs(x, y, y);
    noTargetUp.erase("targetUpAxis");
    Json twoFloats = aimArgs(x, y, y);
    twoFloats["baseAimAxis"] = floats({1, 0});
    Json zeroAimBadUp = aimArgs(zero, y, y);
    zeroAimBadUp["targetUpAxis"] = doubles({0, 1, 0});
    struct Case {
        const char* name;
        Json args;
        const char* target;
        std::string message;
    };
    const std::vector<Case> cases = {
        {"upAsDoubles", upAsDoubles, "/root/world/t",
         "Aim Constraint Error: Cannot find float attribute of size 3 args.baseUpAxis"},
        {"noTargetUp", noTargetUp, "/root/world/t",
         "Aim Constraint Error: Cannot find float attribute of size 3 args.targetUpAxis"},
        {"twoFloats", twoFloats, "/root/world/t",
         "Aim Constraint Error: Cannot find float attribute of size 3 args.baseAimAxis"},
        {"zeroUp", aimArgs(x, zero, y), "/root/world/t",
         "Aim Constraint Error: Aim Axis or Up Axis is zero."},
        // The base axes are checked before the target up axis is read.
        {"zeroAimBadUp", zeroAimBadUp, "/root/world/t", "Aim Constraint Error: Aim Axis or Up Axis is zero."},
        {"emptyOrigin", aimArgs(x, y, y, ""), "/root/world/t",
         "Aim Constraint Error: Aim constraint resolver: empty args.targetOrigin."},
    };
    Json children = {{"t", placed({{"translate", triple(5, 0, 0)}})}};
    for (const Case& c : cases)
        children[c.name] = withAim({{"translate", triple(1, 1, 1)}}, c.target, c.args);
    const CookResult result = cookWorld(children);
    for (const Case& c : cases)
        expectError(result, std::string("/root/world/") + c.name, c.message);
}
