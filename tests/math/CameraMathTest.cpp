// Camera mathematics checked by projecting through the camera: expected values come from the geometry
// of a pinhole camera looking down its local -Z axis (screen x = x / (depth·tan(fov/2))).
#include "constraints/resolvers/CameraMath.h"
#include "tests/math/MathTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

using namespace Vexil3Constraints::Private;
using Imath::Box3d;
using Imath::M44d;
using Imath::V3d;
using namespace VexilTest;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kTol = 1e-9;

// A camera turned about two axes and moved away from the origin.
M44d tiltedCamera() {
    return rotation(V3d(0, 1, 0), 30.0) * rotation(V3d(1, 0, 0), -20.0) * translation(V3d(1.0, 2.0, 3.0));
}

ScreenWindow window(const Json& w) {
    return {w.at(0).get<double>(), w.at(1).get<double>(), w.at(2).get<double>(), w.at(3).get<double>()};
}

// Camera-local coordinates of a world point: (x, y, view depth).
V3d cameraLocal(const M44d& camera, const V3d& world) {
    const V3d q = point(world, camera.gjInverse());
    return V3d(q.x, q.y, -q.z);
}

} // namespace

// ---------------------------------------------------------------------------------------------------
// Shared helpers

TEST(CameraMathCorners, WorldCornersUseTheProjectiveDivide) {
    // w = x + 1: the corner (1, 0, 0) has w = 2 and is halved; (0, 0, 0) has w = 1.
    M44d m;
    m[0][3] = 1.0;
    m[3][0] = 2.0;
    const auto c = worldBoxCorners(Box3d(V3d(0, 0, 0), V3d(1, 1, 1)), m);
    expectNear(c[0], V3d(2, 0, 0));
    expectNear(c[4], V3d(1.5, 0, 0));
    expectNear(c[7], V3d(1.5, 0.5, 0.5));
}

// ---------------------------------------------------------------------------------------------------
// CameraScreenWindow

TEST(CameraMathScreenWindow, CameraScaleIsDroppedAndTheCardFacesTheCamera) {
    const M44d unscaled = tiltedCamera();
    const M44d scaled = scaling(V3d(2, 3, 0.5)) * unscaled;
    const M44d world = screenWindowCardWorld(scaled, 4.0f, {-1, 1, -1, 1}, 60.0, false);
    const M44d expected = screenWindowCardWorld(unscaled, 4.0f, {-1, 1, -1, 1}, 60.0, false);
    EXPECT_TRUE(world.equalWithAbsError(expected, 1e-12));
    // The card's normal (local +Z) points back at the camera: along the camera's local +Z.
    V3d normal;
    world.multDirMatrix(V3d(0, 0, 1), normal);
    V3d cameraZ;
    unscaled.multDirMatrix(V3d(0, 0, 1), cameraZ);
    expectNear(normal.normalized(), cameraZ.normalized());
}

// ---------------------------------------------------------------------------------------------------
// Clipping

