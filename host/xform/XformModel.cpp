#include "host/xform/XformModel.h"

#include "hostapi/attribute/DataAttribute.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace VexilHost {
namespace XformModel {

namespace {

/// Reads the samples of `attr`, of kind A as the host already said, taking it over: a copy would count
/// a reference up and down again.
template <class A> bool readSamples(Qn::Attribute&& attr, int32_t type, Operation& out) {
    const A typed(std::move(attr), Qn::KnownType{type});
    return typed.copySamples(out.count, out.times, out.values);
}

/// Reads `attr`, of kind `type`: false for another kind, no sample, or a sample with too few values.
bool readNumeric(Qn::Attribute&& attr, int32_t type, Operation& out) {
    switch (type) {
    case QN_ATTRIBUTE_TYPE_INT:
        return readSamples<Qn::IntAttribute>(std::move(attr), type, out);
    case QN_ATTRIBUTE_TYPE_FLOAT:
        return readSamples<Qn::FloatAttribute>(std::move(attr), type, out);
    case QN_ATTRIBUTE_TYPE_DOUBLE:
        return readSamples<Qn::DoubleAttribute>(std::move(attr), type, out);
    default:
        return false;
    }
}

bool kindOfName(std::string_view name, Operation::Kind& kind, size_t& count) {
    if (name == "translate") {
        kind = Operation::Kind::Translate;
        count = 3;
    } else if (name == "rotate") {
        kind = Operation::Kind::Rotate;
        count = 4;
    } else if (name == "scale") {
        kind = Operation::Kind::Scale;
        count = 3;
    } else if (name == "matrix") {
        kind = Operation::Kind::Matrix;
        count = 16;
    } else if (name == "origin") {
        kind = Operation::Kind::Origin;
        count = 0;
    } else {
        return false;
    }
    return true;
}

void flattenGroup(const Qn::GroupAttribute& group, Operations& out) {
    // No reserve: the count includes constraint children, and the usual one or two operations fit inline.
    const int64_t n = group.getNumberOfChildren();
    for (int64_t i = 0; i < n; ++i) {
        const std::string_view name = group.getChildNameView(i);
        // Constraint descriptions not yet resolved do not move anything, and no operation has such a
        // name: the child is not read at all.
        if (name.substr(0, 10) == "constraint") {
            continue;
        }
        Qn::Attribute child = group.getChildByIndex(i);
        const int32_t type = child.getType();
        if (type == QN_ATTRIBUTE_TYPE_GROUP) {
            flattenGroup(Qn::GroupAttribute(std::move(child)), out);
            continue;
        }
        Operation::Kind kind = Operation::Kind::Origin;
        size_t count = 0;
        if (!kindOfName(name, kind, count)) {
            continue;
        }
        // Read in place: an operation's inline samples are not worth copying in and out again.
        Operation& op = out.emplace_back();
        op.kind = kind;
        op.count = count;
        const bool usable =
            kind == Operation::Kind::Origin ? child.isValid() : readNumeric(std::move(child), type, op);
        if (!usable) {
            out.pop_back();
        } else if (kind == Operation::Kind::Origin) {
            op.times.push_back(0.0f);
        }
    }
}

Imath::M44d rotation(double degrees, double x, double y, double z) {
    const double length = std::sqrt(x * x + y * y + z * z);
    if (length == 0.0) {
        return Imath::M44d();
    }
    x /= length;
    y /= length;
    z /= length;
    const double radians = degrees * M_PI / 180.0;
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    const double t = 1.0 - c;
    // Row-vector form (p' = p * R): the transpose of the column-vector axis-angle matrix, so that a
    // positive angle about +z takes +x toward +y.
    return Imath::M44d(t * x * x + c, t * x * y + s * z, t * x * z - s * y, 0.0, //
                       t * x * y - s * z, t * y * y + c, t * y * z + s * x, 0.0, //
                       t * x * z + s * y, t * y * z - s * x, t * z * z + c, 0.0, //
                       0.0, 0.0, 0.0, 1.0);
}

} // namespace

Operations flatten(const Qn::Attribute& xform) {
    Operations out;
    flattenGroup(Qn::GroupAttribute(xform), out);
    return out;
}

void flattenInto(Qn::Attribute&& xform, Operations& out) {
    // Invalid, and so without children, unless a group.
    flattenGroup(Qn::GroupAttribute(std::move(xform)), out);
}

namespace {

/// The values of an operation at `time` (`operation.count` of them): the sample itself at or outside
/// the sampled range or at a sample time, otherwise the linear interpolation between the bracketing
/// samples, written into `scratch`.
const double* valuesAt(const Operation& operation, float time, double* scratch) {
    const auto& times = operation.times;
    // A NaN time has no bracket: like attribute interpolation, it takes the first sample.
    if (!(time > times.front())) {
        return operation.sample(0);
    }
    if (time >= times.back()) {
        return operation.sample(times.size() - 1);
    }
    const size_t right =
        static_cast<size_t>(std::upper_bound(times.begin(), times.end(), time) - times.begin());
    if (times[right - 1] == time) {
        return operation.sample(right - 1);
    }
    const size_t left = right - 1;
    const double w =
        (static_cast<double>(time) - times[left]) / (static_cast<double>(times[right]) - times[left]);
    const double* a = operation.sample(left);
    const double* b = operation.sample(right);
    for (size_t i = 0; i < operation.count; ++i) {
        scratch[i] = a[i] + (b[i] - a[i]) * w;
    }
    return scratch;
}

/// For a translate or a scale applied to the identity, whose product with it is known entry by entry:
/// sets `out` to that product and returns true. The product keeps each value (and the other entries
/// of the identity) except that a -0 comes out as +0, a +0 term being added to it, which is what
/// adding 0.0 does; a value that is not finite spreads NaNs through the product, which is left to it.
bool appliedToIdentity(Operation::Kind kind, const double* v, Imath::M44d& out) {
    if (kind != Operation::Kind::Translate && kind != Operation::Kind::Scale) {
        return false;
    }
    if (!std::isfinite(v[0]) || !std::isfinite(v[1]) || !std::isfinite(v[2])) {
        return false;
    }
    out.makeIdentity();
    for (int i = 0; i < 3; ++i) {
        const double value = v[i] + 0.0;
        if (kind == Operation::Kind::Translate) {
            out[3][i] = value;
        } else {
            out[i][i] = value;
        }
    }
    return true;
}

/// The matrix of an operation other than origin whose values are `v`.
Imath::M44d matrixOf(Operation::Kind kind, const double* v) {
    Imath::M44d m;
    switch (kind) {
    case Operation::Kind::Translate:
        m.setTranslation(Imath::V3d(v[0], v[1], v[2]));
        break;
    case Operation::Kind::Rotate:
        m = rotation(v[0], v[1], v[2], v[3]);
        break;
    case Operation::Kind::Scale:
        m.setScale(Imath::V3d(v[0], v[1], v[2]));
        break;
    case Operation::Kind::Matrix:
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                m[i][j] = v[static_cast<size_t>(4 * i + j)];
            }
        }
        break;
    case Operation::Kind::Origin:
        break;
    }
    return m;
}

} // namespace

