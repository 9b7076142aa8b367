// Matrices built for the maths tests, their cases read from JSON tables, and element-wise comparisons with a
// tolerance, naming the element that differs. Matrices act on row vectors, as Imath's do.
#pragma once

#include "tests/support/JsonFile.h"
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <string>

namespace VexilTest {

/// Each component of `actual` lies within `tol` of `expected`.
inline void expectNear(const Imath::V3d& expected, const Imath::V3d& actual, double tol = 1e-9) {
    EXPECT_NEAR(expected.x, actual.x, tol);
    EXPECT_NEAR(expected.y, actual.y, tol);
    EXPECT_NEAR(expected.z, actual.z, tol);
}

/// Each element of `actual` lies within `tol` of `expected`.
inline void expectNear(const Imath::M44d& expected, const Imath::M44d& actual, double tol = 1e-9) {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            EXPECT_NEAR(expected[i][j], actual[i][j], tol) << "element [" << i << "][" << j << "]";
}

/// The matrix whose rows are the axes `x`, `y`, `z` and the position `t`.
inline Imath::M44d rows(const Imath::V3d& x, const Imath::V3d& y, const Imath::V3d& z,
                        const Imath::V3d& t = Imath::V3d(0.0)) {
    return Imath::M44d(x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, t.x, t.y, t.z, 1);
}

inline Imath::M44d translation(const Imath::V3d& t) {
    return rows(Imath::V3d(1, 0, 0), Imath::V3d(0, 1, 0), Imath::V3d(0, 0, 1), t);
}

inline Imath::M44d scaling(const Imath::V3d& s) {
    return rows(Imath::V3d(s.x, 0, 0), Imath::V3d(0, s.y, 0), Imath::V3d(0, 0, s.z));
}

/// A turn of `degrees` about `axis` (right-handed).
inline Imath::M44d rotation(const Imath::V3d& axis, double degrees) {
    Imath::M44d m;
    m.setAxisAngle(axis, degrees * M_PI / 180.0);
    return m;
}

/// `p` transformed as a point, with the projective divide.
inline Imath::V3d point(const Imath::V3d& p, const Imath::M44d& m) {
    Imath::V3d out;
    m.multVecMatrix(p, out);
    return out;
}

using Json = nlohmann::ordered_json;

/// The table `name` of the cases file `file` beside the maths tests.
inline Json mathCases(const std::string& file, const std::string& name) {
    return readJsonFile(std::string(VEXIL_MATH_CASES_DIR) + "/" + file).at(name);
}

/// A vector written as [x, y, z].
inline Imath::V3d vec(const Json& v) {
    return Imath::V3d(v.at(0).get<double>(), v.at(1).get<double>(), v.at(2).get<double>());
}

/// A matrix written as its rows: [x axis, y axis, z axis] and optionally the position.
inline Imath::M44d matrix(const Json& m) {
    return rows(vec(m.at(0)), vec(m.at(1)), vec(m.at(2)), m.size() > 3 ? vec(m.at(3)) : Imath::V3d(0.0));
}

} // namespace VexilTest
