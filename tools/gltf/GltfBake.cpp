#include "tools/gltf/GltfBake.h"

#include "host/scene/AttributeEncoder.h"
#include "hostapi/attribute/DataAttribute.h"
#include "tools/gltf/GltfConstraints.h"
#include "tools/gltf/GltfFile.h"
#include "tools/gltf/Rotations.h"
#include "tools/gltf/ShotTimes.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <set>
#include <sstream>

namespace VexilHost {
namespace Gltf {

namespace {

// Appends `bytes` to buffer 0 (made when the model has none), on a four-byte boundary as accessors
// need, as a new buffer view; returns its index.
int appendView(tinygltf::Model& model, const void* bytes, std::size_t size, int target) {
    if (model.buffers.empty()) {
        model.buffers.emplace_back();
    }
    std::vector<unsigned char>& data = model.buffers[0].data;
    data.resize((data.size() + 3) / 4 * 4, 0);
    tinygltf::BufferView view;
    view.buffer = 0;
    view.byteOffset = data.size();
    view.byteLength = size;
    view.target = target;
    const auto* first = static_cast<const unsigned char*>(bytes);
    data.insert(data.end(), first, first + size);
    model.bufferViews.push_back(view);
    return static_cast<int>(model.bufferViews.size()) - 1;
}

// A float accessor of `components` (1, 3 or 4) per element, with its min and max when asked.
int appendFloats(tinygltf::Model& model, const std::vector<float>& values, int components, bool withBounds,
                 int target = 0) {
    tinygltf::Accessor accessor;
    accessor.bufferView = appendView(model, values.data(), values.size() * sizeof(float), target);
    accessor.componentType = TINYGLTF_COMPONENT_TYPE_FLOAT;
    accessor.count = values.size() / static_cast<std::size_t>(components);
    accessor.type = components == 1   ? TINYGLTF_TYPE_SCALAR
                    : components == 3 ? TINYGLTF_TYPE_VEC3
                                      : TINYGLTF_TYPE_VEC4;
    if (withBounds && !values.empty()) {
        accessor.minValues.assign(values.begin(), values.begin() + components);
        accessor.maxValues = accessor.minValues;
        for (std::size_t i = 0; i < values.size(); ++i) {
            const std::size_t c = i % static_cast<std::size_t>(components);
            accessor.minValues[c] = std::min<double>(accessor.minValues[c], values[i]);
            accessor.maxValues[c] = std::max<double>(accessor.maxValues[c], values[i]);
        }
    }
    model.accessors.push_back(accessor);
    return static_cast<int>(model.accessors.size()) - 1;
}

int appendIndices(tinygltf::Model& model, const std::vector<std::uint32_t>& indices) {
    tinygltf::Accessor accessor;
    accessor.bufferView = appendView(model, indices.data(), indices.size() * sizeof(std::uint32_t),
                                     TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER);
    accessor.componentType = TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
    accessor.count = indices.size();
    accessor.type = TINYGLTF_TYPE_SCALAR;
    model.accessors.push_back(accessor);
    return static_cast<int>(model.accessors.size()) - 1;
}

tinygltf::Value valueOfJson(const nlohmann::ordered_json& json) {
    switch (json.type()) {
    case nlohmann::ordered_json::value_t::object: {
        tinygltf::Value::Object object;
        for (const auto& [key, member] : json.items()) {
            object.emplace(key, valueOfJson(member));
        }
        return tinygltf::Value(std::move(object));
    }
    case nlohmann::ordered_json::value_t::array: {
        tinygltf::Value::Array array;
        for (const auto& element : json) {
            array.push_back(valueOfJson(element));
        }
        return tinygltf::Value(std::move(array));
    }
    case nlohmann::ordered_json::value_t::string:
        return tinygltf::Value(json.get<std::string>());
    case nlohmann::ordered_json::value_t::boolean:
        return tinygltf::Value(json.get<bool>());
    case nlohmann::ordered_json::value_t::number_integer:
    case nlohmann::ordered_json::value_t::number_unsigned:
        if (json.get<int64_t>() >= INT32_MIN && json.get<int64_t>() <= INT32_MAX) {
            return tinygltf::Value(static_cast<int>(json.get<int64_t>()));
        }
        return tinygltf::Value(json.get<double>());
    case nlohmann::ordered_json::value_t::number_float:
        return tinygltf::Value(json.get<double>());
    default:
        return tinygltf::Value();
    }
}

// The constraint groups of a location's `xform` (children named "constraint..."), as the extras value
// a reader installs them from; null when there are none.
tinygltf::Value constraintsValue(const SceneLocation& location) {
    const Qn::GroupAttribute xform(location.attrs.getChildByName("xform"));
    tinygltf::Value::Array groups;
    for (int64_t i = 0; xform.isValid() && i < xform.getNumberOfChildren(); ++i) {
        const Qn::GroupAttribute group(xform.getChildByIndex(i));
        if (group.isValid() && xform.getChildName(i).rfind("constraint", 0) == 0) {
            std::ostringstream text;
            encodeAttributeGroup(group, text, 0, xform.getChildName(i));
            groups.push_back(valueOfJson(nlohmann::ordered_json::parse(text.str())));
        }
    }
    return groups.empty() ? tinygltf::Value() : tinygltf::Value(std::move(groups));
}

// The triangles of a polymesh location (fans of its polygons), or no mesh.
bool addMesh(tinygltf::Model& model, const SceneLocation& location, float time, tinygltf::Node& node) {
    const Qn::FloatAttribute points(location.attrs.getChildByName("geometry.point.P"));
    const Qn::IntAttribute starts(location.attrs.getChildByName("geometry.poly.startIndex"));
    const Qn::IntAttribute vertices(location.attrs.getChildByName("geometry.poly.vertexList"));
    if (!points.isValid() || !starts.isValid() || !vertices.isValid()) {
        return false;
    }
    const auto p = points.getNearestSample(time);
    const auto s = starts.getNearestSample(0.0f);
    const auto v = vertices.getNearestSample(0.0f);
    const int64_t pointCount = p.size / 3;
    std::vector<std::uint32_t> triangles;
    for (int64_t face = 0; face + 1 < s.size; ++face) {
        const int64_t begin = s[face];
        const int64_t end = s[face + 1];
        if (begin < 0 || end > v.size || end - begin < 3) {
            continue;
        }
        bool inRange = true;
        for (int64_t i = begin; i < end; ++i) {
            inRange = inRange && v[i] >= 0 && v[i] < pointCount;
        }
        for (int64_t i = begin + 2; inRange && i < end; ++i) {
            triangles.insert(triangles.end(),
                             {static_cast<std::uint32_t>(v[begin]), static_cast<std::uint32_t>(v[i - 1]),
                              static_cast<std::uint32_t>(v[i])});
        }
    }
    if (triangles.empty()) {
        return false;
    }
    tinygltf::Primitive primitive;
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
    primitive.attributes["POSITION"] =
        appendFloats(model, std::vector<float>(p.begin(), p.begin() + pointCount * 3), 3, true,
                     TINYGLTF_TARGET_ARRAY_BUFFER);
    primitive.indices = appendIndices(model, triangles);
    tinygltf::Mesh mesh;
    mesh.name = location.name;
    mesh.primitives.push_back(primitive);
    model.meshes.push_back(mesh);
    node.mesh = static_cast<int>(model.meshes.size()) - 1;
    return true;
}

double largestDifference(const Imath::M44d& a, const Imath::M44d& b) {
    double largest = 0.0;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            largest = std::max(largest, std::fabs(a[i][j] - b[i][j]) /
                                            std::max({1.0, std::fabs(a[i][j]), std::fabs(b[i][j])}));
        }
    }
    return largest;
}

// Differences below this (relative) are rounding, not motion.
constexpr double kSameTransform = 1e-9;

// The transform a node states: its matrix, or its translation, rotation and scale.
Imath::M44d nodeTransform(const tinygltf::Node& node) {
    if (node.matrix.size() == 16) {
        Imath::M44d m;
        for (int i = 0; i < 16; ++i) {
            m[i / 4][i % 4] = node.matrix[static_cast<std::size_t>(i)];
        }
        return m;
    }
    const Imath::V3d t = node.translation.size() == 3
                             ? Imath::V3d(node.translation[0], node.translation[1], node.translation[2])
                             : Imath::V3d(0.0);
    const std::array<double, 4> r =
        node.rotation.size() == 4
            ? std::array<double, 4>{node.rotation[0], node.rotation[1], node.rotation[2], node.rotation[3]}
            : std::array<double, 4>{0.0, 0.0, 0.0, 1.0};
    const Imath::V3d s =
        node.scale.size() == 3 ? Imath::V3d(node.scale[0], node.scale[1], node.scale[2]) : Imath::V3d(1.0);
    return composeTrs(t, r, s);
}

void setTrs(tinygltf::Node& node, const Trs& trs) {
    node.matrix.clear();
    node.translation = {trs.translation.x, trs.translation.y, trs.translation.z};
    node.rotation = {trs.rotation[0], trs.rotation[1], trs.rotation[2], trs.rotation[3]};
    node.scale = {trs.scale.x, trs.scale.y, trs.scale.z};
}

void setMatrix(tinygltf::Node& node, const Imath::M44d& m) {
    node.translation.clear();
    node.rotation.clear();
    node.scale.clear();
    node.matrix.assign(&m[0][0], &m[0][0] + 16);
}

// Removes the translation, rotation and scale channels of `nodes` from every animation, then the
// samplers no channel uses and the animations left without channels.
void removeTransformChannels(tinygltf::Model& model, const std::set<int>& nodes) {
    std::vector<tinygltf::Animation> kept;
    for (tinygltf::Animation& animation : model.animations) {
        std::vector<tinygltf::AnimationChannel> channels;
        for (const tinygltf::AnimationChannel& channel : animation.channels) {
            const bool transform = channel.target_path == "translation" ||
                                   channel.target_path == "rotation" || channel.target_path == "scale";
            if (!(transform && nodes.count(channel.target_node) != 0)) {
                channels.push_back(channel);
            }
        }
        if (channels.empty()) {
            continue;
        }
        std::vector<int> newIndex(animation.samplers.size(), -1);
        std::vector<tinygltf::AnimationSampler> samplers;
        for (tinygltf::AnimationChannel& channel : channels) {
            const auto old = static_cast<std::size_t>(channel.sampler);
            if (newIndex[old] < 0) {
                newIndex[old] = static_cast<int>(samplers.size());
                samplers.push_back(animation.samplers[old]);
            }
            channel.sampler = newIndex[old];
        }
        animation.channels = std::move(channels);
        animation.samplers = std::move(samplers);
        kept.push_back(std::move(animation));
    }
    model.animations = std::move(kept);
}

void setExtra(tinygltf::Node& node, const std::string& key, tinygltf::Value value) {
    tinygltf::Value::Object extras;
    if (node.extras.IsObject()) {
        extras = node.extras.Get<tinygltf::Value::Object>();
    }
    if (value.Type() == tinygltf::NULL_TYPE) {
        extras.erase(key);
    } else {
        extras[key] = std::move(value);
    }
    node.extras = extras.empty() ? tinygltf::Value() : tinygltf::Value(std::move(extras));
    node.extras_json_string.clear();
}

struct Key {
    double seconds;
    std::size_t frame;
    std::size_t sample;
};

// Every frame's samples in time order; of two at the same time the later frame's.
std::vector<Key> bakeKeys(const std::vector<FrameTransforms>& frames, double fps) {
    std::vector<Key> keys;
    for (std::size_t f = 0; f < frames.size(); ++f) {
        for (std::size_t s = 0; s < frames[f].offsets.size(); ++s) {
            keys.push_back({secondsAt(frames[f].frame, frames[f].offsets[s], fps), f, s});
        }
    }
    std::stable_sort(keys.begin(), keys.end(),
                     [](const Key& a, const Key& b) { return a.seconds < b.seconds; });
    std::vector<Key> unique;
    for (const Key& key : keys) {
        // Times are written as floats: two keys a float cannot tell apart are one.
        if (!unique.empty() && static_cast<float>(unique.back().seconds) == static_cast<float>(key.seconds)) {
            if (key.frame > unique.back().frame) {
                unique.back() = key;
            }
            continue;
        }
        unique.push_back(key);
    }
    return unique;
}

// The location's transform at every key; a frame without the location keeps the one before (the
// node's own before the first).
std::vector<Imath::M44d> transformsAtKeys(const std::vector<Key>& keys,
                                          const std::vector<FrameTransforms>& frames, const std::string& path,
                                          const Imath::M44d& stated) {
    std::vector<Imath::M44d> transforms;
    for (const Key& key : keys) {
        const auto found = frames[key.frame].locations.find(path);
        transforms.push_back(found != frames[key.frame].locations.end() ? found->second.local[key.sample]
                             : transforms.empty()                       ? stated
                                                                        : transforms.back());
    }
    return transforms;
}

const LocationFrame* firstFrameOf(const std::vector<FrameTransforms>& frames, const std::string& path) {
    for (const FrameTransforms& frame : frames) {
        if (const auto found = frame.locations.find(path); found != frame.locations.end()) {
            return &found->second;
        }
    }
    return nullptr;
}

// The location's error and warning, each from the first frame that has one.
std::pair<std::string, std::string> messagesOf(const std::vector<FrameTransforms>& frames,
                                               const std::string& path) {
    std::pair<std::string, std::string> messages;
    for (const FrameTransforms& frame : frames) {
        if (const auto found = frame.locations.find(path); found != frame.locations.end()) {
            messages.first = messages.first.empty() ? found->second.errorMessage : messages.first;
            messages.second = messages.second.empty() ? found->second.warningMessage : messages.second;
        }
    }
    return messages;
}

// A moving transform as glTF's channels: translation, rotation (neighbouring keys on the same side,
// so that blending them takes the shorter way) and scale, with the largest shear they leave out.
struct Motion {
    std::vector<float> translation;
    std::vector<float> rotation;
    std::vector<float> scale;
    double shear = 0.0;
};

Motion motionOf(const std::vector<Imath::M44d>& transforms) {
    Motion motion;
    std::array<double, 4> previous{0.0, 0.0, 0.0, 1.0};
    for (const Imath::M44d& transform : transforms) {
        Trs trs = decompose(transform);
        motion.shear = std::max(motion.shear, trs.shear);
        const double dot = trs.rotation[0] * previous[0] + trs.rotation[1] * previous[1] +
                           trs.rotation[2] * previous[2] + trs.rotation[3] * previous[3];
        if (dot < 0.0) {
            for (double& v : trs.rotation) {
                v = -v;
            }
        }
        previous = trs.rotation;
        const Imath::V3d& t = trs.translation;
        const Imath::V3d& s = trs.scale;
        const std::array<double, 4>& r = trs.rotation;
        motion.translation.insert(motion.translation.end(), {float(t.x), float(t.y), float(t.z)});
        motion.rotation.insert(motion.rotation.end(), {float(r[0]), float(r[1]), float(r[2]), float(r[3])});
        motion.scale.insert(motion.scale.end(), {float(s.x), float(s.y), float(s.z)});
    }
    return motion;
}

void addChannels(tinygltf::Model& model, tinygltf::Animation& bake, int timesAccessor, int node,
                 const Motion& motion) {
    const struct {
        const char* path;
        const std::vector<float>& values;
        int components;
    } channels[] = {
        {"translation", motion.translation, 3}, {"rotation", motion.rotation, 4}, {"scale", motion.scale, 3}};
    for (const auto& c : channels) {
        tinygltf::AnimationSampler sampler;
        sampler.input = timesAccessor;
        sampler.output = appendFloats(model, c.values, c.components, false);
        sampler.interpolation = "LINEAR";
        tinygltf::AnimationChannel channel;
        channel.sampler = static_cast<int>(bake.samplers.size());
        channel.target_node = node;
        channel.target_path = c.path;
        bake.samplers.push_back(sampler);
        bake.channels.push_back(channel);
    }
}

} // namespace