TEST(CameraMathClipping, ViewRayFollowsTheCameraAndIgnoresItsScale) {
    struct Case {
        const char* name;
        M44d camera;
        V3d direction;
        V3d position;
    } cases[] = {
        {"identity", M44d(), V3d(0, 0, -1), V3d(0, 0, 0)},
        // A quarter turn about +Y takes +Z to +X, so the view (-Z) looks down -X.
        {"turned", rotation(V3d(0, 1, 0), 90) * translation(V3d(5, 6, 7)), V3d(-1, 0, 0), V3d(5, 6, 7)},
        {"scaled", scaling(V3d(2, 3, 4)) * translation(V3d(1, 0, 0)), V3d(0, 0, -1), V3d(1, 0, 0)},
        {"homogeneous", M44d(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 2, 4, 6, 2), V3d(0, 0, -1), V3d(1, 2, 3)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const ViewRay ray = clippingViewRay(c.camera);
        expectNear(ray.direction, c.direction);
        expectNear(ray.position, c.position);
    }
}

TEST(CameraMathClipping, DepthIsMeasuredAlongTheViewDirection) {
    const ViewRay ray = clippingViewRay(rotation(V3d(0, 1, 0), 90) * translation(V3d(5, 0, 0)));
    EXPECT_NEAR(viewDepth(ray, V3d(-5, 100, 3)), 10.0, kTol);
    EXPECT_NEAR(viewDepth(ray, V3d(8, 0, 0)), -3.0, kTol);
}

TEST(CameraMathClipping, PlanesArePaddedByPercentOfTheRangeAndFloored) {
    for (const Json& c : mathCases("camera.json", "clippingPlanes")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        const Json &depths = c.at("depths"), &pads = c.at("pads");
        const ClippingPlanes planes = clippingPlanes(depths.at(0), depths.at(1), pads.at(0), pads.at(1));
        EXPECT_NEAR(planes.nearDistance, c.at("planes").at(0).get<double>(), 1e-12);
        EXPECT_NEAR(planes.farDistance, c.at("planes").at(1).get<double>(), 1e-12);
    }
}

// ---------------------------------------------------------------------------------------------------
// Dolly

TEST(CameraMathDolly, HalfAnglesComeFromTheWindowAndTheNarrowedFov) {
    const FrustumHalfAngles square = dollyHalfAngles({-1, 1, -1, 1}, 90.0, 0.0);
    EXPECT_NEAR(square.left, kPi / 4, kTol);
    EXPECT_NEAR(square.right, kPi / 4, kTol);
    EXPECT_NEAR(square.bottom, kPi / 4, kTol);
    EXPECT_NEAR(square.top, kPi / 4, kTol);
    // fov 100 narrowed by 10 is 90: tan(45°) = 1, so each half-angle is atan of the window edge.
    const FrustumHalfAngles skew = dollyHalfAngles({-2, 1, -1, 0.5}, 100.0, 10.0);
    EXPECT_NEAR(skew.left, std::atan(2.0), kTol);
    EXPECT_NEAR(skew.right, kPi / 4, kTol);
    EXPECT_NEAR(skew.bottom, kPi / 4, kTol);
    EXPECT_NEAR(skew.top, std::atan(0.5), kTol);
    // An edge exactly at the origin is allowed.
    EXPECT_EQ(dollyHalfAngles({0, 1, -1, 0}, 60.0, 0.0).left, 0.0);
}

TEST(CameraMathDolly, FrameIsNormalisedAndASingularCameraGivesTheIdentityFrame) {
    const M44d turned = scaling(V3d(3, 3, 3)) * rotation(V3d(0, 1, 0), 90) * translation(V3d(1, 2, 3));
    const CameraFrame frame = cameraFrame(turned, turned.inverse());
    expectNear(frame.view, V3d(-1, 0, 0));
    expectNear(frame.up, V3d(0, 1, 0));
    expectNear(frame.right, V3d(0, 0, -1));
    expectNear(frame.position, V3d(1, 2, 3));

    const M44d flat = scaling(V3d(0, 1, 1)) * translation(V3d(4, 5, 6));
    const CameraFrame degenerate = cameraFrame(flat, flat.inverse());
    expectNear(degenerate.view, V3d(0, 0, -1));
    expectNear(degenerate.up, V3d(0, 1, 0));
    expectNear(degenerate.right, V3d(1, 0, 0));
    expectNear(degenerate.position, V3d(4, 5, 6));
}

TEST(CameraMathDolly, PullBackPutsEveryPointInFront) {
    const CameraFrame frame = cameraFrame(M44d(), M44d());
    expectNear(pullBack(frame, {}), V3d(0, 0, 0));
    expectNear(pullBack(frame, {V3d(0, 0, -5), V3d(9, 9, -1)}), V3d(0, 0, 0));
    // The deepest point behind the camera is 3 behind it.
    expectNear(pullBack(frame, {V3d(0, 0, -5), V3d(1, 0, 3), V3d(0, 7, 2)}), V3d(0, 0, 3));
}

TEST(CameraMathDolly, BoxMoveOfHandWorkedPoints) {
    const CameraFrame frame = cameraFrame(M44d(), M44d());
    for (const Json& c : mathCases("camera.json", "dollyBoxMoves")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        std::vector<V3d> points;
        for (const Json& p : c.at("points"))
            points.push_back(vec(p));
        const FrustumHalfAngles angles = dollyHalfAngles(window(c.at("window")), 90.0, 0.0);
        EXPECT_NEAR(dollyBoxMove(frame, frame.position, angles, points), c.at("move").get<double>(), 1e-9);
    }
}

TEST(CameraMathDolly, MatrixMovesWithoutTurningAndToleratesASingularBase) {
    const M44d base = tiltedCamera();
    const M44d moved = dollyMatrix(base, V3d(7, 8, 9)) * base;
    expectNear(V3d(moved[3][0], moved[3][1], moved[3][2]), V3d(7, 8, 9));
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            EXPECT_NEAR(moved[i][j], base[i][j], 1e-12);
        }
    }
    // A singular base inverts to the identity: X = B · translate(P − C).
    const M44d flat = scaling(V3d(0, 1, 1)) * translation(V3d(1, 0, 0));
    const M44d x = dollyMatrix(flat, V3d(4, 0, 0));
    EXPECT_TRUE(x.equalWithAbsError(flat * translation(V3d(3, 0, 0)), 1e-12));
}

