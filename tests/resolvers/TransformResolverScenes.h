// Pieces shared by the Scale, ParentChild, Billboard and Reflection end-to-end tests.
#pragma once

#include "ResolverScenes.h"

#include <string>

namespace TransformResolverTests {

using ResolverTests::expectError;
using VexilTest::Json;

/// A matrix from its three axis rows and its translation row (row vectors).
inline Imath::M44d rows(const Imath::V3d& x, const Imath::V3d& y, const Imath::V3d& z,
                        const Imath::V3d& t = Imath::V3d(0.0)) {
    return Imath::M44d(x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, t.x, t.y, t.z, 1);
}

/// The cooked world transform of `path` at `time` equals `expected`, and the location has no error.
inline void expectWorld(const VexilTest::CookResult& result, const std::string& path, float time,
                        const Imath::M44d& expected, double tolerance = 1e-9) {
    SCOPED_TRACE(path + " at time " + std::to_string(time));
    EXPECT_EQ("", VexilTest::stringValue(result.scene, path, "errorMessage"));
    const auto worlds = VexilTest::worldSamples(result.scene, path);
    const auto it = worlds.find(time);
    ASSERT_NE(it, worlds.end()) << "no world sample";
    ResolverTests::expectMatrixNear(expected, it->second, tolerance);
}

/// The sample times of a cooked data attribute.
inline std::vector<float> sampleTimes(const Json& attr) {
    std::vector<float> times;
    for (const auto& entry : VexilTest::samples(attr))
        times.push_back(entry.first);
    return times;
}

} // namespace TransformResolverTests
