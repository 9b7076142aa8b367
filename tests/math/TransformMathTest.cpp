// Point, Aim and Orient mathematics against matrices worked out by hand, degenerate input first,
// then seeded random transforms with non-uniform scale checked by geometric properties.
#include "constraints/resolvers/TransformMath.h"
#include "tests/math/MathTestSupport.h"
#include "tests/support/ThrownMessage.h"

#include <Imath/ImathMatrixAlgo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <stdexcept>
#include <string>

using namespace Vexil3Constraints::Private;
using Imath::M44d;
using Imath::V3d;
using namespace VexilTest;

namespace {

constexpr double kDeg = M_PI / 180.0;

M44d rotationZ(double degrees) {
    return rotation(V3d(0, 0, 1), degrees);
}

} // namespace

// ---- Point ----

TEST(PointConstraintMath, TranslationInBaseLocalFrame) {
    for (const Json& c : mathCases("transform.json", "pointTranslations")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        const Json& axes = c.at("axes");
        const M44d result =
            pointConstraintMatrix(matrix(c.at("base")), vec(c.at("baseOrigin")), vec(c.at("target")),
                                  axes.at(0).get<bool>(), axes.at(1).get<bool>(), axes.at(2).get<bool>());
        expectNear(translation(vec(c.at("moved"))), result);
    }
}

// ---- Aim ----

TEST(AimConstraintMath, SideFallbackBranches) {
    for (const Json& c : mathCases("transform.json", "aimSideFallbacks")) {
        SCOPED_TRACE(c.dump());
        const V3d side = aimSideFallback(vec(c.at("up")));
        const V3d expected = vec(c.at("side"));
        EXPECT_EQ(expected.x, side.x);
        EXPECT_EQ(expected.y, side.y);
        EXPECT_EQ(expected.z, side.z);
    }
}

// The frames the Aim resolver tests cook end to end (towards -z, straight up, a degenerate up, a scaled
// base) are not repeated here.
TEST(AimConstraintMath, HandWorkedFrames) {
    struct Case {
        const char* what;
        M44d base;
        V3d target, aim, up, targetUp;
        M44d expectedWorld; // X·B
    };
    // +90 degrees about y, row vectors: x -> -z, z -> x.
    const M44d turnY(0, 0, -1, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1);
    const Case cases[] = {
        // A base turned 90 degrees about z aiming +x at a target on +x turns back to the identity.
        {"rotated base", rotationZ(90), V3d(5, 0, 0), V3d(1, 0, 0), V3d(0, 1, 0), V3d(0, 1, 0), M44d()},
        // Base up parallel to base aim: the base side falls back to (0,1,0), its up to (0,0,-1).
        {"base up parallel to aim", M44d(), V3d(0, 0, -5), V3d(1, 0, 0), V3d(2, 0, 0), V3d(0, 1, 0),
         M44d(0, 0, -1, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 0, 1)},
        // Unnormalised axes give the same result as unit ones.
        {"unnormalised axes", M44d(), V3d(0, 0, -5), V3d(7, 0, 0), V3d(0, 0.25, 0), V3d(0, 9, 0), turnY},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const M44d x = aimConstraintMatrix(c.base, c.target, c.aim, c.up, c.targetUp);
        expectNear(c.expectedWorld, x * c.base);
    }
}

TEST(AimConstraintMath, TinyButNonZeroInputsPass) {
    // A target 1e-300 along +x is a valid direction (+x), and tiny axes are not zero.
    expectNear(M44d(),
               aimConstraintMatrix(M44d(), V3d(1e-300, 0, 0), V3d(1, 0, 0), V3d(0, 1, 0), V3d(0, 1, 0)));
    expectNear(M44d(), aimConstraintMatrix(M44d(), V3d(3, 0, 0), V3d(1e-30, 0, 0), V3d(0, 1e-30, 0),
                                           V3d(0, 1e-30, 0)));
    // Base at (2,2,2), target 1e-300 away in z.
    const M44d base = translation(V3d(2, 2, 2));
    EXPECT_NO_THROW(
        aimConstraintMatrix(base, V3d(2, 2, 2 + 1e-15), V3d(1, 0, 0), V3d(0, 1, 0), V3d(0, 1, 0)));
}

