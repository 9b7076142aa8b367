// Unit tests of the Scale and Reflection mathematics and, sharing their checks, of the Billboard
// mathematics. Expected values are worked out by hand from the geometry (axis lengths, quarter turns
// about y, mirrors across simple planes); the hand-worked tables are in mirror-and-scale.json.
#include "constraints/resolvers/MirrorAndScaleMath.h"
#include "constraints/resolvers/BillboardMath.h"
#include "tests/math/MathTestSupport.h"

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
using namespace VexilTest;

namespace {

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
        expectNear(scaling(c.ratios), x, 1e-12);
        const M44d moved = x * c.base;
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(row(moved, i).length(), row(c.target, i).length(), 1e-12);
        }
        expectNear(row(c.base, 3), row(moved, 3), 1e-12);
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
        expectNear(row(base, 3), row(moved, 3), 1e-9);
    }
}

// ============================== Billboard ==============================

TEST(BillboardMath, AffinePointSkipsTheDivisionByW) {
    const M44d m(1, 0, 0, 0.5, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 2);
    expectNear(V3d(2, 3, 4), transformAffinePoint(V3d(1, 1, 1), m), 0.0);
    // multVecMatrix would divide by w = 0.5 + 2 = 2.5.
    expectNear(V3d(2, 3, 4) / 2.5, point(V3d(1, 1, 1), m), 1e-15);
}

TEST(BillboardMath, TurnsAboutTheRotateAxisTowardsTheTarget) {
    for (const Json& c : mathCases("mirror-and-scale.json", "billboardTurns")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        expectNear(matrix(c.at("turn")),
                   billboardRotation(vec(c.at("aim")), vec(c.at("rotate")), vec(c.at("target"))), 1e-12);
    }
}

TEST(BillboardMath, SingularBaseSeesTheTargetUntransformed) {
    // The inverse of a singular base counts as the identity: the world point (0,0,5) is taken as local.
    const M44d flat = scaling(V3d(1, 1, 0));
    const M44d x = billboardConstraintMatrix(flat, V3d(1, 0, 0), V3d(0, 1, 0), V3d(0, 0, 5));
    expectNear(rows(V3d(0, 0, 1), V3d(0, 1, 0), V3d(-1, 0, 0)), x, 1e-12);
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
        expectNear(direction(rotate, base), direction(rotate, moved), 1e-9 * (1 + rotate.length()));
        expectNear(row(base, 3), row(moved, 3), 1e-9);
        // X is a proper rotation.
        EXPECT_NEAR(x.determinant(), 1.0, 1e-9);

        // In the base's local space the turned aim axis, flattened onto the plane perpendicular to the
        // rotate axis, points at the flattened target.
        const V3d r = rotate.normalized();
        const V3d local = point(target, base.gjInverse(true));
        const V3d turnedAim = direction(aim, x);
        const V3d aimFlat = (turnedAim - (turnedAim ^ r) * r).normalized();
        const V3d targetFlat = (local - (local ^ r) * r).normalized();
        expectNear(targetFlat, aimFlat, 1e-7);
    }
}

// ============================== Reflection ==============================

TEST(ReflectionMath, PlaneFrameIsOrthonormalWithTheNormalAlongE1CrossE2) {
    const PlaneFrame f = planeFrame(V3d(1, 0, 0), V3d(2, 0, 0), V3d(1, 0, 1));
    expectNear(V3d(1, 0, 0), f.origin, 0.0);
    expectNear(V3d(1, 0, 0), f.e1, 0.0);
    expectNear(V3d(0, -1, 0), f.normal, 0.0);
    expectNear(V3d(0, 0, 1), f.inPlane, 0.0);
    // W undoes F.
    expectNear(M44d(), spaceToPlane(f) * planeToSpace(f), 1e-15);
    const PlaneFrame g = planeFrame(V3d(1, 2, 3), V3d(4, -1, 2), V3d(0, 5, 7));
    expectNear(M44d(), spaceToPlane(g) * planeToSpace(g), 1e-14);
    expectNear(M44d(), planeToSpace(g) * spaceToPlane(g), 1e-14);
}

TEST(ReflectionMath, LocalMirrorMapsPointsToTheirReflections) {
    for (const Json& c : mathCases("mirror-and-scale.json", "localMirrors")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        const Json& p = c.at("plane");
        M44d mirror;
        ASSERT_NO_THROW(mirror = localMirror(vec(p.at(0)), vec(p.at(1)), vec(p.at(2))));
        expectNear(vec(c.at("out")), point(vec(c.at("in")), mirror), 1e-12);
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
            expectNear(reflected, point(local, moved), 1e-8 * (1 + world.length()));
        }
        // Mirroring twice gives back the original.
        const M44d twice = reflectionConstraintMatrix(moved, target, p0, p1, p2) * moved;
        expectNear(base, twice, 1e-8 * (1 + row(base, 3).length()));
    }
}

TEST(ReflectionMath, ControlPointsOfAPatch) {
    for (const Json& c : mathCases("mirror-and-scale.json", "patchPoints")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        std::vector<V3d> points{V3d(7, 7, 7)};
        EXPECT_EQ(controlPlanePoints(c.at("values").get<std::vector<float>>(),
                                     c.at("tupleSize").get<int64_t>(), points),
                  c.at("ok").get<bool>());
        ASSERT_EQ(points.size(), c.at("points").size());
        for (size_t i = 0; i < points.size(); ++i) {
            expectNear(vec(c.at("points").at(i)), points[i], 0.0);
        }
    }
}
