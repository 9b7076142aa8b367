// Unit tests of the Scale and Reflection mathematics and, sharing their checks, of the Billboard
// mathematics. Expected values are worked out by hand from the geometry (axis lengths, quarter turns
// about y, mirrors across simple planes).
#include "constraints/resolvers/MirrorAndScaleMath.h"
#include "constraints/resolvers/BillboardMath.h"

#include <Imath/ImathQuat.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>

using namespace Vexil3Constraints::Private;
using Imath::M44d;
using Imath::V3d;

namespace {

M44d rows(V3d x, V3d y, V3d z, V3d t = V3d(0.0)) {
    return M44d(x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, t.x, t.y, t.z, 1);
}

M44d translation(V3d t) {
    return rows(V3d(1, 0, 0), V3d(0, 1, 0), V3d(0, 0, 1), t);
}

M44d scaling(V3d s) {
    return rows(V3d(s.x, 0, 0), V3d(0, s.y, 0), V3d(0, 0, s.z));
}

V3d row(const M44d& m, int i) {
    return V3d(m[i][0], m[i][1], m[i][2]);
}

V3d point(const V3d& p, const M44d& m) {
    V3d out;
    m.multVecMatrix(p, out);
    return out;
}

V3d direction(const V3d& d, const M44d& m) {
    V3d out;
    m.multDirMatrix(d, out);
    return out;
}

::testing::AssertionResult near(const M44d& actual, const M44d& expected, double tolerance) {
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            if (!(std::abs(actual[i][j] - expected[i][j]) <= tolerance)) {
                return ::testing::AssertionFailure() << "element [" << i << "][" << j << "] is "
                                                     << actual[i][j] << ", expected " << expected[i][j];
            }
        }
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult near(const V3d& actual, const V3d& expected, double tolerance) {
    if ((actual - expected).length() <= tolerance) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "(" << actual.x << ", " << actual.y << ", " << actual.z << "), expected (" << expected.x << ", "
           << expected.y << ", " << expected.z << ")";
}

// ---- random transforms for the property tests ----

struct Random {
    explicit Random(unsigned seed) : engine(seed) {}
    double uniform(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(engine); }
    V3d vector(double lo, double hi) { return V3d(uniform(lo, hi), uniform(lo, hi), uniform(lo, hi)); }
    M44d rotation() {
        Imath::Quatd q(uniform(-1, 1), vector(-1, 1));
        q.normalize();
        return q.toMatrix44();
    }
    // Scale (each axis 0.3 to 3, sign random), shear, rotation, translation: S·H·R·T in row vectors.
    M44d affine(bool uniformScale, bool withShear) {
        double s = uniform(0.3, 3.0);
        V3d scale = uniformScale ? V3d(s) : vector(0.3, 3.0);
        if (!uniformScale && uniform(0, 1) < 0.3) {
            scale.y = -scale.y;
        }
        M44d shear;
        if (withShear) {
            shear[1][0] = uniform(-0.5, 0.5);
            shear[2][0] = uniform(-0.5, 0.5);
            shear[2][1] = uniform(-0.5, 0.5);
        }
        return scaling(scale) * shear * rotation() * translation(vector(-10, 10));
    }
    std::mt19937 engine;
};

} // namespace

// ============================== Scale ==============================

TEST(ScaleMath, ResultIsTheRatioOfAxisLengths) {
    // X = diag(target row length / base row length), whatever the base's rotation and position.
    struct Case {
        const char* name;
        M44d base;
        M44d target;
        V3d ratios;
    };
    const M44d rotatedScaledTarget = scaling(V3d(2, 2, 2)) * rows(V3d(0, 1, 0), V3d(-1, 0, 0), V3d(0, 0, 1));
    const Case cases[] = {
        {"identity base, scaled target", M44d(), scaling(V3d(2, 3, 4)), V3d(2, 3, 4)},
        {"same scale, target rotated", scaling(V3d(2, 2, 2)), rotatedScaledTarget, V3d(1, 1, 1)},
        {"translated base keeps position", scaling(V3d(2, 1, 1)) * translation(V3d(5, 6, 7)),
         scaling(V3d(1, 1, 3)), V3d(0.5, 1, 3)},
        {"rotated base", rows(V3d(0, 2, 0), V3d(-1, 0, 0), V3d(0, 0, 1), V3d(1, 2, 3)), scaling(V3d(3, 3, 3)),
         V3d(1.5, 3, 3)},
        {"target rows of length 5", M44d(), rows(V3d(3, 4, 0), V3d(0, 3, 4), V3d(4, 0, 3), V3d(9, 9, 9)),
         V3d(5, 5, 5)},
        {"mirrored target axis counts by length", M44d(), scaling(V3d(-2, 1, 1)), V3d(2, 1, 1)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const M44d x = scaleConstraintMatrix(c.base, c.target);
        EXPECT_TRUE(near(x, scaling(c.ratios), 1e-12));
        const M44d moved = x * c.base;
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(row(moved, i).length(), row(c.target, i).length(), 1e-12);
        }
        EXPECT_TRUE(near(row(moved, 3), row(c.base, 3), 1e-12));
    }
}

