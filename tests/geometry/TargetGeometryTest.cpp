// Target origins, face iteration and the argument readers over a stand-in scene; every expected point
// is worked out by hand from the meshes and transforms below.
#include "constraints/resolve/TargetGeometry.h"
#include "constraints/resolve/FaceIterator.h"
#include "tests/geometry/TransformSamples.h"
#include "tests/plugin/FakeCookHost.h"

#include "hostapi/attribute/GroupAttribute.h"

#include <gtest/gtest.h>

#include <functional>

using namespace Vexil3Constraints::Private;
using GeometryTests::at0;
using GeometryTests::translation;
using Imath::M44d;
using Imath::V3d;
using VexilTest::FakeCook;
using VexilTest::thrownMessage;

namespace {

const std::string kTarget = "/root/world/target";
const std::string kMesh = "/root/world/mesh";

void expectVecNear(const V3d& expected, const V3d& actual, double tol = 1e-12) {
    EXPECT_NEAR(expected.x, actual.x, tol);
    EXPECT_NEAR(expected.y, actual.y, tol);
    EXPECT_NEAR(expected.z, actual.z, tol);
}

// A tetrahedron corner: points (0,0,0), (3,0,0), (0,3,0), (0,0,3) and three triangles whose centres are
// (1,1,0), (1,0,1) and (0,1,1); its points span the box 0..3 on every axis.
void addCorner(FakeCook& cook, const std::string& path) {
    cook.addMesh(path, {0, 0, 0, 3, 0, 0, 0, 3, 0, 0, 0, 3}, {0, 3, 6, 9}, {0, 1, 2, 0, 1, 3, 0, 2, 3});
}

// One quad with corners (0,0,0) and (2,2,0): centre (1,1,0).
void addQuad(FakeCook& cook, const std::string& path) {
    cook.addMesh(path, {0, 0, 0, 2, 0, 0, 2, 2, 0, 0, 2, 0}, {0, 4}, {0, 1, 2, 3});
}

class TargetGeometryTest : public ::testing::Test {
protected:
    void SetUp() override { VexilTest::ensureAttributeSuite(); }
    FakeCook m_cook;
};

} // namespace

TEST_F(TargetGeometryTest, EmptyTargetListQueriesNothing) {
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    expectVecNear(V3d(0),
                  computeTargetOrigin("boundingBox", XformSamplesList{}, cook, TargetPaths{}, true, 0.0f));
    EXPECT_TRUE(m_cook.queries.empty());
}

TEST_F(TargetGeometryTest, OriginAndUnknownModesUseTheTransformedLocalOrigin) {
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    const XformSamplesList samples{at0(translation(1, 2, 3))};
    for (const char* mode : {"origin", "object", "Origin", ""}) {
        SCOPED_TRACE(mode);
        expectVecNear(V3d(1, 2, 3), computeTargetOrigin(mode, samples, cook, {kTarget}, true, 0.0f));
        expectVecNear(V3d(0), computeTargetOrigin(mode, samples, cook, {kTarget}, false, 0.0f));
    }
    // Two targets at (0,0,0) and (2,0,0) average to (1,0,0).
    expectVecNear(V3d(1, 0, 0),
                  computeTargetOrigin("origin", XformSamplesList{at0(M44d()), at0(translation(2, 0, 0))},
                                      cook, TargetPaths{"/a", "/b"}, true, 0.0f));
    // The single-target form gives the same.
    expectVecNear(V3d(1, 2, 3),
                  computeTargetOrigin("origin", at0(translation(1, 2, 3)), cook, kTarget, true, 0.0f));
    EXPECT_TRUE(m_cook.queries.empty());
}

TEST_F(TargetGeometryTest, TransformLookupIsByExactTime) {
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    const XformSamples twoSamples{{0.0f, M44d()}, {1.0f, translation(4, 0, 0)}};
    const std::string message = "Incorrect time samples for xform (" + kTarget + ").";
    // 0.5 lies between the samples, yet there is no sample there.
    EXPECT_EQ(message, thrownMessage([&] {
                  computeTargetOrigin("origin", {twoSamples}, cook, {kTarget}, true, 0.5f);
              }));
    EXPECT_EQ(message, thrownMessage([&] {
                  computeTargetOrigin("origin", {XformSamples{}}, cook, {kTarget}, true, 0.0f);
              }));
    EXPECT_EQ(message, thrownMessage([&] {
                  computeTargetOrigin("origin", {twoSamples}, cook, {kTarget}, true, 2.0f);
              }));
    expectVecNear(V3d(4, 0, 0), computeTargetOrigin("origin", {twoSamples}, cook, {kTarget}, true, 1.0f));
    // Without transforms the map is not consulted at all.
    expectVecNear(V3d(0), computeTargetOrigin("origin", {XformSamples{}}, cook, {kTarget}, false, 0.5f));
}