TEST(AimConstraintMath, RandomTransformsAimAtTarget) {
    std::mt19937 rng(20240611);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    std::uniform_real_distribution<double> scale(0.2, 3.0);
    auto randomVec = [&](double r) {
        return V3d(unit(rng) * r, unit(rng) * r, unit(rng) * r);
    };
    for (int trial = 0; trial < 500; ++trial) {
        SCOPED_TRACE(trial);
        M44d rotation;
        rotation.setEulerAngles(randomVec(M_PI));
        const V3d s(scale(rng), scale(rng), scale(rng));
        const M44d base = scaling(s) * rotation * translation(randomVec(10.0));
        const V3d target = randomVec(20.0);
        const V3d aim = randomVec(1.0), up = randomVec(1.0), targetUp = randomVec(1.0);
        const V3d origin = row(base, 3);
        V3d d = (target - origin).normalized();
        // Stay clear of near-parallel frames, whose orientation is ill-conditioned.
        if (std::abs(d.dot(targetUp.normalized())) > 0.95 ||
            std::abs(direction(aim, base).normalized().dot(direction(up, base).normalized())) > 0.95)
            continue;

        const M44d world = aimConstraintMatrix(base, target, aim, up, targetUp) * base;
        // Position kept, each axis length (scale) kept.
        expectNear(origin, row(world, 3), 1e-8);
        for (int row = 0; row < 3; ++row)
            EXPECT_NEAR(V3d(base[row][0], base[row][1], base[row][2]).length(),
                        V3d(world[row][0], world[row][1], world[row][2]).length(), 1e-8);
        // The aim axis points at the target.
        expectNear(d, direction(aim, world).normalized(), 1e-8);
        // The up axis lies in the plane of the aim direction and the target up, on the up side.
        const V3d worldUp = direction(up, world).normalized();
        const V3d planeNormal = d.cross(targetUp).normalized();
        EXPECT_NEAR(0.0, worldUp.dot(planeNormal), 1e-8);
        const V3d upInPlane = (targetUp - d * d.dot(targetUp)).normalized();
        const V3d baseUpOrtho =
            direction(up, base) -
            direction(aim, base).normalized() * direction(aim, base).normalized().dot(direction(up, base));
        if (baseUpOrtho.length() > 1e-3) {
            EXPECT_GT(worldUp.dot(upInPlane), 0.0);
        }
    }
}

// ---- Orient ----

TEST(OrientConstraintMath, WrapAngles) {
    struct Case {
        double in, out; // degrees
    };
    const Case cases[] = {{190, -170}, {-190, 170}, {180, 180}, {-180, 180}, {540, 180},
                          {-540, 180}, {0, 0},      {359, -1},  {720, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.in);
        EXPECT_NEAR(c.out * kDeg, wrapAngles(V3d(c.in * kDeg, 0, 0)).x, 1e-12);
        EXPECT_NEAR(c.out * kDeg, wrapAngles(V3d(0, 0, c.in * kDeg)).z, 1e-12);
    }
}

TEST(OrientConstraintMath, NormalizeEulerAnglesPicksShorterEquivalent) {
    struct Case {
        V3d in, out; // degrees
    };
    const Case cases[] = {
        {V3d(190, 0, 0), V3d(-170, 0, 0)},
        {V3d(10, 20, 30), V3d(10, 20, 30)},
        // (170,170,0) is 240 long; its equivalent (-10,10,180) about 181.
        {V3d(170, 170, 0), V3d(-10, 10, 180)},
        {V3d(0, 90, 0), V3d(0, 90, 0)},
        {V3d(-180, 0, -180), V3d(0, 180, 0)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.in.x << " " << c.in.y << " " << c.in.z);
        const V3d result = normalizeEulerAngles(c.in * kDeg);
        expectNear(c.out * kDeg, result, 1e-12);
        // Either triple describes the same rotation.
        M44d a, b;
        a.setEulerAngles(c.in * kDeg);
        b.setEulerAngles(result);
        expectNear(a, b, 1e-12);
    }
}

TEST(OrientConstraintMath, NormalizeEulerAnglesKeepsTheFirstTripleOnATie) {
    // (-pi/2, pi/2, -pi/2) and its equivalent (pi/2, pi/2, pi/2) are exactly as long.
    const V3d angles(-M_PI / 2, M_PI / 2, -M_PI / 2);
    EXPECT_EQ(angles, normalizeEulerAngles(angles));
}