TEST(CameraMathDolly, SideNormalsPointIntoTheFrustum) {
    const double h = std::sqrt(0.5);
    const CameraFrame axes = cameraFrame(M44d(), M44d());
    const auto n = frustumSideNormals(axes, dollyHalfAngles({-1, 1, -1, 1}, 90.0, 0.0));
    expectNear(n[0], V3d(-h, 0, -h)); // right side: normal turns left
    expectNear(n[1], V3d(h, 0, -h));  // left
    expectNear(n[2], V3d(0, h, -h));  // bottom: normal turns up
    expectNear(n[3], V3d(0, -h, -h)); // top

    // For a turned camera each normal is perpendicular to its side's edge ray and faces the view axis.
    const M44d camera = tiltedCamera();
    const CameraFrame frame = cameraFrame(camera, camera.inverse());
    const FrustumHalfAngles a = dollyHalfAngles({-1.5, 0.5, -0.5, 1}, 70.0, 0.0);
    const auto turned = frustumSideNormals(frame, a);
    const V3d edges[4] = {frame.view * std::cos(a.right) + frame.right * std::sin(a.right),
                          frame.view * std::cos(a.left) - frame.right * std::sin(a.left),
                          frame.view * std::cos(a.bottom) - frame.up * std::sin(a.bottom),
                          frame.view * std::cos(a.top) + frame.up * std::sin(a.top)};
    const V3d inward[4] = {-frame.right, frame.right, frame.up, -frame.up};
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(turned[i].dot(edges[i]), 0.0, kTol) << i;
        EXPECT_GT(turned[i].dot(inward[i]), 0.0) << i;
        EXPECT_NEAR(turned[i].length(), 1.0, kTol) << i;
    }
}

TEST(CameraMathDolly, SpherePositionTouchesTheLimitingSide) {
    const CameraFrame frame = cameraFrame(M44d(), M44d());
    const auto normals = frustumSideNormals(frame, dollyHalfAngles({-1, 1, -1, 1}, 90.0, 0.0));
    const double r2 = std::sqrt(2.0);
    // On the axis at depth 10, radius 1: a 45° side touches when the centre is √2 deeper than the camera.
    expectNear(dollySpherePosition(frame, frame.position, normals, {{V3d(0, 0, -10), 1.0}}),
               V3d(0, 0, -10 + r2));
    // 3 to the right: the right side needs depth 3 + √2, the left side 3 − √2 less: right wins.
    expectNear(dollySpherePosition(frame, frame.position, normals, {{V3d(3, 0, -10), 1.0}}),
               V3d(0, 0, -7 + r2));
    // Two spheres: the one needing the camera farther back wins.
    expectNear(
        dollySpherePosition(frame, frame.position, normals, {{V3d(0, 0, -10), 1.0}, {V3d(0, -5, -10), 2.0}}),
        V3d(0, 0, -5 + 2 * r2));
    // No spheres: the world origin, wherever the camera is.
    expectNear(dollySpherePosition(frame, V3d(3, 4, 5), normals, {}), V3d(0, 0, 0));
}

TEST(CameraMathDolly, ASideParallelToTheViewNeverWins) {
    const CameraFrame frame = cameraFrame(M44d(), M44d());
    auto normals = frustumSideNormals(frame, dollyHalfAngles({-1, 1, -1, 1}, 90.0, 0.0));
    normals[0] = V3d(-1, 0, 0); // first side examined: parallel, no earlier position
    normals[2] = V3d(0, 1, 0);  // later parallel side: keeps the last position
    expectNear(dollySpherePosition(frame, frame.position, normals, {{V3d(0, 0, -10), 1.0}}),
               V3d(0, 0, -10 + std::sqrt(2.0)));
}

// ---------------------------------------------------------------------------------------------------
// FOV

TEST(CameraMathFov, PointTangentsOfHandWorkedPoints) {
    const CameraFrame frame = cameraFrame(M44d(), M44d());
    for (const Json& c : mathCases("camera.json", "pointTangents")) {
        SCOPED_TRACE(c.at("why").get<std::string>());
        const auto t = fovTangentForPoint(frame, window(c.at("window")), vec(c.at("point")));
        ASSERT_EQ(t.has_value(), !c.at("tangent").is_null());
        if (t) {
            EXPECT_NEAR(*t, c.at("tangent").get<double>(), kTol);
        }
    }
}