TEST_F(TargetGeometryTest, BoundingBoxCentre) {
    m_cook.input[kTarget]["bound"] = Qn::DoubleAttribute(std::vector<double>{-1, 3, 0, 2, -4, -2});
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    // Centre (1,1,-3), then scaled by 2 and moved by (10,0,0).
    M44d scaleAndMove;
    scaleAndMove.setScale(2.0);
    scaleAndMove = scaleAndMove * translation(10, 0, 0);
    expectVecNear(V3d(12, 2, -6),
                  computeTargetOrigin("boundingBox", {at0(scaleAndMove)}, cook, {kTarget}, true, 0.0f));
    expectVecNear(V3d(1, 1, -3),
                  computeTargetOrigin("boundingBox", {at0(scaleAndMove)}, cook, {kTarget}, false, 0.0f));

    // An animated bound is interpolated at the sample time: at 0.5 halfway from (0..2) to (4..6) in x.
    m_cook.input[kTarget]["bound"] = Qn::DoubleAttribute(
        std::map<float, std::vector<double>>{{0.0f, {0, 2, 0, 0, 0, 0}}, {1.0f, {4, 6, 0, 0, 0, 0}}}, 1);
    expectVecNear(V3d(3, 0, 0),
                  computeTargetOrigin("boundingBox", {XformSamples{}}, cook, {kTarget}, false, 0.5f));
}

TEST_F(TargetGeometryTest, BoundingBoxWithoutUsableBound) {
    const std::string message = "Cannot get bounds attribute (" + kTarget + ").";
    struct Case {
        const char* what;
        Qn::Attribute bound;
    };
    const Case cases[] = {
        {"missing", Qn::Attribute()},
        {"float bound", Qn::FloatAttribute(std::vector<float>{-1, 1, -1, 1, -1, 1})},
        {"five doubles", Qn::DoubleAttribute(std::vector<double>{-1, 1, -1, 1, -1})},
        {"seven doubles", Qn::DoubleAttribute(std::vector<double>{-1, 1, -1, 1, -1, 1, 0})},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        m_cook.input[kTarget].erase("bound");
        if (c.bound.isValid())
            m_cook.input[kTarget]["bound"] = c.bound;
        Qn::VexilCookInterface cook = m_cook.cookInterface();
        EXPECT_EQ(message, thrownMessage([&] {
                      computeTargetOrigin("boundingBox", {at0(M44d())}, cook, {kTarget}, true, 0.0f);
                  }));
    }
}

TEST_F(TargetGeometryTest, FaceCenterAverageWeighsEveryFace) {
    addQuad(m_cook, "/root/world/quad");
    addCorner(m_cook, "/root/world/corner");
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    // Quad centre (1,1,0); corner centres moved by (10,0,0): (11,1,0), (11,0,1), (10,1,1).
    // Mean of the four: (33,3,2)/4, not the mean of the two targets.
    expectVecNear(V3d(8.25, 0.75, 0.5),
                  computeTargetOrigin("faceCenterAverage",
                                      XformSamplesList{at0(M44d()), at0(translation(10, 0, 0))}, cook,
                                      TargetPaths{"/root/world/quad", "/root/world/corner"}, true, 0.0f));
    // In local space: (1,1,0), (1,1,0), (1,0,1), (0,1,1).
    expectVecNear(V3d(0.75, 0.75, 0.5),
                  computeTargetOrigin("faceCenterAverage", XformSamplesList{XformSamples{}, XformSamples{}},
                                      cook, TargetPaths{"/root/world/quad", "/root/world/corner"}, false,
                                      0.0f));
}

