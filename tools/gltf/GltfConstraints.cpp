#include "tools/gltf/GltfConstraints.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"
#include "host/scene/AttributeDecoder.h"
#include "host/scene/JsonDocument.h"
#include "host/scene/SceneFormatError.h"
#include "hostapi/attribute/DataAttribute.h"
#include "tools/gltf/GltfFormatError.h"
#include "tools/gltf/LocationNames.h"

#include <map>

namespace VexilHost {
namespace Gltf {

namespace {

// The location at or above `path` that is constrained, or empty.
std::string constrainedAtOrAbove(std::string path, const std::map<std::string, std::size_t>& constrained) {
    while (!path.empty()) {
        if (constrained.count(path) != 0) {
            return path;
        }
        path.resize(path.rfind('/'));
    }
    return path;
}

std::vector<std::string> targetsOf(const Qn::GroupAttribute& group) {
    const Qn::StringAttribute target(group.getChildByName("target"));
    return target.isValid() ? target.getNearestSampleStrings(0.0f) : std::vector<std::string>();
}

} // namespace

std::vector<Qn::GroupAttribute> nodeConstraints(const tinygltf::Model& model, int index) {
    const tinygltf::Node& node = model.nodes[static_cast<std::size_t>(index)];
    if (node.extras_json_string.empty()) {
        return {};
    }
    const std::string where = partName("node", static_cast<std::size_t>(index), node.name);
    nlohmann::ordered_json extras;
    try {
        extras = parseJsonDocument(node.extras_json_string);
    } catch (const JsonSyntaxError& error) {
        throw GltfFormatError(partName("node", static_cast<std::size_t>(index), node.name) +
                              ": extras: " + error.what());
    }
    const auto found = extras.is_object() ? extras.find(kConstraintsKey) : extras.end();
    if (!extras.is_object() || found == extras.end()) {
        return {};
    }
    JsonPath path{{"extras", 0, false}, {kConstraintsKey, 0, false}};
    if (!found->is_array()) {
        throw GltfFormatError(where + ": extras." + kConstraintsKey +
                              " must be an array of constraint groups");
    }
    std::vector<Qn::GroupAttribute> groups;
    try {
        for (std::size_t i = 0; i < found->size(); ++i) {
            const JsonPathScope step(path, i);
            groups.push_back(decodeAttributeGroup((*found)[i], path));
        }
    } catch (const SceneFormatError& error) {
        throw GltfFormatError(where + ": " + formatJsonPath(error.path()) + ": " + error.what());
    }
    return groups;
}

std::vector<OpDescription> constraintOps(const std::vector<LocationConstraints>& constraints) {
    if (constraints.empty()) {
        return {};
    }
    std::map<std::string, std::size_t> byPath;
    for (std::size_t i = 0; i < constraints.size(); ++i) {
        byPath.emplace(constraints[i].path, i);
    }
    // What each constrained location needs resolved before it: its constrained ancestors and the
    // constrained locations its targets are at or below.
    std::vector<std::vector<std::size_t>> needs(constraints.size());
    for (std::size_t i = 0; i < constraints.size(); ++i) {
        const std::string& base = constraints[i].path;
        std::vector<std::string> needed{constrainedAtOrAbove(base.substr(0, base.rfind('/')), byPath)};
        for (const Qn::GroupAttribute& group : constraints[i].groups) {
            for (const std::string& target : targetsOf(group)) {
                needed.push_back(constrainedAtOrAbove(Qn::PathUtils::normalisedPath(base, target), byPath));
            }
        }
        for (const std::string& path : needed) {
            if (!path.empty() && path != base) {
                needs[i].push_back(byPath.at(path));
            }
        }
    }
    // Depth first, after everything needed; without recursion, so that long chains cannot exhaust the
    // stack. A location met again while its own needs are open is a cycle and is not waited for.
    enum class Mark { New, Open, Done };
    std::vector<Mark> marks(constraints.size(), Mark::New);
    std::vector<std::size_t> order;
    for (std::size_t start = 0; start < constraints.size(); ++start) {
        std::vector<std::pair<std::size_t, std::size_t>> stack; // location, next need to visit
        if (marks[start] == Mark::New) {
            stack.emplace_back(start, 0);
            marks[start] = Mark::Open;
        }
        while (!stack.empty()) {
            auto& [location, next] = stack.back();
            if (next < needs[location].size()) {
                const std::size_t need = needs[location][next++];
                if (marks[need] == Mark::New) {
                    marks[need] = Mark::Open;
                    stack.emplace_back(need, 0);
                }
                continue;
            }
            marks[location] = Mark::Done;
            order.push_back(location);
            stack.pop_back();
        }
    }

    Qn::GroupBuilder entries(QN_GROUP_BUILDER_MODE_LITERAL);
    std::size_t entry = 0;
    for (const std::size_t i : order) {
        for (const Qn::GroupAttribute& group : constraints[i].groups) {
            Qn::GroupBuilder fields(QN_GROUP_BUILDER_MODE_LITERAL);
            fields.set("baseLocationPath", Qn::StringAttribute(constraints[i].path));
            fields.set("constraintGroup", group);
            entries.set("c" + std::to_string(entry++), fields.build());
        }
    }
    Qn::GroupBuilder setupArgs(QN_GROUP_BUILDER_MODE_LITERAL);
    setupArgs.set("constraints", entries.build());
    Qn::GroupBuilder empty;
    OpDescription setup{"ConstraintSetup", "/root", setupArgs.build()};
    OpDescription resolve{"ConstraintResolve", "/root", empty.build()};
    return {setup, resolve};
}

} // namespace Gltf
} // namespace VexilHost
