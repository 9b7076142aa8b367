// Element-wise comparisons of vectors and matrices with a tolerance, naming the element that differs.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <gtest/gtest.h>

namespace VexilTest {

/// Each component of `actual` lies within `tol` of `expected`.
inline void expectVecNear(const Imath::V3d& expected, const Imath::V3d& actual, double tol = 1e-9) {
    EXPECT_NEAR(expected.x, actual.x, tol);
    EXPECT_NEAR(expected.y, actual.y, tol);
    EXPECT_NEAR(expected.z, actual.z, tol);
}

/// Each element of `actual` lies within `tol` of `expected`.
inline void expectMatrixNear(const Imath::M44d& expected, const Imath::M44d& actual, double tol = 1e-9) {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            EXPECT_NEAR(expected[i][j], actual[i][j], tol) << "element [" << i << "][" << j << "]";
}

} // namespace VexilTest