// The cooked lens of a camera node, when it differs from its glTF camera; a camera that other nodes
// share is copied first.
void GltfBake::writeLens(tinygltf::Model& model, const Node& entry,
                         const std::vector<FrameTransforms>& frames, const LocationFrame& first,
                         std::vector<std::string>& warnings) const {
    tinygltf::Node& node = model.nodes[static_cast<std::size_t>(entry.node)];
    bool changes = false;
    for (const FrameTransforms& frame : frames) {
        const auto found = frame.locations.find(entry.path);
        changes = changes || (found != frame.locations.end() &&
                              (found->second.lensAnimated || found->second.lens != first.lens));
    }
    if (changes) {
        warnings.push_back(entry.path +
                           ": glTF cannot animate a lens; the lens of the first frame is written");
    }
    tinygltf::Camera& camera = model.cameras[static_cast<std::size_t>(node.camera)];
    std::vector<std::string> lost;
    tinygltf::Camera written = gltfCamera(first.lens, lost);
    if (sameCamera(camera, written)) {
        return;
    }
    written.name = camera.name;
    written.extras = camera.extras;
    bool shared = false;
    for (const Node& other : m_nodes) {
        shared = shared || (other.node != entry.node &&
                            model.nodes[static_cast<std::size_t>(other.node)].camera == node.camera);
    }
    if (shared) {
        model.cameras.push_back(written);
        node.camera = static_cast<int>(model.cameras.size()) - 1;
    } else {
        camera = written;
    }
    for (const std::string& what : lost) {
        warnings.push_back(entry.path + ": glTF cannot hold " + what + "; it is written centred");
    }
}