// Leading coincident points are cooked end to end by the Orient resolver tests; the cases are the rows of
// transform.json.
TEST(OrientConstraintMath, FaceFrames) {
    for (const Json& c : mathCases("transform.json", "faceFrames")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        std::vector<V3d> points;
        for (const Json& p : c.at("points"))
            points.push_back(vec(p));
        const std::optional<M44d> frame = faceFrameMatrix(points);
        ASSERT_EQ(!c.at("frame").is_null(), frame.has_value());
        if (frame)
            expectNear(matrix(c.at("frame")), *frame, 1e-12);
    }
}

TEST(OrientConstraintMath, DecomposeScaleShearRotation) {
    M44d shear;
    shear.setShear(V3d(0.5, -0.25, 0.125));
    const M44d m = scaling(V3d(2, 3, 4)) * shear * rotationZ(30) * translation(V3d(7, 8, 9));
    const std::optional<ScaleShearRotation> parts = decomposeScaleShearRotation(m);
    ASSERT_TRUE(parts.has_value());
    expectNear(V3d(2, 3, 4), parts->scale);
    expectNear(V3d(0.5, -0.25, 0.125), parts->shear);
    expectNear(V3d(0, 0, 30 * kDeg), parts->rotation);

    EXPECT_FALSE(decomposeScaleShearRotation(scaling(V3d(1, 0, 1))).has_value());
    EXPECT_FALSE(decomposeScaleShearRotation(scaling(V3d(0, 0, 0))).has_value());
    // Two equal rows: the third scale vanishes once the rows are orthogonalised.
    EXPECT_FALSE(decomposeScaleShearRotation(M44d(1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1) *
                                             M44d(1, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1))
                     .has_value());
}

TEST(OrientConstraintMath, SingularBaseThrowsImathMessage) {
    // The upper 3x3 decomposes, but the 4x4 (no homogeneous row) cannot be inverted.
    M44d base;
    base[3][3] = 0.0;
    const std::optional<ScaleShearRotation> parts = decomposeScaleShearRotation(base);
    ASSERT_TRUE(parts.has_value());
    EXPECT_EQ("Cannot invert singular matrix.",
              thrownMessage([&] { orientConstraintMatrix(base, *parts, V3d(0)); }));
}

TEST(OrientConstraintMath, RandomTransformsTakeTargetRotationPerAxis) {
    std::mt19937 rng(7177);
    std::uniform_real_distribution<double> angle(-80 * kDeg, 80 * kDeg);
    std::uniform_real_distribution<double> scale(0.25, 4.0);
    std::uniform_real_distribution<double> small(-0.5, 0.5);
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        const V3d baseAngles(angle(rng), angle(rng), angle(rng));
        const V3d targetAngles(angle(rng), angle(rng), angle(rng));
        const V3d baseScale(scale(rng), scale(rng), scale(rng));
        const V3d baseShear(small(rng), small(rng), small(rng));
        M44d baseRotation, targetRotation, shear;
        baseRotation.setEulerAngles(baseAngles);
        targetRotation.setEulerAngles(targetAngles);
        shear.setShear(baseShear);
        const M44d base = scaling(baseScale) * shear * baseRotation *
                          translation(V3d(small(rng), small(rng), small(rng)) * 20);
        // The target carries a non-uniform scale of its own, which must not leak into the base.
        const M44d target =
            scaling(V3d(scale(rng), scale(rng), scale(rng))) * targetRotation * translation(V3d(3, 4, 5));

        const std::optional<ScaleShearRotation> baseParts = decomposeScaleShearRotation(base);
        const std::optional<ScaleShearRotation> targetParts = decomposeScaleShearRotation(target);
        ASSERT_TRUE(baseParts && targetParts);
        const bool useX = trial % 4 != 1, useY = trial % 4 != 2, useZ = trial % 4 != 3;
        const V3d angles = mixEulerAngles(baseParts->rotation, normalizeEulerAngles(targetParts->rotation),
                                          useX, useY, useZ);
        const M44d world = orientConstraintMatrix(base, *baseParts, angles) * base;

        const std::optional<ScaleShearRotation> after = decomposeScaleShearRotation(world);
        ASSERT_TRUE(after.has_value());
        expectNear(baseScale, after->scale, 1e-8);
        expectNear(baseShear, after->shear, 1e-8);
        expectNear(row(base, 3), row(world, 3), 1e-8);
        const V3d expected(useX ? targetAngles.x : baseAngles.x, useY ? targetAngles.y : baseAngles.y,
                           useZ ? targetAngles.z : baseAngles.z);
        expectNear(expected, after->rotation, 1e-8);
    }
}
