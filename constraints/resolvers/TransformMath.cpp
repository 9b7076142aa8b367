#include "constraints/resolvers/TransformMath.h"

#include <Imath/ImathEuler.h>
#include <Imath/ImathMatrixAlgo.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <unordered_map>

namespace Vexil3Constraints {
namespace Private {

namespace {

bool isExactlyZero(const Imath::V3d& v) {
    return v.x == 0.0 && v.y == 0.0 && v.z == 0.0;
}

// Row vector times the upper 3x3: a direction, no translation and no division by w.
Imath::V3d transformDirection(const Imath::V3d& v, const Imath::M44d& m) {
    return Imath::V3d(v.x * m[0][0] + v.y * m[1][0] + v.z * m[2][0],
                      v.x * m[0][1] + v.y * m[1][1] + v.z * m[2][1],
                      v.x * m[0][2] + v.y * m[1][2] + v.z * m[2][2]);
}

// The 3x3 matrix whose columns are c0, c1, c2.
Imath::M33d fromColumns(const Imath::V3d& c0, const Imath::V3d& c1, const Imath::V3d& c2) {
    return Imath::M33d(c0.x, c1.x, c2.x, c0.y, c1.y, c2.y, c0.z, c1.z, c2.z);
}

double wrapAngle(double angle) {
    while (angle > M_PI)
        angle -= 2.0 * M_PI;
    while (angle <= -M_PI)
        angle += 2.0 * M_PI;
    return angle;
}

} // namespace

Imath::M44d pointConstraintMatrix(const Imath::M44d& base, const Imath::V3d& baseOrigin,
                                  const Imath::V3d& targetPoint, bool followX, bool followY, bool followZ) {
    Imath::V3d local;
    base.inverse(false).multVecMatrix(targetPoint, local);
    Imath::M44d result;
    result[3][0] = followX ? local.x - baseOrigin.x : 0.0;
    result[3][1] = followY ? local.y - baseOrigin.y : 0.0;
    result[3][2] = followZ ? local.z - baseOrigin.z : 0.0;
    return result;
}

Imath::V3d aimSideFallback(const Imath::V3d& up) {
    if (std::abs(up.y) > 1e-7)
        return Imath::V3d(0.0, 0.0, up.y);
    if (std::abs(up.x) > 1e-7)
        return Imath::V3d(0.0, up.x, 0.0);
    // Uses up.y although it tested up.z: an up axis along z parallel to the aim gives a degenerate
    // frame rather than an error, and existing scenes rely on that result.
    if (std::abs(up.z) > 1e-7)
        return Imath::V3d(0.0, 0.0, up.y);
    return Imath::V3d(0.0, 0.0, 0.0);
}

void checkAimAndUpAxes(const Imath::V3d& aimAxis, const Imath::V3d& upAxis) {
    if (isExactlyZero(aimAxis) || isExactlyZero(upAxis))
        throw std::runtime_error("Aim Axis or Up Axis is zero.");
}

void checkTargetUpAxis(const Imath::V3d& targetUpAxis) {
    if (isExactlyZero(targetUpAxis))
        throw std::runtime_error("Target Up Axis is zero.");
}

Imath::M44d aimConstraintMatrix(const Imath::M44d& base, const Imath::V3d& targetPoint,
                                const Imath::V3d& aimAxis, const Imath::V3d& upAxis,
                                const Imath::V3d& targetUpAxis) {
    checkAimAndUpAxes(aimAxis, upAxis);
    checkTargetUpAxis(targetUpAxis);
    const Imath::V3d origin(base[3][0], base[3][1], base[3][2]);
    Imath::V3d targetUp = targetUpAxis;
    targetUp.normalize();

    Imath::V3d direction = targetPoint - origin;
    // A NaN component compares unequal to zero and so passes, as intended.
    if (isExactlyZero(direction))
        throw std::runtime_error("Base and target are at same location, nowhere to aim.");
    direction.normalize();

    // The frame to turn to, in world space.
    Imath::V3d side = direction.cross(targetUp);
    if (isExactlyZero(side))
        side = aimSideFallback(targetUp);
    side.normalize();
    Imath::V3d up = side.cross(direction);
    up.normalize();

    // The base's current frame, in world space.
    Imath::V3d baseAim = transformDirection(aimAxis, base);
    Imath::V3d baseUp = transformDirection(upAxis, base);
    baseAim.normalize();
    baseUp.normalize();
    Imath::V3d baseSide = baseAim.cross(baseUp);
    if (isExactlyZero(baseSide))
        baseSide = aimSideFallback(baseUp);
    baseSide.normalize();
    Imath::V3d baseUpOrtho = baseSide.cross(baseAim);
    baseUpOrtho.normalize();

    // Carries baseAim onto direction, baseUpOrtho onto up and baseSide onto side; a singular target
    // frame inverts to the identity.
    const Imath::M33d rotation3 =
        fromColumns(baseAim, baseUpOrtho, baseSide) * fromColumns(direction, up, side).inverse(false);
    Imath::M44d rotation;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            rotation[i][j] = rotation3[i][j];

    Imath::M44d linear = base;
    linear[3][0] = linear[3][1] = linear[3][2] = 0.0;
    Imath::M44d translation;
    translation.setTranslation(origin);
    return linear * rotation * translation * base.inverse(false);
}

std::optional<ScaleShearRotation> decomposeScaleShearRotation(const Imath::M44d& m) {
    ScaleShearRotation parts;
    Imath::M44d rotation = m;
    if (!Imath::extractAndRemoveScalingAndShear(rotation, parts.scale, parts.shear, false))
        return std::nullopt;
    Imath::extractEulerXYZ(rotation, parts.rotation);
    return parts;
}

namespace {

// The frame whose rows are m, e1 and n, from the unit edges e1 and e2 of a face's first usable triple.
Imath::M44d faceFrame(const Imath::V3d& e1, const Imath::V3d& e2) {
    Imath::V3d n = e1.cross(e2);
    n.normalize();
    Imath::V3d m = e1.cross(n);
    m.normalize();
    return Imath::M44d(m.x, m.y, m.z, 0.0, e1.x, e1.y, e1.z, 0.0, n.x, n.y, n.z, 0.0, 0.0, 0.0, 0.0, 1.0);
}

// Whether two unit edges span a plane: their cross product is not exactly zero (a NaN counts as not
// zero, as the comparison sees it).
bool spanPlane(const Imath::V3d& e1, const Imath::V3d& e2) {
    return e1.cross(e2).length2() != 0.0;
}

// True when every point lies on one line along an axis or a diagonal, written so that each coordinate
// is the same in every point, or equal (or opposite) to one varying coordinate in every point, all of
// them finite and small enough for their differences to be. Every edge is then (d, d, 0) or the like
// (each component 0, d or -d for one d), and so is every unit edge with its own d: in each component
// of a cross product the two products are equal, so every cross product is exactly zero and no triple
// can serve, which this shows in one pass over the points instead of one over every triple.
bool onPlainLine(const std::vector<Imath::V3d>& points) {
    constexpr double kHalfLargest = 0.5 * std::numeric_limits<double>::max();
    const Imath::V3d& first = points.front();
    bool varies[3] = {false, false, false};
    for (const Imath::V3d& p : points) {
        for (int axis = 0; axis < 3; ++axis) {
            if (!(std::fabs(p[axis]) <= kHalfLargest))
                return false;
            varies[axis] = varies[axis] || p[axis] != first[axis];
        }
    }
    int reference = -1;
    for (int axis = 0; axis < 3; ++axis) {
        if (!varies[axis])
            continue;
        if (reference < 0) {
            reference = axis;
            continue;
        }
        bool equal = true;
        bool opposite = true;
        for (const Imath::V3d& p : points) {
            equal = equal && p[axis] == p[reference];
            opposite = opposite && p[axis] == -p[reference];
        }
        if (!equal && !opposite)
            return false;
    }
    return true;
}

// The bits of a vector: equal bits, equal behaviour in every product.
struct EdgeKey {
    uint64_t bits[3];
    bool operator==(const EdgeKey& other) const {
        return bits[0] == other.bits[0] && bits[1] == other.bits[1] && bits[2] == other.bits[2];
    }
};

struct EdgeKeyHash {
    size_t operator()(const EdgeKey& key) const {
        return std::hash<uint64_t>()(key.bits[0] ^ (key.bits[1] * 0x9e3779b97f4a7c15ull) ^
                                     (key.bits[2] * 0xc2b2ae3d27d4eb4full));
    }
};

EdgeKey keyOf(const Imath::V3d& v) {
    EdgeKey key;
    std::memcpy(key.bits, &v.x, sizeof(key.bits));
    return key;
}

// The first usable triple (first, j, k), j < k in increasing order, of the points, and its frame. Unit
// edges that are equal bit for bit are grouped, and whether two groups span a plane is decided once:
// on a line whose unit edges come out in a few roundings, each j then costs one look per group
// instead of one per later point.
std::optional<Imath::M44d> frameFromPoint(const std::vector<Imath::V3d>& points, size_t first) {
    const size_t count = points.size();
    std::vector<Imath::V3d> edges(count);
    std::vector<int> groupOf(count, -1); // -1: a zero edge, which takes no part
    std::unordered_map<EdgeKey, int, EdgeKeyHash> groups;
    std::vector<std::vector<size_t>> members;
    for (size_t k = first + 1; k < count; ++k) {
        Imath::V3d e = points[k] - points[first];
        if (e.length() == 0.0)
            continue;
        e.normalize();
        edges[k] = e;
        const auto [it, added] = groups.emplace(keyOf(e), static_cast<int>(members.size()));
        if (added)
            members.emplace_back();
        groupOf[k] = it->second;
        members[static_cast<size_t>(it->second)].push_back(k);
    }
    // Whether groups a and b span a plane, by a * groups + b, once asked.
    std::unordered_map<uint64_t, bool> spans;
    std::vector<size_t> next(members.size(), 0); // per group, its first member not yet passed
    for (size_t j = first + 1; j < count; ++j) {
        const int a = groupOf[j];
        if (a < 0)
            continue;
        // The first later point, over all groups that span a plane with this edge's group.
        size_t best = count;
        for (size_t b = 0; b < members.size(); ++b) {
            std::vector<size_t>& positions = members[b];
            while (next[b] < positions.size() && positions[next[b]] <= j)
                ++next[b];
            if (next[b] == positions.size() || positions[next[b]] >= best)
                continue;
            const uint64_t pair = static_cast<uint64_t>(a) * members.size() + b;
            auto known = spans.find(pair);
            if (known == spans.end())
                known = spans.emplace(pair, spanPlane(edges[j], edges[positions[next[b]]])).first;
            if (known->second)
                best = positions[next[b]];
        }
        if (best < count)
            return faceFrame(edges[j], edges[best]);
    }
    return std::nullopt;
}

} // namespace

std::optional<Imath::M44d> faceFrameMatrix(const std::vector<Imath::V3d>& points) {
    if (points.size() < 3 || onPlainLine(points))
        return std::nullopt;
    for (size_t first = 0; first + 2 < points.size(); ++first) {
        if (std::optional<Imath::M44d> frame = frameFromPoint(points, first))
            return frame;
    }
    return std::nullopt;
}

Imath::V3d wrapAngles(const Imath::V3d& angles) {
    return Imath::V3d(wrapAngle(angles.x), wrapAngle(angles.y), wrapAngle(angles.z));
}

Imath::V3d normalizeEulerAngles(const Imath::V3d& angles) {
    const Imath::V3d first = wrapAngles(angles);
    const Imath::V3d second = wrapAngles(Imath::V3d(first.x + M_PI, M_PI - first.y, first.z + M_PI));
    // On a tie the first triple wins.
    return second.length() < first.length() ? second : first;
}

Imath::V3d mixEulerAngles(const Imath::V3d& base, const Imath::V3d& target, bool useX, bool useY, bool useZ) {
    return Imath::V3d(useX ? target.x : base.x, useY ? target.y : base.y, useZ ? target.z : base.z);
}

Imath::M44d orientConstraintMatrix(const Imath::M44d& base, const ScaleShearRotation& baseParts,
                                   const Imath::V3d& angles) {
    // Recombined in the order of the decomposition (S·H·R·T), so that the base's own rotation gives
    // the base back.
    Imath::M44d scale;
    scale.setScale(baseParts.scale);
    Imath::M44d shear;
    shear.setShear(baseParts.shear);
    const Imath::M44d rotation = Imath::Eulerd(angles, Imath::Eulerd::XYZ).toMatrix44();
    Imath::M44d translation;
    translation.setTranslation(Imath::V3d(base[3][0], base[3][1], base[3][2]));
    return scale * shear * rotation * translation * base.inverse(true);
}

} // namespace Private
} // namespace Vexil3Constraints
