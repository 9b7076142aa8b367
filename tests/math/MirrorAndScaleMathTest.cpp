// Unit tests of the Scale and Reflection mathematics and, sharing their checks, of the Billboard
// mathematics. Expected values are worked out by hand from the geometry (axis lengths, quarter turns
// about y, mirrors across simple planes); the hand-worked tables are in mirror-and-scale.json.
#include "constraints/resolvers/MirrorAndScaleMath.h"
#include "constraints/resolvers/BillboardMath.h"
#include "tests/math/MathTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using namespace Vexil3Constraints::Private;
using Imath::M44d;
using Imath::V3d;
using namespace VexilTest;

// ============================== Scale ==============================

// X = diag(target row length / base row length), whatever the base's rotation and position.
TEST(ScaleMath, ResultIsTheRatioOfAxisLengths) {
    for (const Json& c : mathCases("mirror-and-scale.json", "scaleRatios")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        expectNear(scaling(vec(c.at("ratios"))),
                   scaleConstraintMatrix(matrix(c.at("base")), matrix(c.at("target"))), 1e-12);
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