Imath::M44d operationMatrix(const Operation& operation, float time) {
    if (operation.kind == Operation::Kind::Origin || operation.times.empty()) {
        return Imath::M44d();
    }
    // Operations hold at most 16 values (a matrix); flatten cuts every sample to its kind's count.
    double scratch[16];
    return matrixOf(operation.kind, valuesAt(operation, time, scratch));
}

Local localAt(const Operations& operations, float time) {
    Local local;
    // Whether local.matrix is still the identity it starts as (or an origin made it).
    bool identity = true;
    for (const Operation& op : operations) {
        if (op.kind == Operation::Kind::Origin) {
            local.matrix.makeIdentity();
            local.resetsParent = true;
            identity = true;
            continue;
        }
        if (op.times.empty()) {
            local.matrix = Imath::M44d() * local.matrix;
            continue;
        }
        double scratch[16];
        const double* v = valuesAt(op, time, scratch);
        // L = On * ... * O1: each later operation multiplies from the left. The first is mostly a
        // translate, whose product with the identity needs no arithmetic.
        if (!identity || !appliedToIdentity(op.kind, v, local.matrix)) {
            local.matrix = matrixOf(op.kind, v) * local.matrix;
        }
        identity = false;
    }
    return local;
}

Imath::M44d worldAt(const std::vector<const Operations*>& chain, float time) {
    Imath::M44d world;
    for (const Operations* ops : chain) {
        if (ops == nullptr) {
            continue;
        }
        const Local local = localAt(*ops, time);
        world = local.resetsParent ? local.matrix : local.matrix * world;
    }
    return world;
}

std::vector<float> worldSampleTimes(const std::vector<const Operations*>& chain) {
    std::vector<float> times;
    for (const Operations* ops : chain) {
        if (ops != nullptr) {
            appendSampleTimes(*ops, times);
        }
    }
    sortSampleTimes(times);
    return sampledOrCurrentTime(std::move(times));
}

std::vector<float> sampledOrCurrentTime(std::vector<float> times) {
    if (times.empty()) {
        times.push_back(kUnsampledTime);
    }
    return times;
}

} // namespace XformModel
} // namespace VexilHost