TEST(ScaleMath, TinyAxesUseTheUnderflowSafeLength) {
    // Squares of 1e-200 underflow to zero; a naive length would give 0/0.
    const M44d base = rows(V3d(1e-200, 0, 0), V3d(0, 1, 0), V3d(0, 0, 1));
    const M44d target = rows(V3d(3e-200, 4e-200, 0), V3d(0, 1, 0), V3d(0, 0, 1));
    const M44d desired = scaleMatchedTransform(base, target);
    EXPECT_NEAR(desired[0][0] / 1e-200, 5.0, 1e-12);
    const M44d x = scaleConstraintMatrix(base, target);
    EXPECT_NEAR(x[0][0], 5.0, 1e-12);
}

TEST(ScaleMath, RandomTransformsMatchAxisLengthsKeepDirectionsAndPosition) {
    Random random(20240611u);
    for (int n = 0; n < 500; ++n) {
        const M44d base = random.affine(false, true);
        const M44d target = random.affine(false, true);
        const M44d moved = scaleConstraintMatrix(base, target) * base;
        for (int i = 0; i < 3; ++i) {
            const V3d before = row(base, i);
            const V3d after = row(moved, i);
            EXPECT_NEAR(after.length(), row(target, i).length(), 1e-9 * row(target, i).length());
            // Same direction: parallel and pointing the same way.
            EXPECT_NEAR((after % before).length(), 0.0, 1e-9 * after.length() * before.length());
            EXPECT_GT(after ^ before, 0.0);
        }
        EXPECT_TRUE(near(row(moved, 3), row(base, 3), 1e-9));
    }
}

// ============================== Billboard ==============================

TEST(BillboardMath, AffinePointSkipsTheDivisionByW) {
    const M44d m(1, 0, 0, 0.5, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 2);
    EXPECT_TRUE(near(transformAffinePoint(V3d(1, 1, 1), m), V3d(2, 3, 4), 0.0));
    // multVecMatrix would divide by w = 0.5 + 2 = 2.5.
    EXPECT_TRUE(near(point(V3d(1, 1, 1), m), V3d(2, 3, 4) / 2.5, 1e-15));
}

TEST(BillboardMath, TurnsAboutTheRotateAxisTowardsTheTarget) {
    // Quarter turns about y, row vectors: +90° takes z to x (rows x→(0,0,-1), y→y, z→(1,0,0)).
    const M44d plusQuarterY = rows(V3d(0, 0, -1), V3d(0, 1, 0), V3d(1, 0, 0));
    const M44d minusQuarterY = rows(V3d(0, 0, 1), V3d(0, 1, 0), V3d(-1, 0, 0));
    const M44d halfTurnY = rows(V3d(-1, 0, 0), V3d(0, 1, 0), V3d(0, 0, -1));
    const M44d halfTurnX = rows(V3d(1, 0, 0), V3d(0, -1, 0), V3d(0, 0, -1));
    const M44d eighthTurnY =
        rows(V3d(std::sqrt(0.5), 0, -std::sqrt(0.5)), V3d(0, 1, 0), V3d(std::sqrt(0.5), 0, std::sqrt(0.5)));
    struct Case {
        const char* name;
        V3d aim;
        V3d rotate;
        V3d target;
        M44d expected;
    };
    const Case cases[] = {
        {"z faces a target along +x; its height plays no part", V3d(0, 0, 1), V3d(0, 1, 0), V3d(5, 3, 0),
         plusQuarterY},
        {"unnormalised aim axis", V3d(0, 0, 7), V3d(0, 1, 0), V3d(5, 3, 0), plusQuarterY},
        {"unnormalised, negative rotate axis", V3d(0, 0, 1), V3d(0, -5, 0), V3d(5, -8, 0), plusQuarterY},
        {"x faces +z", V3d(1, 0, 0), V3d(0, 1, 0), V3d(0, 0, 5), minusQuarterY},
        {"aim axis tilted out of the plane", V3d(0, 4, 1), V3d(0, 1, 0), V3d(5, 0, 0), plusQuarterY},
        {"eighth turn", V3d(0, 0, 1), V3d(0, 1, 0), V3d(2, 0, 2), eighthTurnY},
        {"already facing", V3d(0, 0, 1), V3d(0, 1, 0), V3d(0, 9, 3), M44d()},
        {"target on the rotate axis", V3d(0, 0, 1), V3d(0, 1, 0), V3d(0, 4, 0), M44d()},
        {"target at the base origin", V3d(0, 0, 1), V3d(0, 1, 0), V3d(0, 0, 0), M44d()},
        {"aim axis along the rotate axis", V3d(0, 2, 0), V3d(0, 1, 0), V3d(5, 0, 0), M44d()},
        {"target straight behind, rotate y", V3d(1, 0, 0), V3d(0, 1, 0), V3d(-3, 0, 0), halfTurnY},
        {"target straight behind, rotate x", V3d(0, 0, 1), V3d(1, 0, 0), V3d(4, 0, -3), halfTurnX},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(near(billboardRotation(c.aim, c.rotate, c.target), c.expected, 1e-12));
    }
}

