#include "tools/gltf/Rotations.h"

#include <algorithm>
#include <cmath>

namespace VexilHost {
namespace Gltf {

namespace {

constexpr double kPi = 3.14159265358979323846;

// The rotation matrix of a unit quaternion, for column vectors: c[i][j] is row i, column j.
using Columns = std::array<std::array<double, 3>, 3>;

Columns columnRotation(const std::array<double, 4>& q) {
    const double x = q[0], y = q[1], z = q[2], w = q[3];
    return {{{1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)},
             {2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)},
             {2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)}}};
}

std::array<double, 4> unit(std::array<double, 4> q) {
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (double& v : q) {
        v /= length;
    }
    return q;
}

// The quaternion of a rotation matrix for column vectors, from its largest diagonal term for accuracy.
std::array<double, 4> quaternionOf(const Columns& c) {
    const double trace = c[0][0] + c[1][1] + c[2][2];
    std::array<double, 4> q{};
    if (trace > 0.0) {
        const double s = 2.0 * std::sqrt(1.0 + trace);
        q = {(c[2][1] - c[1][2]) / s, (c[0][2] - c[2][0]) / s, (c[1][0] - c[0][1]) / s, 0.25 * s};
    } else if (c[0][0] > c[1][1] && c[0][0] > c[2][2]) {
        const double s = 2.0 * std::sqrt(1.0 + c[0][0] - c[1][1] - c[2][2]);
        q = {0.25 * s, (c[0][1] + c[1][0]) / s, (c[0][2] + c[2][0]) / s, (c[2][1] - c[1][2]) / s};
    } else if (c[1][1] > c[2][2]) {
        const double s = 2.0 * std::sqrt(1.0 + c[1][1] - c[0][0] - c[2][2]);
        q = {(c[0][1] + c[1][0]) / s, 0.25 * s, (c[1][2] + c[2][1]) / s, (c[0][2] - c[2][0]) / s};
    } else {
        const double s = 2.0 * std::sqrt(1.0 + c[2][2] - c[0][0] - c[1][1]);
        q = {(c[0][2] + c[2][0]) / s, (c[1][2] + c[2][1]) / s, 0.25 * s, (c[1][0] - c[0][1]) / s};
    }
    q = unit(q);
    if (q[3] < 0.0) { // the same rotation; w >= 0 keeps the text of static rotations tidy
        for (double& v : q) {
            v = -v;
        }
    }
    return q;
}

} // namespace

std::array<double, 4> axisAngleOfQuaternion(const std::array<double, 4>& rotation) {
    std::array<double, 4> q = unit(rotation);
    if (q[3] < 0.0) {
        for (double& v : q) {
            v = -v;
        }
    }
    const double sine = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2]);
    if (sine < 1e-15) {
        return {0.0, 0.0, 0.0, 1.0};
    }
    const double degrees = 2.0 * std::atan2(sine, q[3]) * 180.0 / kPi;
    return {degrees, q[0] / sine, q[1] / sine, q[2] / sine};
}

Imath::M44d composeTrs(const Imath::V3d& translation, const std::array<double, 4>& rotation,
                       const Imath::V3d& scale) {
    const Columns c = columnRotation(unit(rotation));
    Imath::M44d m;
    for (int row = 0; row < 3; ++row) {
        // Row `row` is the image of axis `row`: column `row` of the column-vector rotation, scaled.
        for (int j = 0; j < 3; ++j) {
            m[row][j] = scale[row] * c[static_cast<std::size_t>(j)][static_cast<std::size_t>(row)];
        }
        m[row][3] = 0.0;
    }
    m[3][0] = translation.x;
    m[3][1] = translation.y;
    m[3][2] = translation.z;
    m[3][3] = 1.0;
    return m;
}

Trs decompose(const Imath::M44d& m) {
    Trs trs;
    trs.translation = Imath::V3d(m[3][0], m[3][1], m[3][2]);
    Imath::V3d axes[3] = {
        {m[0][0], m[0][1], m[0][2]}, {m[1][0], m[1][1], m[1][2]}, {m[2][0], m[2][1], m[2][2]}};
    double lengths[3];
    for (int i = 0; i < 3; ++i) {
        lengths[i] = axes[i].length();
    }
    if (axes[0].dot(axes[1].cross(axes[2])) < 0.0) {
        axes[0] = -axes[0];
        trs.scale.x = -lengths[0];
    } else {
        trs.scale.x = lengths[0];
    }
    trs.scale.y = lengths[1];
    trs.scale.z = lengths[2];
    if (lengths[0] == 0.0 || lengths[1] == 0.0 || lengths[2] == 0.0) {
        return trs; // a flattened axis leaves no rotation to find
    }
    for (int i = 0; i < 3; ++i) {
        for (int j = i + 1; j < 3; ++j) {
            trs.shear = std::max(trs.shear, std::fabs(axes[i].dot(axes[j])) / (lengths[i] * lengths[j]));
        }
    }
    // Perpendicular axes nearest the given ones: x kept, y made perpendicular to it, z from both.
    const Imath::V3d x = axes[0] / lengths[0];
    Imath::V3d y = axes[1] - x * axes[1].dot(x);
    if (y.length() < 1e-300) {
        return trs;
    }
    y.normalize();
    const Imath::V3d z = x.cross(y);
    const Imath::V3d rows[3] = {x, y, z};
    Columns c{};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            c[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)] = rows[j][i];
        }
    }
    trs.rotation = quaternionOf(c);
    return trs;
}

} // namespace Gltf
} // namespace VexilHost
