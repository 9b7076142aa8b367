// Scene pieces and geometric checks shared by the resolver end-to-end tests.
#pragma once

#include "CookTestSupport.h"
#include "NearChecks.h"

#include <Imath/ImathMatrixAlgo.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ResolverTests {

using VexilTest::constraint;
using VexilTest::expectMatrixNear;
using VexilTest::expectVecNear;
using VexilTest::Json;
using VexilTest::node;
using VexilTest::triple;

/// A group location with an xform.
inline Json placed(const Json& xform, const Json& children = Json::object()) {
    return node({{"type", "group"}, {"xform", xform}}, children);
}

/// A polygon mesh location (points flat, three per point) with an xform.
inline Json mesh(const std::vector<double>& points, const std::vector<int>& startIndex,
                 const std::vector<int>& vertexList, const Json& xform = Json::object(),
                 const Json& children = Json::object()) {
    Json attrs = {
        {"type", "polymesh"},
        {"geometry",
         {{"point", {{"P", VexilTest::floats(points, 3)}}},
          {"poly",
           {{"startIndex", VexilTest::ints(startIndex)}, {"vertexList", VexilTest::ints(vertexList)}}}}}};
    if (!xform.empty())
        attrs["xform"] = xform;
    return node(attrs, children);
}

/// Three floats, as axis arguments are written.
inline Json axis(double x, double y, double z) {
    return VexilTest::floats({x, y, z});
}

/// A "rotate" operation value: angle in degrees about an axis.
inline Json rotate(double degrees, double x, double y, double z) {
    return VexilTest::doubles({degrees, x, y, z});
}

/// Cooks the children of /root/world with ConstraintResolve; the cook itself must succeed.
inline VexilTest::CookResult cookWorld(const Json& children, float shutterOpen = 0.0f,
                                       float shutterClose = 0.0f, int numSamples = 1) {
    VexilTest::CookResult result = VexilTest::cook(
        VexilTest::sceneFile(children, VexilTest::resolveOps(), shutterOpen, shutterClose, numSamples));
    EXPECT_EQ(0, result.exitCode) << result.err;
    return result;
}

/// The location failed with exactly `message` (and is marked as an error location).
inline void expectError(const VexilTest::CookResult& result, const std::string& path,
                        const std::string& message) {
    SCOPED_TRACE(path);
    EXPECT_EQ("error", VexilTest::stringValue(result.scene, path, "type"));
    EXPECT_EQ(message, VexilTest::stringValue(result.scene, path, "errorMessage"));
}

inline Imath::V3d translationOf(const Imath::M44d& m) {
    return Imath::V3d(m[3][0], m[3][1], m[3][2]);
}

/// A direction transformed by the upper 3x3 (row vectors).
inline Imath::V3d directionThrough(const Imath::V3d& v, const Imath::M44d& m) {
    Imath::V3d out;
    m.multDirMatrix(v, out);
    return out;
}

inline Imath::V3d pointThrough(const Imath::V3d& p, const Imath::M44d& m) {
    Imath::V3d out;
    m.multVecMatrix(p, out);
    return out;
}

/// Row `i` of the upper 3x3 as a vector.
inline Imath::V3d row(const Imath::M44d& m, int i) {
    return Imath::V3d(m[i][0], m[i][1], m[i][2]);
}

/// Scale, shear and rotation-only matrix of a transform, by Imath's decomposition.
struct Parts {
    Imath::V3d scale, shear;
    Imath::M44d rotation;
};

inline Parts decompose(const Imath::M44d& m) {
    Parts parts;
    parts.rotation = m;
    Imath::extractAndRemoveScalingAndShear(parts.rotation, parts.scale, parts.shear);
    parts.rotation[3][0] = parts.rotation[3][1] = parts.rotation[3][2] = 0.0;
    return parts;
}

inline Imath::V3d eulerXYZ(const Imath::M44d& m) {
    Imath::V3d angles;
    Imath::extractEulerXYZ(decompose(m).rotation, angles);
    return angles;
}

} // namespace ResolverTests