TEST_F(TargetGeometryTest, TargetsWithoutFaces) {
    m_cook.addMesh("/root/world/empty", {}, {0}, {});
    addCorner(m_cook, "/root/world/corner");
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    // faceCenterAverage: a faceless target adds nothing and does not count.
    expectVecNear(V3d(0), computeTargetOrigin("faceCenterAverage", {at0(translation(5, 5, 5))}, cook,
                                              {"/root/world/empty"}, true, 0.0f));
    expectVecNear(V3d(2.0 / 3.0, 2.0 / 3.0, 2.0 / 3.0),
                  computeTargetOrigin("faceCenterAverage",
                                      XformSamplesList{at0(translation(5, 5, 5)), at0(M44d())}, cook,
                                      TargetPaths{"/root/world/empty", "/root/world/corner"}, true, 0.0f));
    // faceBoundingBox: a faceless target is the (transformed) origin and counts once:
    // ((10,0,0) + (1.5,1.5,1.5)) / 2.
    expectVecNear(V3d(10, 0, 0), computeTargetOrigin("faceBoundingBox", {at0(translation(10, 0, 0))}, cook,
                                                     {"/root/world/empty"}, true, 0.0f));
    expectVecNear(V3d(5.75, 0.75, 0.75),
                  computeTargetOrigin("faceBoundingBox",
                                      XformSamplesList{at0(translation(10, 0, 0)), at0(M44d())}, cook,
                                      TargetPaths{"/root/world/empty", "/root/world/corner"}, true, 0.0f));
}

TEST_F(TargetGeometryTest, FaceBoundingBoxCentre) {
    // Points (-1,5,2) and (3,-1,0) and (0,0,7) as one triangle: box x -1..3, y -1..5, z 0..7.
    m_cook.addMesh(kMesh, {-1, 5, 2, 3, -1, 0, 0, 0, 7}, {0, 3}, {0, 1, 2});
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    expectVecNear(V3d(1, 2, 3.5),
                  computeTargetOrigin("faceBoundingBox", {XformSamples{}}, cook, {kMesh}, false, 0.0f));
    // Only the centre is transformed: (1,2,3.5) + (0,0,-3.5).
    expectVecNear(V3d(1, 2, 0), computeTargetOrigin("faceBoundingBox", {at0(translation(0, 0, -3.5))}, cook,
                                                    {kMesh}, true, 0.0f));
}

TEST_F(TargetGeometryTest, PointsAreInterpolatedAtTheSampleTime) {
    addQuad(m_cook, kMesh);
    // The quad moves from z = 0 at time 0 to z = 4 at time 1.
    m_cook.input[kMesh]["geometry.point.P"] =
        Qn::FloatAttribute(std::map<float, std::vector<float>>{{0.0f, {0, 0, 0, 2, 0, 0, 2, 2, 0, 0, 2, 0}},
                                                               {1.0f, {0, 0, 4, 2, 0, 4, 2, 2, 4, 0, 2, 4}}},
                           3);
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    expectVecNear(V3d(1, 1, 1),
                  computeTargetOrigin("faceCenterAverage", {XformSamples{}}, cook, {kMesh}, false, 0.25f));
    const std::vector<V3d> points = getFacePoints(cook, kMesh, 0, 0.5f);
    ASSERT_EQ(4u, points.size());
    expectVecNear(V3d(2, 2, 2), points[2]);
}

TEST_F(TargetGeometryTest, FaceSetWalksOnlyItsFaces) {
    addCorner(m_cook, kMesh);
    m_cook.addFaceSet(kMesh + "/fs", {2, 0});
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    // Faces 2 and 0 of the corner: centres (0,1,1) and (1,1,0).
    expectVecNear(V3d(0.5, 1, 0.5), computeTargetOrigin("faceCenterAverage", {XformSamples{}}, cook,
                                                        {kMesh + "/fs"}, false, 0.0f));
    // Face 0 of the face set is face 2 of the mesh, in vertex-list order 0, 2, 3.
    const std::vector<V3d> points = getFacePoints(cook, kMesh + "/fs", 0, 0.0f);
    ASSERT_EQ(3u, points.size());
    expectVecNear(V3d(0, 0, 0), points[0]);
    expectVecNear(V3d(0, 3, 0), points[1]);
    expectVecNear(V3d(0, 0, 3), points[2]);
    FaceIterator faces(cook, kMesh + "/fs", 0.0f);
    EXPECT_EQ(2, faces.getFaceCount());
}

