#include "bench/support/BenchScenes.h"

#include "hostapi/attribute/DataAttribute.h"

#include <map>
#include <stdexcept>
#include <utility>

namespace VexilBench {

namespace {

using VexilHost::OpDescription;
using VexilHost::SceneFile;
using VexilHost::SceneLocation;
using Named = std::vector<std::pair<std::string, Qn::Attribute>>;

/// A group of `children`; dotted names stay literal.
Qn::GroupAttribute group(const Named& children) {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    for (const auto& [name, value] : children) {
        builder.set(name, value);
    }
    return builder.build();
}

Qn::DoubleAttribute doubles(const std::vector<double>& values) {
    return Qn::DoubleAttribute(values);
}

Qn::FloatAttribute floats(const std::vector<float>& values, int64_t tupleSize = 1) {
    return Qn::FloatAttribute(values, tupleSize);
}

Qn::IntAttribute ints(const std::vector<int32_t>& values) {
    return Qn::IntAttribute(values);
}

Qn::StringAttribute text(const std::string& value) {
    return Qn::StringAttribute(value);
}

/// A translate sampled `samples` times evenly over 0 .. 0.5, moving by `motion` over that time.
Qn::DoubleAttribute movingTranslate(double x, double y, double z, const double motion[3], int samples) {
    if (samples <= 1) {
        return doubles({x, y, z});
    }
    std::map<float, std::vector<double>> values;
    for (int s = 0; s < samples; ++s) {
        const double f = double(s) / double(samples - 1);
        values[float(0.5 * f)] = {x + motion[0] * f, y + motion[1] * f, z + motion[2] * f};
    }
    return Qn::DoubleAttribute(values, 3);
}

bool isCameraBaseKind(const std::string& kind) {
    return kind == "Clipping" || kind == "Dolly" || kind == "FOV";
}

bool isCameraTargetKind(const std::string& kind) {
    return kind == "CameraScreenWindow" || kind == "ScreenCoordinate";
}

/// Screen window, fov and projection of a perspective camera.
void addCameraGeometry(Named& attrs) {
    attrs.emplace_back("geometry", group({{"fov", doubles({50.0})},
                                          {"left", doubles({-1.5})},
                                          {"right", doubles({1.5})},
                                          {"bottom", doubles({-1.0})},
                                          {"top", doubles({1.0})},
                                          {"projection", text("perspective")},
                                          {"near", doubles({0.1})},
                                          {"far", doubles({1000.0})}}));
}

/// One location of the target pool: animated, with a bound; a mesh for Reflection and a camera for
/// the kinds that follow a camera.
SceneLocation target(int j, const SceneRecipe& recipe) {
    const double motion[3] = {1.0, 0.5, 0.25};
    const double x = 2.0 * j - recipe.targetPool + recipe.targetOffset;
    const double y = double(j % 5) - 2.0;
    const double z = -double(j % 3);
    Named attrs;
    Named xform = {{"translate", movingTranslate(x, y, z, motion, recipe.samples)},
                   {"rotate", doubles({10.0 * j, 0.0, 1.0, 0.0})}};
    attrs.emplace_back("xform", group(xform));
    attrs.emplace_back("bound", doubles({-1.0, 1.0, -1.0, 1.0, -1.0, 1.0}));
    if (recipe.kind == "Reflection") {
        attrs.emplace_back("type", text("polymesh"));
        attrs.emplace_back(
            "geometry",
            group({{"point", group({{"P", floats({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}, 3)}})},
                   {"poly", group({{"startIndex", ints({0, 4})}, {"vertexList", ints({0, 1, 2, 3})}})}}));
    } else if (isCameraTargetKind(recipe.kind)) {
        attrs.emplace_back("type", text("camera"));
        addCameraGeometry(attrs);
    } else {
        attrs.emplace_back("type", text("group"));
    }
    return SceneLocation{"t" + std::to_string(j), group(attrs), {}};
}

/// The `args` group of one constraint kind.
Qn::GroupAttribute kindArguments(const std::string& kind) {
    if (kind == "Point") {
        return group({{"targetOrigin", text("origin")}, {"baseOrigin", text("origin")}});
    }
    if (kind == "Aim") {
        return group({{"targetOrigin", text("origin")},
                      {"baseAimAxis", floats({0, 0, -1})},
                      {"baseUpAxis", floats({0, 1, 0})},
                      {"targetUpAxis", floats({0, 1, 0})}});
    }
    if (kind == "Orient") {
        return group({{"targetOrientation", text("object")}});
    }
    if (kind == "Billboard") {
        return group({{"targetOrigin", text("origin")},
                      {"baseAimAxis", floats({0, 0, 1})},
                      {"baseRotateAxis", floats({0, 1, 0})}});
    }
    if (kind == "Reflection") {
        return group({{"targetFaceIndex", ints({0})}});
    }
    if (kind == "CameraScreenWindow") {
        return group({{"distance", floats({10.0f})}, {"planeType", text("XY")}});
    }
    if (kind == "Clipping") {
        return group({{"pad", group({{"near", floats({10.0f})}, {"far", floats({10.0f})}})}});
    }
    if (kind == "Dolly" || kind == "FOV") {
        return group({{"targetBounds", text("box")}, {"angleOffset", floats({2.0f})}});
    }
    if (kind == "ScreenCoordinate") {
        return group({{"keepAspectRatio", ints({1})}});
    }
    return group({}); // Scale, ParentChild
}

/// One constrained location: placed by its index; a camera for the kinds that constrain one.
SceneLocation constrainedLocation(int i, const SceneRecipe& recipe, const Qn::GroupAttribute& args) {
    const double x = 0.5 * (i % 100);
    const double y = 0.5 * ((i / 100) % 100);
    double z = 0.25 * (i % 7);
    if (isCameraBaseKind(recipe.kind)) {
        z = 60.0 + z;
    } else if (recipe.kind == "ScreenCoordinate") {
        z = -10.0 - z; // authored in the camera's screen coordinates: in front of it
    }
    Named xform = {{"translate", doubles({x, y, z})}, {"rotate", doubles({double(i % 30), 0.0, 0.0, 1.0})}};
    if (recipe.kind == "ScreenCoordinate") {
        xform = {{"translate", doubles({0.2, -0.3, z})}, {"scale", doubles({0.1, 0.1, 0.1})}};
    }
    if (recipe.withConstraints) {
        std::vector<std::string> targets;
        for (int k = 0; k < recipe.targetsPerConstraint; ++k) {
            targets.push_back("/root/world/targets/t" + std::to_string((i + k) % recipe.targetPool));
        }
        xform.emplace_back(
            "constraint",
            group({{"type", text(recipe.kind)}, {"target", Qn::StringAttribute(targets)}, {"args", args}}));
    }
    Named attrs = {{"type", text(isCameraBaseKind(recipe.kind) ? "camera" : "group")},
                   {"xform", group(xform)}};
    if (isCameraBaseKind(recipe.kind)) {
        addCameraGeometry(attrs);
    }
    return SceneLocation{"c" + std::to_string(i % kGroupSize), group(attrs), {}};
}

OpDescription resolveOp() {
    OpDescription op;
    op.type = "ConstraintResolve";
    op.location = "/root";
    op.args = group({});
    return op;
}

SceneFile wrap(SceneLocation world, float shutterClose, int numSamples, bool withOp) {
    SceneFile file;
    file.time.shutterOpen = 0.0f;
    file.time.shutterClose = shutterClose;
    file.time.numSamples = numSamples;
    file.root = SceneLocation{"root", group({{"type", text("group")}}), {}};
    file.root.children.push_back(std::move(world));
    if (withOp) {
        file.ops.push_back(resolveOp());
    }
    return file;
}

} // namespace

const std::vector<std::string>& constraintKinds() {
    static const std::vector<std::string> kinds = {
        "Aim",         "Billboard", "CameraScreenWindow", "Clipping", "Dolly",           "FOV", "Orient",
        "ParentChild", "Point",     "Reflection",         "Scale",    "ScreenCoordinate"};
    return kinds;
}

std::string constrainedPath(int index) {
    return "/root/world/g" + std::to_string(index / kGroupSize) + "/c" + std::to_string(index % kGroupSize);
}

SceneFile constraintScene(const SceneRecipe& recipe) {
    if (recipe.constrained <= 0 || recipe.targetsPerConstraint <= 0 || recipe.targetPool <= 0 ||
        recipe.samples <= 0) {
        throw std::invalid_argument("a constraint scene needs locations, targets and samples");
    }
    SceneLocation targets{"targets", group({{"type", text("group")}}), {}};
    for (int j = 0; j < recipe.targetPool; ++j) {
        targets.children.push_back(target(j, recipe));
    }
    const Qn::GroupAttribute args = kindArguments(recipe.kind);
    std::vector<std::string> listed;
    listed.reserve(static_cast<size_t>(recipe.constrained));
    std::vector<SceneLocation> groups;
    for (int i = 0; i < recipe.constrained; ++i) {
        if (i % kGroupSize == 0) {
            groups.push_back(
                SceneLocation{"g" + std::to_string(i / kGroupSize), group({{"type", text("group")}}), {}});
            groups.back().children.reserve(kGroupSize);
        }
        groups.back().children.push_back(constrainedLocation(i, recipe, args));
        listed.push_back(constrainedPath(i));
    }
    Named worldAttrs = {{"type", text("group")}};
    if (recipe.withConstraints) {
        worldAttrs.emplace_back("globals", group({{"constraintList", Qn::StringAttribute(listed)}}));
    }
    SceneLocation world{"world", group(worldAttrs), {}};
    world.children.push_back(std::move(targets));
    for (SceneLocation& g : groups) {
        world.children.push_back(std::move(g));
    }
    return wrap(std::move(world), recipe.samples > 1 ? 0.5f : 0.0f, recipe.samples, true);
}

SceneFile chainScene(int length) {
    const double motion[3] = {1.0, 0.5, 0.25};
    SceneLocation world{"world", group({{"type", text("group")}}), {}};
    world.children.push_back(
        SceneLocation{"target",
                      group({{"type", text("group")},
                             {"xform", group({{"translate", movingTranslate(1, 2, 3, motion, 2)}})}}),
                      {}});
    SceneLocation chain{"chain", group({{"type", text("group")}}), {}};
    const Qn::GroupAttribute args = kindArguments("Point");
    std::vector<std::string> listed;
    for (int k = 0; k < length; ++k) {
        const std::string previous =
            k == 0 ? std::string("/root/world/target") : "/root/world/chain/c" + std::to_string(k - 1);
        const Qn::GroupAttribute constraint =
            group({{"type", text("Point")},
                   {"target", Qn::StringAttribute(std::vector<std::string>{previous})},
                   {"args", args}});
        chain.children.push_back(SceneLocation{
            "c" + std::to_string(k),
            group({{"type", text("group")},
                   {"xform", group({{"translate", doubles({0.0, 1.0, 0.0})}, {"constraint", constraint}})}}),
            {}});
        listed.push_back("/root/world/chain/c" + std::to_string(k));
    }
    world.attrs = group(
        {{"type", text("group")}, {"globals", group({{"constraintList", Qn::StringAttribute(listed)}})}});
    world.children.push_back(std::move(chain));
    return wrap(std::move(world), 0.5f, 2, true);
}

SceneFile passThroughScene(int groups, int leaves, int listEvery, bool withOp) {
    const Qn::DoubleAttribute bound = doubles({-1.0, 1.0, -1.0, 1.0, -1.0, 1.0});
    const Qn::StringAttribute meshType = text("polymesh");
    std::vector<std::string> listed;
    SceneLocation world{"world", {}, {}};
    world.children.reserve(static_cast<size_t>(groups));
    int leafIndex = 0;
    for (int g = 0; g < groups; ++g) {
        SceneLocation parent{"g" + std::to_string(g), group({{"type", text("group")}, {"bound", bound}}), {}};
        parent.children.reserve(static_cast<size_t>(leaves));
        for (int l = 0; l < leaves; ++l, ++leafIndex) {
            parent.children.push_back(
                SceneLocation{"l" + std::to_string(l),
                              group({{"type", meshType},
                                     {"xform", group({{"translate", doubles({double(g), double(l), 0.0})}})},
                                     {"bound", bound}}),
                              {}});
            if (listEvery > 0 && leafIndex % listEvery == 0) {
                listed.push_back("/root/world/g" + std::to_string(g) + "/l" + std::to_string(l));
            }
        }
        world.children.push_back(std::move(parent));
    }
    world.attrs = group({{"type", text("group")},
                         {"bound", bound},
                         {"globals", group({{"constraintList", Qn::StringAttribute(listed)}})}});
    return wrap(std::move(world), 0.0f, 1, withOp);
}

int64_t countLocations(const VexilHost::SceneLocation& root) {
    int64_t count = 1;
    for (const SceneLocation& child : root.children) {
        count += countLocations(child);
    }
    return count;
}

} // namespace VexilBench