TEST(BillboardMath, SingularBaseSeesTheTargetUntransformed) {
    // The inverse of a singular base counts as the identity: the world point (0,0,5) is taken as local.
    const M44d flat = scaling(V3d(1, 1, 0));
    const M44d x = billboardConstraintMatrix(flat, V3d(1, 0, 0), V3d(0, 1, 0), V3d(0, 0, 5));
    EXPECT_TRUE(near(x, rows(V3d(0, 0, 1), V3d(0, 1, 0), V3d(-1, 0, 0)), 1e-12));
}

TEST(BillboardMath, RandomBasesKeepTheRotateAxisAndFaceTheTarget) {
    Random random(77031u);
    for (int n = 0; n < 500; ++n) {
        const M44d base = random.affine(false, false);
        const V3d aim = random.vector(-1, 1);
        const V3d rotate = random.vector(-1, 1);
        const V3d target = random.vector(-20, 20);
        const M44d x = billboardConstraintMatrix(base, aim, rotate, target);
        const M44d moved = x * base;

        // The world rotate axis and the position stay.
        EXPECT_TRUE(near(direction(rotate, moved), direction(rotate, base), 1e-9 * (1 + rotate.length())));
        EXPECT_TRUE(near(row(moved, 3), row(base, 3), 1e-9));
        // X is a proper rotation.
        EXPECT_NEAR(x.determinant(), 1.0, 1e-9);

        // In the base's local space the turned aim axis, flattened onto the plane perpendicular to the
        // rotate axis, points at the flattened target.
        const V3d r = rotate.normalized();
        const V3d local = point(target, base.gjInverse(true));
        const V3d turnedAim = direction(aim, x);
        const V3d aimFlat = (turnedAim - (turnedAim ^ r) * r).normalized();
        const V3d targetFlat = (local - (local ^ r) * r).normalized();
        EXPECT_TRUE(near(aimFlat, targetFlat, 1e-7));
    }
}

// ============================== Reflection ==============================

TEST(ReflectionMath, PlaneFrameIsOrthonormalWithTheNormalAlongE1CrossE2) {
    const PlaneFrame f = planeFrame(V3d(1, 0, 0), V3d(2, 0, 0), V3d(1, 0, 1));
    EXPECT_TRUE(near(f.origin, V3d(1, 0, 0), 0.0));
    EXPECT_TRUE(near(f.e1, V3d(1, 0, 0), 0.0));
    EXPECT_TRUE(near(f.normal, V3d(0, -1, 0), 0.0));
    EXPECT_TRUE(near(f.inPlane, V3d(0, 0, 1), 0.0));
    // W undoes F.
    EXPECT_TRUE(near(spaceToPlane(f) * planeToSpace(f), M44d(), 1e-15));
    const PlaneFrame g = planeFrame(V3d(1, 2, 3), V3d(4, -1, 2), V3d(0, 5, 7));
    EXPECT_TRUE(near(spaceToPlane(g) * planeToSpace(g), M44d(), 1e-14));
    EXPECT_TRUE(near(planeToSpace(g) * spaceToPlane(g), M44d(), 1e-14));
}