TEST(CameraMathFov, SphereTangents) {
    const CameraFrame frame = cameraFrame(M44d(), M44d());
    // On the axis at distance 10, radius 1: the tangent cone's half-angle is asin(0.1).
    const auto onAxis = fovTangentForSphere(frame, {-1, 1, -1, 1}, {V3d(0, 0, -10), 1.0});
    ASSERT_TRUE(onAxis.has_value());
    EXPECT_NEAR(*onAxis, 0.1 / std::sqrt(0.99), kTol);
    // A sphere of radius 0 is a point.
    EXPECT_NEAR(*fovTangentForSphere(frame, {-2, 2, -1, 1}, {V3d(2, 1, -4), 0.0}), 0.25, kTol);
    // Surrounding the camera, reaching past its plane, or behind it: nothing fits.
    EXPECT_FALSE(fovTangentForSphere(frame, {-1, 1, -1, 1}, {V3d(0, 0, -0.5), 1.0}).has_value());
    EXPECT_FALSE(fovTangentForSphere(frame, {-1, 1, -1, 1}, {V3d(5, 0, -0.5), 1.0}).has_value());
    EXPECT_FALSE(fovTangentForSphere(frame, {-1, 1, -1, 1}, {V3d(0, 0, 10), 1.0}).has_value());
}

// ---------------------------------------------------------------------------------------------------
// ScreenCoordinate

TEST(CameraMathScreenCoordinate, ProblemsAreCheckedInOrder) {
    const std::map<std::string, ScreenMappingProblem> problems = {
        {"None", ScreenMappingProblem::None},
        {"ZeroWindow", ScreenMappingProblem::ZeroWindow},
        {"BadFov", ScreenMappingProblem::BadFov},
        {"NotInFront", ScreenMappingProblem::NotInFront}};
    for (const Json& c : mathCases("camera.json", "screenMappingProblems")) {
        const ScreenMapping mapping{window(c.at("window")), c.at("fov").get<double>(),
                                    c.at("orthographic").get<bool>(), true};
        EXPECT_EQ(checkScreenMapping(mapping, vec(c.at("position"))),
                  problems.at(c.at("problem").get<std::string>()))
            << c.at("why").get<std::string>();
    }
}

// Normalised screen position (-1 .. 1 across the window) of a world point seen by `camera`.
static V3d normalisedScreen(const M44d& camera, const ScreenMapping& m, const V3d& world) {
    const V3d q = cameraLocal(camera, world);
    double sx = q.x;
    double sy = q.y;
    if (!m.orthographic) {
        const double k = std::tan(m.fovDegrees * kPi / 180 * 0.5);
        sx /= q.z * k;
        sy /= q.z * k;
    }
    const ScreenWindow& w = m.window;
    return V3d((sx - (w.right + w.left) * 0.5) / ((w.right - w.left) * 0.5),
               (sy - (w.top + w.bottom) * 0.5) / ((w.top - w.bottom) * 0.5), q.z);
}

TEST(CameraMathScreenCoordinate, BaseKeepsItsOwnRotationOnScreen) {
    const ScreenMapping m{{-1, 1, -1, 1}, 50.0, false, true};
    const M44d camera = tiltedCamera();
    const M44d base = rotation(V3d(0, 0, 1), 30) * translation(V3d(-0.2, 0.4, -6));
    const M44d world = screenCoordinateMatrix(base, camera, m) * base;
    const V3d origin = normalisedScreen(camera, m, point(V3d(0, 0, 0), world));
    const V3d step = normalisedScreen(camera, m, point(V3d(1, 0, 0), world));
    expectNear(origin, V3d(-0.2, 0.4, 6));
    expectNear(step - origin, V3d(std::cos(30 * kPi / 180), std::sin(30 * kPi / 180), 0));
}

TEST(CameraMathScreenCoordinate, OrthographicPlacementOfAHandWorkedWindow) {
    // Window -4 .. 4 by -3 .. 3 at identity: screen (0.5, -1) is camera-local (2, -3); per-axis scale (4, 3,
    // 1).
    const ScreenMapping m{{-4, 4, -3, 3}, 0.0, true, false};
    const M44d p = screenPlacement(m, V3d(0.5, -1, -7));
    const M44d expected(4, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1, 0, 2, -3, -7, 1);
    EXPECT_TRUE(p.equalWithAbsError(expected, 1e-12));
}