GltfBake::GltfBake(const GltfShot& shot) : m_model(shot.model()), m_folder(shot.folder()) {
    for (const ShotNode& node : shot.nodes()) {
        m_nodes.push_back({node.node, node.path});
        const tinygltf::Value& extras = m_model.nodes[static_cast<std::size_t>(node.node)].extras;
        m_constraints.push_back(extras.IsObject() && extras.Has(kConstraintsKey) ? extras.Get(kConstraintsKey)
                                                                                 : tinygltf::Value());
    }
}

GltfBake::GltfBake(const SceneLocation& cooked, const SceneLocation* beforeResolve, float offset) {
    m_model.asset.version = "2.0";
    m_model.asset.generator = "vexil-cook";
    m_model.scenes.emplace_back();
    m_model.defaultScene = 0;
    std::unordered_map<std::string, const SceneLocation*> unresolved;
    if (beforeResolve) {
        std::vector<std::pair<const SceneLocation*, std::string>> pending{{beforeResolve, "/root"}};
        while (!pending.empty()) {
            const auto [location, path] = pending.back();
            pending.pop_back();
            unresolved.emplace(path, location);
            for (const SceneLocation& child : location->children) {
                pending.emplace_back(&child, path + "/" + child.name);
            }
        }
    }
    const SceneLocation* world = nullptr;
    for (const SceneLocation& child : cooked.children) {
        if (child.name == "world") {
            world = &child;
        } else {
            m_lost.push_back("/root/" + child.name +
                             ": not below /root/world, so not part of the glTF scene");
        }
    }
    if (!world) {
        return;
    }
    struct Pending {
        const SceneLocation* location;
        std::string path;
        int parentNode; // -1: a root node of the scene
    };
    std::vector<Pending> pending;
    for (auto child = world->children.rbegin(); child != world->children.rend(); ++child) {
        pending.push_back({&*child, "/root/world/" + child->name, -1});
    }
    while (!pending.empty()) {
        const Pending next = pending.back();
        pending.pop_back();
        tinygltf::Node node;
        node.name = next.location->name;
        const Qn::StringAttribute type(next.location->attrs.getChildByName("type"));
        const std::string typeName = type.isValid() ? type.getValue(std::string(), false) : std::string();
        if (typeName == "polymesh" || typeName == "subdmesh") {
            addMesh(m_model, *next.location, offset, node);
        }
        if (typeName == "camera") {
            bool animated = false;
            std::vector<std::string> lost;
            tinygltf::Camera camera = gltfCamera(lensAt(next.location->attrs, offset, animated), lost);
            for (const std::string& what : lost) {
                m_lost.push_back(next.path + ": glTF cannot hold " + what + "; it is written centred");
            }
            camera.name = node.name;
            m_model.cameras.push_back(camera);
            node.camera = static_cast<int>(m_model.cameras.size()) - 1;
        }
        const int index = static_cast<int>(m_model.nodes.size());
        m_model.nodes.push_back(node);
        m_nodes.push_back({index, next.path});
        const auto found = unresolved.find(next.path);
        m_constraints.push_back(found == unresolved.end() ? tinygltf::Value()
                                                          : constraintsValue(*found->second));
        if (next.parentNode < 0) {
            m_model.scenes[0].nodes.push_back(index);
        } else {
            m_model.nodes[static_cast<std::size_t>(next.parentNode)].children.push_back(index);
        }
        for (auto child = next.location->children.rbegin(); child != next.location->children.rend();
             ++child) {
            pending.push_back({&*child, next.path + "/" + child->name, index});
        }
    }
}

