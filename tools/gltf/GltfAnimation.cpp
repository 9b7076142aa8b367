#include "tools/gltf/GltfAnimation.h"

#include "tools/gltf/GltfAccessor.h"
#include "tools/gltf/GltfFormatError.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>

namespace VexilHost {
namespace Gltf {

namespace {

void normalise(std::vector<double>& q) {
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (double& v : q) {
        v /= length;
    }
}

std::vector<double> slerp(std::vector<double> a, std::vector<double> b, double u) {
    normalise(a);
    normalise(b);
    double cosine = a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
    if (cosine < 0.0) { // q and -q are one rotation: take the shorter way round
        for (double& v : b) {
            v = -v;
        }
        cosine = -cosine;
    }
    double wa = 1.0 - u;
    double wb = u;
    // Nearly equal rotations: the blend of the two is as good and avoids dividing by a tiny sine.
    if (cosine < 0.9999) {
        const double angle = std::acos(cosine);
        wa = std::sin(wa * angle) / std::sin(angle);
        wb = std::sin(wb * angle) / std::sin(angle);
    }
    std::vector<double> q(4);
    for (int i = 0; i < 4; ++i) {
        q[static_cast<std::size_t>(i)] =
            wa * a[static_cast<std::size_t>(i)] + wb * b[static_cast<std::size_t>(i)];
    }
    normalise(q);
    return q;
}

// The `group`-th group of `components` values of key `key` (group 1 is the value of a cubic key).
std::vector<double> keyValues(const Curve& curve, std::size_t key, std::size_t group) {
    const std::size_t n = static_cast<std::size_t>(curve.components);
    const std::size_t perKey = curve.interpolation == Interpolation::CubicSpline ? 3 * n : n;
    const auto first = curve.values.begin() + static_cast<std::ptrdiff_t>(key * perKey + group * n);
    return std::vector<double>(first, first + static_cast<std::ptrdiff_t>(n));
}

[[noreturn]] void fail(const std::string& where, const std::string& what) {
    throw GltfFormatError(where + ": " + what);
}

Curve readCurve(const tinygltf::Model& model, const tinygltf::AnimationSampler& sampler, int components,
                const std::string& where) {
    Curve curve;
    curve.components = components;
    if (sampler.interpolation.empty() || sampler.interpolation == "LINEAR") {
        curve.interpolation = Interpolation::Linear;
    } else if (sampler.interpolation == "STEP") {
        curve.interpolation = Interpolation::Step;
    } else if (sampler.interpolation == "CUBICSPLINE") {
        curve.interpolation = Interpolation::CubicSpline;
    } else {
        fail(where, "unknown interpolation \"" + sampler.interpolation + "\" (LINEAR, STEP or CUBICSPLINE)");
    }
    curve.times = accessorValues(model, sampler.input, 1);
    curve.values = accessorValues(model, sampler.output, components);
    if (curve.times.empty()) {
        fail("accessor " + std::to_string(sampler.input), "an animation needs at least one key time");
    }
    for (std::size_t i = 1; i < curve.times.size(); ++i) {
        if (!(curve.times[i] > curve.times[i - 1])) {
            std::ostringstream what;
            what << "key times must increase, but element " << i << " (" << curve.times[i] << " s) follows "
                 << curve.times[i - 1] << " s";
            fail("accessor " + std::to_string(sampler.input), what.str());
        }
    }
    const std::size_t groups = curve.interpolation == Interpolation::CubicSpline ? 3 : 1;
    const std::size_t elements = curve.values.size() / static_cast<std::size_t>(components);
    if (elements != groups * curve.times.size()) {
        fail(where, std::to_string(curve.times.size()) + " key times (accessor " +
                        std::to_string(sampler.input) + ") need " +
                        std::to_string(groups * curve.times.size()) + " values, but accessor " +
                        std::to_string(sampler.output) + " holds " + std::to_string(elements));
    }
    if (components == 4) {
        for (std::size_t key = 0; key < curve.times.size(); ++key) {
            const std::vector<double> q = keyValues(curve, key, groups == 3 ? 1 : 0);
            if (q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3] < 1e-12) {
                fail("accessor " + std::to_string(sampler.output),
                     "key " + std::to_string(key) + " is not a rotation (a zero quaternion)");
            }
        }
    }
    return curve;
}

} // namespace

std::vector<double> sampleCurve(const Curve& curve, double seconds) {
    const bool cubic = curve.interpolation == Interpolation::CubicSpline;
    const std::size_t valueGroup = cubic ? 1 : 0;
    const bool rotation = curve.components == 4;
    const auto after = std::upper_bound(curve.times.begin(), curve.times.end(), seconds);
    std::vector<double> value;
    if (after == curve.times.begin()) {
        value = keyValues(curve, 0, valueGroup);
    } else if (after == curve.times.end()) {
        value = keyValues(curve, curve.times.size() - 1, valueGroup);
    } else {
        const std::size_t k = static_cast<std::size_t>(after - curve.times.begin()) - 1;
        const double t0 = curve.times[k];
        const double span = curve.times[k + 1] - t0;
        const double u = (seconds - t0) / span;
        if (curve.interpolation == Interpolation::Step) {
            value = keyValues(curve, k, 0);
        } else if (!cubic) {
            const std::vector<double> a = keyValues(curve, k, 0);
            const std::vector<double> b = keyValues(curve, k + 1, 0);
            if (rotation) {
                return slerp(a, b, u);
            }
            value.resize(a.size());
            for (std::size_t i = 0; i < a.size(); ++i) {
                value[i] = a[i] + u * (b[i] - a[i]);
            }
        } else {
            const std::vector<double> v0 = keyValues(curve, k, 1);
            const std::vector<double> out0 = keyValues(curve, k, 2);
            const std::vector<double> in1 = keyValues(curve, k + 1, 0);
            const std::vector<double> v1 = keyValues(curve, k + 1, 1);
            const double u2 = u * u;
            const double u3 = u2 * u;
            value.resize(v0.size());
            for (std::size_t i = 0; i < v0.size(); ++i) {
                value[i] = (2 * u3 - 3 * u2 + 1) * v0[i] + (u3 - 2 * u2 + u) * span * out0[i] +
                           (-2 * u3 + 3 * u2) * v1[i] + (u3 - u2) * span * in1[i];
            }
        }
    }
    if (rotation) {
        normalise(value);
    }
    return value;
}

std::map<int, NodeCurves> readNodeCurves(const tinygltf::Model& model) {
    std::map<int, NodeCurves> curves;
    for (std::size_t a = 0; a < model.animations.size(); ++a) {
        const tinygltf::Animation& animation = model.animations[a];
        for (std::size_t c = 0; c < animation.channels.size(); ++c) {
            const tinygltf::AnimationChannel& channel = animation.channels[c];
            const std::string where =
                partName("animation", a, animation.name) + ": channel " + std::to_string(c);
            const std::string& path = channel.target_path;
            const bool transform = path == "translation" || path == "rotation" || path == "scale";
            if (!transform || channel.target_node < 0) {
                continue; // morph weights, or a target that an extension names
            }
            if (static_cast<std::size_t>(channel.target_node) >= model.nodes.size()) {
                fail(where, "node " + std::to_string(channel.target_node) + " does not exist");
            }
            if (channel.sampler < 0 ||
                static_cast<std::size_t>(channel.sampler) >= animation.samplers.size()) {
                fail(where, "sampler " + std::to_string(channel.sampler) + " does not exist");
            }
            const tinygltf::AnimationSampler& sampler =
                animation.samplers[static_cast<std::size_t>(channel.sampler)];
            NodeCurves& node = curves[channel.target_node];
            Curve curve = readCurve(model, sampler, path == "rotation" ? 4 : 3, where);
            (path == "translation" ? node.translation
             : path == "rotation"  ? node.rotation
                                   : node.scale) = std::move(curve);
        }
    }
    return curves;
}

} // namespace Gltf
} // namespace VexilHost