TEST_F(TargetGeometryTest, GetFacePointsInVertexListOrder) {
    m_cook.addMesh(kMesh, {0, 0, 0, 1, 0, 0, 1, 1, 0, 5, 5, 5}, {0, 3, 4}, {2, 0, 1, 3});
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    const std::vector<V3d> face0 = getFacePoints(cook, kMesh, 0, 0.0f);
    ASSERT_EQ(3u, face0.size());
    expectVecNear(V3d(1, 1, 0), face0[0]);
    expectVecNear(V3d(0, 0, 0), face0[1]);
    expectVecNear(V3d(1, 0, 0), face0[2]);
    const std::vector<V3d> face1 = getFacePoints(cook, kMesh, 1, 0.0f);
    ASSERT_EQ(1u, face1.size());
    expectVecNear(V3d(5, 5, 5), face1[0]);

    EXPECT_EQ("Cannot get valid face 2. (" + kMesh + ").",
              thrownMessage([&] { getFacePoints(cook, kMesh, 2, 0.0f); }));
    EXPECT_EQ("Cannot get valid face -1. (" + kMesh + ").",
              thrownMessage([&] { getFacePoints(cook, kMesh, -1, 0.0f); }));
}

TEST_F(TargetGeometryTest, FaceIteratorFailures) {
    struct Case {
        const char* what;
        std::function<void(FakeCook&)> build;
        std::string path;
        std::string message;
    };
    const std::string missing = "FaceIterator mesh has missing attributes for mesh description.";
    const std::string badIndex = "FaceIterator faceset has invalid face index.";
    const std::string badRange = "FaceIterator mesh has invalid vertex range (end < start).";
    const std::string badVertex = "FaceIterator mesh has out of range vertex.";
    const std::string badPoint = "FaceIterator mesh has out of range point.";
    const std::vector<float> threePoints{0, 0, 0, 1, 0, 0, 0, 1, 0};
    // A mesh of the three points with these faces and nothing else.
    auto meshOf = [&](std::vector<int32_t> startIndex, std::vector<int32_t> vertexList) {
        return [&, startIndex, vertexList](FakeCook& c) {
            c.addMesh(kMesh, threePoints, startIndex, vertexList);
        };
    };
    const Case cases[] = {
        {"nurbs patch", [](FakeCook& c) { c.input[kMesh]["type"] = Qn::StringAttribute("nurbspatch"); },
         kMesh, "FaceIterator mesh has unsupport type: nurbspatch."},
        {"no type", [](FakeCook& c) { c.input[kMesh]; }, kMesh, "FaceIterator mesh has unsupport type: ."},
        {"face set below a group",
         [&](FakeCook& c) {
             c.input[kMesh]["type"] = Qn::StringAttribute("group");
             c.addFaceSet(kMesh + "/fs", {0});
         },
         kMesh + "/fs", "FaceIterator mesh has unsupport type: group."},
        {"points missing",
         [&](FakeCook& c) {
             c.addMesh(kMesh, threePoints, {0, 3}, {0, 1, 2});
             c.input[kMesh].erase("geometry.point.P");
         },
         kMesh, missing},
        {"double points",
         [&](FakeCook& c) {
             c.addMesh(kMesh, threePoints, {0, 3}, {0, 1, 2}, "subdmesh");
             c.input[kMesh]["geometry.point.P"] = Qn::DoubleAttribute(std::vector<double>{0, 0, 0}, 3);
         },
         kMesh, missing},
        {"vertex list missing",
         [&](FakeCook& c) {
             c.addMesh(kMesh, threePoints, {0, 3}, {0, 1, 2});
             c.input[kMesh].erase("geometry.poly.vertexList");
         },
         kMesh, missing},
        {"face set without faces",
         [&](FakeCook& c) {
             c.addMesh(kMesh, threePoints, {0, 3}, {0, 1, 2});
             c.addFaceSet(kMesh + "/fs", {0});
             c.input[kMesh + "/fs"].erase("geometry.faces");
         },
         kMesh + "/fs", missing},
        // Face 7 of a mesh with faces 0..6.
        {"face set index past the faces",
         [&](FakeCook& c) {
             c.addMesh(kMesh, threePoints, {0, 1, 2, 3, 4, 5, 6, 7}, {0, 1, 2, 0, 1, 2, 0});
             c.addFaceSet(kMesh + "/fs", {7});
         },
         kMesh + "/fs", badIndex},
        {"negative face set index",
         [&](FakeCook& c) {
             c.addMesh(kMesh, threePoints, {0, 3}, {0, 1, 2});
             c.addFaceSet(kMesh + "/fs", {-1});
         },
         kMesh + "/fs", badIndex},
        {"face without vertices", meshOf({1, 1, 3}, {0, 1, 2}), kMesh, badRange},
        // Indices are unsigned 32-bit: an empty face at start 0 wraps its last vertex to 2^32 - 1 and
        // runs off the vertex list instead.
        {"empty face at start 0", meshOf({0, 0, 3}, {0, 1, 2}), kMesh, badVertex},
        {"descending start indices", meshOf({2, 1}, {0, 1, 2}), kMesh, badRange},
        {"first vertex past the list", meshOf({3, 5}, {0, 1, 2}), kMesh, badVertex},
        {"face runs past the list", meshOf({0, 5}, {0, 1, 2}), kMesh, badVertex},
        {"point number past the points", meshOf({0, 3}, {0, 1, 3}), kMesh, badPoint},
        {"negative point number", meshOf({0, 3}, {0, -1, 2}), kMesh, badPoint},
        // Eight values: point 2 would need a ninth, one past the end.
        {"points not whole",
         [&](FakeCook& c) {
             c.addMesh(kMesh, threePoints, {0, 3}, {0, 1, 2});
             c.input[kMesh]["geometry.point.P"] =
                 Qn::FloatAttribute(std::vector<float>{0, 0, 0, 1, 0, 0, 0, 1});
         },
         kMesh, badPoint},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        FakeCook scene;
        c.build(scene);
        Qn::VexilCookInterface cook = scene.cookInterface();
        EXPECT_EQ(c.message, thrownMessage([&] { FaceIterator(cook, c.path, 0.0f); }));
        // Every caller of the iterator reports the same text.
        EXPECT_EQ(c.message, thrownMessage([&] { getFacePoints(cook, c.path, 0, 0.0f); }));
        EXPECT_EQ(c.message, thrownMessage([&] {
                      computeTargetOrigin("faceBoundingBox", {XformSamples{}}, cook, {c.path}, false, 0.0f);
                  }));
    }
}