std::string GltfBake::write(const std::vector<FrameTransforms>& frames, double fps, const std::string& path,
                            bool binary, std::vector<std::string>& warnings) const {
    warnings.insert(warnings.end(), m_lost.begin(), m_lost.end());
    tinygltf::Model model = m_model;
    const std::vector<Key> keys = bakeKeys(frames, fps);
    std::set<int> bakedNodes;
    for (const Node& entry : m_nodes) {
        bakedNodes.insert(entry.node);
    }
    removeTransformChannels(model, bakedNodes);

    tinygltf::Animation bake;
    bake.name = kBakeAnimationName;
    int timesAccessor = -1;
    for (std::size_t n = 0; n < m_nodes.size(); ++n) {
        const Node& entry = m_nodes[n];
        tinygltf::Node& node = model.nodes[static_cast<std::size_t>(entry.node)];
        const std::vector<Imath::M44d> transforms =
            transformsAtKeys(keys, frames, entry.path, nodeTransform(node));
        bool moves = false;
        for (const Imath::M44d& m : transforms) {
            moves = moves || largestDifference(m, transforms.front()) > kSameTransform;
        }
        if (moves) {
            const Motion motion = motionOf(transforms);
            if (motion.shear > 1e-6) {
                warnings.push_back(entry.path +
                                   ": glTF cannot animate a shear; the baked animation leaves it out");
            }
            if (timesAccessor < 0) {
                std::vector<float> times;
                for (const Key& key : keys) {
                    times.push_back(static_cast<float>(key.seconds));
                }
                timesAccessor = appendFloats(model, times, 1, true);
            }
            setTrs(node, decompose(transforms.front()));
            addChannels(model, bake, timesAccessor, entry.node, motion);
        } else if (!transforms.empty() &&
                   largestDifference(transforms.front(), nodeTransform(node)) > kSameTransform) {
            const Trs trs = decompose(transforms.front());
            if (!node.matrix.empty() || trs.shear > kSameTransform) {
                setMatrix(node, transforms.front());
            } else {
                setTrs(node, trs);
            }
        }
        if (const LocationFrame* first = firstFrameOf(frames, entry.path);
            first && first->isCamera && node.camera >= 0) {
            writeLens(model, entry, frames, *first, warnings);
        }
        if (m_constraints[n].Type() != tinygltf::NULL_TYPE) {
            setExtra(node, kConstraintsKey, tinygltf::Value());
            setExtra(node, kBakedConstraintsKey, m_constraints[n]);
        }
        const auto [error, warning] = messagesOf(frames, entry.path);
        setExtra(node, kErrorKey, error.empty() ? tinygltf::Value() : tinygltf::Value(error));
        setExtra(node, kWarningKey, warning.empty() ? tinygltf::Value() : tinygltf::Value(warning));
    }
    if (!bake.channels.empty()) {
        model.animations.push_back(bake);
    }
    // What was baked, so that the files of several chunks of one shot can be joined.
    tinygltf::Value::Array frameNumbers;
    for (const FrameTransforms& frame : frames) {
        frameNumbers.push_back(tinygltf::Value(frame.frame));
    }
    tinygltf::Value::Array offsets;
    for (const float offset : frames.empty() ? std::vector<float>() : frames.front().offsets) {
        offsets.push_back(tinygltf::Value(static_cast<double>(offset)));
    }
    tinygltf::Value::Object record{{"fps", tinygltf::Value(fps)},
                                   {"frames", tinygltf::Value(std::move(frameNumbers))},
                                   {"offsets", tinygltf::Value(std::move(offsets))}};
    tinygltf::Value::Object assetExtras = model.asset.extras.IsObject()
                                              ? model.asset.extras.Get<tinygltf::Value::Object>()
                                              : tinygltf::Value::Object();
    assetExtras[kBakeRecordKey] = tinygltf::Value(std::move(record));
    model.asset.extras = tinygltf::Value(std::move(assetExtras));
    return writeGltfModel(model, path, binary, m_folder);
}

} // namespace Gltf
} // namespace VexilHost
