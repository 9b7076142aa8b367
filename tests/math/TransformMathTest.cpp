// Point, Aim and Orient mathematics against matrices worked out by hand (most of them the rows of
// transform.json), degenerate input included.
#include "constraints/resolvers/TransformMath.h"
#include "tests/math/MathTestSupport.h"
#include "tests/support/ThrownMessage.h"

#include <Imath/ImathMatrixAlgo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>

using namespace Vexil3Constraints::Private;
using Imath::M44d;
using Imath::V3d;
using namespace VexilTest;

namespace {

constexpr double kDeg = M_PI / 180.0;

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

// Rotated, degenerate, unnormalised and tiny inputs; the frames the Aim scenarios cook end to end
// (towards -z, straight up, a scaled base) are not repeated here.
TEST(AimConstraintMath, HandWorkedFrames) {
    for (const Json& c : mathCases("transform.json", "aimFrames")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        const M44d base = matrix(c.at("base"));
        const M44d x = aimConstraintMatrix(base, vec(c.at("target")), vec(c.at("aim")), vec(c.at("up")),
                                           vec(c.at("targetUp")));
        expectNear(matrix(c.at("world")), x * base);
    }
}

// ---- Orient ----

TEST(OrientConstraintMath, WrapAngles) {
    for (const Json& c : mathCases("transform.json", "wrapAngles")) {
        SCOPED_TRACE(c.dump());
        EXPECT_NEAR(c.at(1).get<double>() * kDeg, wrapAngles(V3d(c.at(0).get<double>() * kDeg, 0, 0)).x,
                    1e-12);
        EXPECT_NEAR(c.at(1).get<double>() * kDeg, wrapAngles(V3d(0, 0, c.at(0).get<double>() * kDeg)).z,
                    1e-12);
    }
}

TEST(OrientConstraintMath, NormalizeEulerAnglesPicksShorterEquivalent) {
    for (const Json& c : mathCases("transform.json", "eulerNormalisations")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        const V3d result = normalizeEulerAngles(vec(c.at("in")) * kDeg);
        expectNear(vec(c.at("out")) * kDeg, result, 1e-12);
        // Either triple describes the same rotation.
        M44d a, b;
        a.setEulerAngles(vec(c.at("in")) * kDeg);
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
    const M44d m = scaling(V3d(2, 3, 4)) * shear * rotation(V3d(0, 0, 1), 30) * translation(V3d(7, 8, 9));
    const std::optional<ScaleShearRotation> parts = decomposeScaleShearRotation(m);
    ASSERT_TRUE(parts.has_value());
    expectNear(V3d(2, 3, 4), parts->scale);
    expectNear(V3d(0.5, -0.25, 0.125), parts->shear);
    expectNear(V3d(0, 0, 30 * kDeg), parts->rotation);
    // Recombined with its own rotation, a sheared, scaled and moved base is left as it is.
    expectNear(M44d(), orientConstraintMatrix(m, *parts, parts->rotation));

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