TEST_F(TargetGeometryTest, BrokenFaceZeroFailsEveryLookup) {
    // Face 0 has no vertices; face 2 is fine, but face 0 is computed first.
    m_cook.addMesh(kMesh, {0, 0, 0, 1, 0, 0, 0, 1, 0}, {1, 1, 4, 7}, {0, 0, 1, 2, 0, 1, 2});
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    EXPECT_EQ("FaceIterator mesh has invalid vertex range (end < start).",
              thrownMessage([&] { getFacePoints(cook, kMesh, 2, 0.0f); }));
}

TEST_F(TargetGeometryTest, FaceIteratorWalksFacesInOrder) {
    addCorner(m_cook, kMesh);
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    FaceIterator faces(cook, kMesh, 0.0f);
    EXPECT_EQ(3, faces.getFaceCount());
    const V3d centres[] = {V3d(1, 1, 0), V3d(1, 0, 1), V3d(0, 1, 1)};
    for (const V3d& centre : centres) {
        ASSERT_TRUE(faces.isValid());
        expectVecNear(centre, faces.getFaceCenter());
        EXPECT_EQ(3u, faces.getFacePoints().size());
        faces.advance();
    }
    EXPECT_FALSE(faces.isValid());
    EXPECT_EQ(3, faces.getFaceNumber());
    EXPECT_TRUE(faces.getFacePoints().empty());
    expectVecNear(V3d(0), faces.getFaceCenter());
}

TEST_F(TargetGeometryTest, QueryAbortPassesThroughUnchanged) {
    m_cook.abortQueries = true;
    Qn::VexilCookInterface cook = m_cook.cookInterface();
    for (const char* mode : {"boundingBox", "faceCenterAverage", "faceBoundingBox"}) {
        SCOPED_TRACE(mode);
        EXPECT_THROW(computeTargetOrigin(mode, {at0(M44d())}, cook, {kTarget}, true, 0.0f),
                     Qn::VexilCookInterface::QueryAbortException);
    }
}