TEST(ReflectionMath, LocalMirrorMapsPointsToTheirReflections) {
    struct Case {
        const char* name;
        V3d p0, p1, p2;
        V3d in;
        V3d out;
    };
    const Case cases[] = {
        {"plane y = 0", V3d(1, 0, 0), V3d(2, 0, 0), V3d(1, 0, 1), V3d(0, 5, 0), V3d(0, -5, 0)},
        {"plane y = 0, point off the axes", V3d(1, 0, 0), V3d(2, 0, 0), V3d(1, 0, 1), V3d(3, -2, 7),
         V3d(3, 2, 7)},
        {"plane x = 4", V3d(4, 0, 0), V3d(4, 1, 0), V3d(4, 0, 1), V3d(1, 2, 3), V3d(7, 2, 3)},
        {"plane x + y + z = 3: origin", V3d(3, 0, 0), V3d(0, 3, 0), V3d(0, 0, 3), V3d(0, 0, 0), V3d(2, 2, 2)},
        {"plane x + y + z = 3: point on it", V3d(3, 0, 0), V3d(0, 3, 0), V3d(0, 0, 3), V3d(1, 1, 1),
         V3d(1, 1, 1)},
        {"plane z = 2, points in clockwise order", V3d(0, 0, 2), V3d(0, 1, 2), V3d(1, 0, 2), V3d(5, 6, 10),
         V3d(5, 6, -6)},
        {"collinear points: projection onto their line", V3d(0, 0, 0), V3d(1, 0, 0), V3d(2, 0, 0),
         V3d(3, 4, 5), V3d(3, 0, 0)},
        {"coincident first points: everything collapses to p0", V3d(1, 2, 3), V3d(1, 2, 3), V3d(0, 0, 0),
         V3d(9, 8, 7), V3d(1, 2, 3)},
        {"three equal points", V3d(1, 1, 1), V3d(1, 1, 1), V3d(1, 1, 1), V3d(-4, 0, 2), V3d(1, 1, 1)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        M44d mirror;
        ASSERT_NO_THROW(mirror = localMirror(c.p0, c.p1, c.p2));
        EXPECT_TRUE(near(point(c.in, mirror), c.out, 1e-12));
    }
}

TEST(ReflectionMath, RandomRigidTargetsGiveTrueMirrorImages) {
    Random random(9001u);
    for (int n = 0; n < 300; ++n) {
        const M44d base = random.affine(false, true);
        const M44d target = random.affine(true, false);
        const V3d p0 = random.vector(-5, 5), p1 = random.vector(-5, 5), p2 = random.vector(-5, 5);
        const M44d moved = reflectionConstraintMatrix(base, target, p0, p1, p2) * base;

        // The plane in world space, worked out from the world images of the three points.
        const V3d w0 = point(p0, target), w1 = point(p1, target), w2 = point(p2, target);
        const V3d normal = ((w1 - w0) % (w2 - w0)).normalized();
        for (int k = 0; k < 4; ++k) {
            const V3d local = random.vector(-3, 3);
            const V3d world = point(local, base);
            const V3d reflected = world - 2.0 * ((world - w0) ^ normal) * normal;
            EXPECT_TRUE(near(point(local, moved), reflected, 1e-8 * (1 + world.length())));
        }
        // Mirroring twice gives back the original.
        const M44d twice = reflectionConstraintMatrix(moved, target, p0, p1, p2) * moved;
        EXPECT_TRUE(near(twice, base, 1e-8 * (1 + row(base, 3).length())));
    }
}

TEST(ReflectionMath, ControlPointsOfAPatch) {
    struct Case {
        const char* name;
        std::vector<float> values;
        int64_t tupleSize;
        bool ok;
        std::vector<V3d> points;
    };
    const Case cases[] = {
        {"homogeneous points are divided by w",
         {2, 0, 0, 2, 4, 0, 0, 2, 2, 0, 2, 2, 9, 9, 9, 1},
         4,
         true,
         {V3d(1, 0, 0), V3d(2, 0, 0), V3d(1, 0, 1)}},
        {"three values per point are taken as they are",
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
         3,
         true,
         {V3d(1, 2, 3), V3d(4, 5, 6), V3d(7, 8, 9)}},
        {"only two homogeneous points", {2, 4, 6, 2, 1, 1, 1, 1}, 4, true, {V3d(1, 2, 3), V3d(1, 1, 1)}},
        {"a partial point is not a point",
         {2, 4, 6, 2, 1, 1, 1, 1, 5, 5},
         4,
         true,
         {V3d(1, 2, 3), V3d(1, 1, 1)}},
        {"one value per point: no points", {1, 2, 3, 4, 5, 6, 7, 8, 9}, 1, true, {}},
        {"two values per point: no points", {1, 2, 3, 4, 5, 6}, 2, true, {}},
        {"empty", {}, 4, true, {}},
        {"zero weight", {1, 1, 1, 1, 2, 2, 2, 0, 3, 3, 3, 1}, 4, false, {V3d(1, 1, 1)}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<V3d> points{V3d(7, 7, 7)};
        const bool ok = controlPlanePoints(c.values, c.tupleSize, points);
        EXPECT_EQ(ok, c.ok);
        ASSERT_EQ(points.size(), c.points.size());
        for (size_t i = 0; i < points.size(); ++i) {
            EXPECT_TRUE(near(points[i], c.points[i], 0.0));
        }
    }
}