TEST_F(TargetGeometryTest, AddTargetOriginSampleTimes) {
    addQuad(m_cook, "/root/world/still");
    addQuad(m_cook, "/root/world/moving");
    m_cook.input["/root/world/moving"]["geometry.point.P"] = Qn::FloatAttribute(
        std::map<float, std::vector<float>>{{-0.25f, {0, 0, 0}}, {0.0f, {0, 0, 1}}, {0.25f, {0, 0, 2}}}, 3);
    m_cook.input["/root/world/boxed"]["bound"] = Qn::DoubleAttribute(
        std::map<float, std::vector<double>>{{0.0f, {0, 1, 0, 1, 0, 1}}, {0.5f, {0, 2, 0, 2, 0, 2}}}, 1);
    m_cook.input["/root/world/floatBound"]["bound"] = Qn::FloatAttribute(
        std::map<float, std::vector<float>>{{0.0f, {0, 1, 0, 1, 0, 1}}, {0.75f, {0, 2, 0, 2, 0, 2}}}, 1);
    m_cook.addFaceSet("/root/world/moving/fs", {0});
    Qn::VexilCookInterface cook = m_cook.cookInterface();

    struct Case {
        const char* mode;
        TargetPaths paths;
        SampleTimes expected;
    };
    const Case cases[] = {
        {"faceCenterAverage", {"/root/world/still", "/root/world/moving"}, {-0.25f, 0.0f, 0.25f}},
        {"faceBoundingBox", {"/root/world/moving"}, {-0.25f, 0.0f, 0.25f}},
        {"faceCenterAverage", {"/root/world/still"}, {}},
        // A face set carries no points of its own.
        {"faceBoundingBox", {"/root/world/moving/fs"}, {}},
        {"boundingBox", {"/root/world/boxed", "/root/world/moving"}, {0.0f, 0.5f}},
        {"boundingBox", {"/root/world/floatBound"}, {}},
        {"origin", {"/root/world/moving", "/root/world/boxed"}, {}},
        {"faceCenterAverage", {"/root/world/nowhere"}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        SampleTimes times{0.0f};
        addTargetOriginSampleTimes(c.mode, cook, c.paths, times);
        SampleTimes expected = c.expected;
        expected.insert(0.0f);
        EXPECT_EQ(expected, times);
    }
    SampleTimes single;
    addTargetOriginSampleTimes("faceBoundingBox", cook, std::string("/root/world/moving"), single);
    EXPECT_EQ((SampleTimes{-0.25f, 0.0f, 0.25f}), single);
}

TEST_F(TargetGeometryTest, ArgumentReaders) {
    Qn::GroupBuilder builder;
    builder.set("args.axis", Qn::FloatAttribute(std::vector<float>{1.5f, -2.0f, 0.25f}, 3));
    builder.set("args.doubleAxis", Qn::DoubleAttribute(std::vector<double>{1, 0, 0}, 3));
    builder.set("args.twoValues", Qn::FloatAttribute(std::vector<float>{1, 0}));
    builder.set("args.fourValues", Qn::FloatAttribute(std::vector<float>{1, 0, 0, 0}));
    builder.set("args.targetOrigin", Qn::StringAttribute("boundingBox"));
    builder.set("args.baseOrigin", Qn::StringAttribute(""));
    builder.set("args.intOrigin", Qn::IntAttribute(3));
    const Qn::GroupAttribute group = builder.build();

    expectVecNear(V3d(1.5, -2.0, 0.25), getFloat3Attr(group, "args.axis"));
    for (const char* name :
         {"args.doubleAxis", "args.twoValues", "args.fourValues", "args.missing", "args"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(std::string("Cannot find float attribute of size 3 ") + name,
                  thrownMessage([&] { getFloat3Attr(group, name); }));
    }

    EXPECT_EQ("boundingBox", getTargetOriginArg(group, "Point"));
    EXPECT_EQ("boundingBox", getRequiredStringArg(group, "Aim", "args.targetOrigin"));
    EXPECT_EQ("Point constraint resolver: empty args.baseOrigin.",
              thrownMessage([&] { getRequiredStringArg(group, "Point", "args.baseOrigin"); }));
    EXPECT_EQ("Aim constraint resolver: empty args.intOrigin.",
              thrownMessage([&] { getRequiredStringArg(group, "Aim", "args.intOrigin"); }));
    EXPECT_EQ("Orient constraint resolver: empty args.nothing.",
              thrownMessage([&] { getRequiredStringArg(group, "Orient", "args.nothing"); }));
}

TEST(OriginModes, NamesAreMatchedExactlyAndAnythingElseIsTheOrigin) {
    const struct {
        const char* name;
        OriginMode mode;
    } cases[] = {
        {"origin", OriginMode::Origin},
        {"boundingBox", OriginMode::BoundingBox},
        {"faceCenterAverage", OriginMode::FaceCenterAverage},
        {"faceBoundingBox", OriginMode::FaceBoundingBox},
        {"BoundingBox", OriginMode::Origin},
        {"boundingbox", OriginMode::Origin},
        {"faceCenter", OriginMode::Origin},
        {"object", OriginMode::Origin},
        {"", OriginMode::Origin},
        {"boundingBox ", OriginMode::Origin},
    };
    for (const auto& c : cases)
        EXPECT_EQ(static_cast<int>(c.mode), static_cast<int>(originModeOf(c.name))) << '"' << c.name << '"';
}
