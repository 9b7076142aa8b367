#include "CookTestSupport.h"

#include "CookRunner.h"

#include <cmath>
#include <stdexcept>

namespace VexilTest {

namespace {

std::vector<double> numbers(const Json& value) {
    std::vector<double> result;
    if (value.is_array()) {
        for (const Json& v : value) {
            result.push_back(v.is_number() ? v.get<double>() : std::nan(""));
        }
    } else if (value.is_number()) {
        result.push_back(value.get<double>());
    }
    return result;
}

// The location at an absolute path ("/root/world/a"), or null when the scene has none there.
const Json* findLocation(const Json& cooked, const std::string& path) {
    if (!cooked.contains("scene") || path.rfind("/root", 0) != 0) {
        return nullptr;
    }
    const Json* node = &cooked["scene"];
    size_t start = 5;
    while (start < path.size()) {
        size_t slash = path.find('/', start + 1);
        const std::string name =
            path.substr(start + 1, (slash == std::string::npos ? path.size() : slash) - start - 1);
        if (!node->contains("children") || !(*node)["children"].contains(name)) {
            return nullptr;
        }
        node = &(*node)["children"][name];
        start = slash == std::string::npos ? path.size() : slash;
    }
    return node;
}

void collectPaths(const Json& node, const std::string& path, std::vector<std::string>& out) {
    out.push_back(path);
    if (node.contains("children")) {
        for (const auto& [name, child] : node["children"].items()) {
            collectPaths(child, path + "/" + name, out);
        }
    }
}

// An attribute in the scene-file form: its values under the kind's key, and a tuple size other than 1.
Json typed(const char* kind, const Json& values, int tupleSize) {
    Json attr = {{kind, values}};
    if (tupleSize != 1) {
        attr["tupleSize"] = tupleSize;
    }
    return attr;
}

} // namespace

CookResult cook(const Json& scene, const std::vector<std::string>& arguments) {
    const ScratchFolder folder;
    std::vector<std::string> all{"--plugin-path", VEXIL_PLUGIN_DIR};
    all.insert(all.end(), arguments.begin(), arguments.end());
    all.push_back(folder.write("scene.json", scene.dump(2)));
    RunResult run = runCook(all);
    CookResult result;
    result.exitCode = run.status;
    result.out = std::move(run.out);
    result.err = std::move(run.err);
    result.scene = Json::parse(result.out, nullptr, false);
    if (result.scene.is_discarded()) {
        result.scene = Json();
    }
    return result;
}

Json sceneFile(const Json& worldChildren, const Json& ops, float shutterOpen, float shutterClose,
               int numSamples, const Json& worldAttrs) {
    Json file;
    file["time"] = {{"currentTime", 0.0},
                    {"shutterOpen", shutterOpen},
                    {"shutterClose", shutterClose},
                    {"numSamples", numSamples}};
    file["scene"] = {{"attrs", {{"type", "group"}}},
                     {"children", {{"world", {{"attrs", worldAttrs}, {"children", worldChildren}}}}}};
    file["ops"] = ops;
    return file;
}

Json opAt(const std::string& type, const std::string& location, const Json& args) {
    return {{"type", type}, {"location", location}, {"args", args}};
}

Json resolveOps() {
    return Json::array({opAt("ConstraintResolve", "/root")});
}

bool hasLocation(const Json& cooked, const std::string& path) {
    return findLocation(cooked, path) != nullptr;
}

std::vector<std::string> locationPaths(const Json& cooked) {
    std::vector<std::string> paths;
    if (cooked.contains("scene")) {
        collectPaths(cooked["scene"], "/root", paths);
    }
    return paths;
}

const Json& location(const Json& cooked, const std::string& path) {
    const Json* node = findLocation(cooked, path);
    if (!node) {
        throw std::runtime_error("no location " + path + " in the cooked scene");
    }
    return *node;
}

const Json& attribute(const Json& cooked, const std::string& path, const std::string& name) {
    static const Json null;
    const Json* node = findLocation(cooked, path);
    if (!node || !node->contains("attrs")) {
        return null;
    }
    node = &(*node)["attrs"];
    size_t start = 0;
    while (start <= name.size()) {
        size_t dot = name.find('.', start);
        const std::string part = name.substr(start, (dot == std::string::npos ? name.size() : dot) - start);
        if (!node->is_object() || !node->contains(part)) {
            return null;
        }
        node = &(*node)[part];
        if (dot == std::string::npos) {
            break;
        }
        start = dot + 1;
    }
    return *node;
}

std::map<float, std::vector<double>> samples(const Json& attr) {
    std::map<float, std::vector<double>> result;
    if (!attr.is_object()) {
        return result;
    }
    for (const char* kind : {"double", "float", "int"}) {
        if (!attr.contains(kind)) {
            continue;
        }
        const Json& value = attr[kind];
        if (value.is_object()) {
            for (auto it = value.begin(); it != value.end(); ++it) {
                result[std::stof(it.key())] = numbers(it.value());
            }
        } else {
            result[0.0f] = numbers(value);
        }
    }
    return result;
}

std::string stringValue(const Json& cooked, const std::string& path, const std::string& name) {
    const Json& attr = attribute(cooked, path, name);
    const Json* value = &attr;
    if (attr.is_object() && attr.contains("string")) {
        value = &attr["string"];
    }
    if (value->is_object() && !value->empty()) {
        value = &value->begin().value();
    }
    if (value->is_array() && !value->empty()) {
        value = &(*value)[0];
    }
    return value->is_string() ? value->get<std::string>() : std::string();
}

std::map<float, Imath::M44d> worldSamples(const Json& cooked, const std::string& path) {
    std::map<float, Imath::M44d> result;
    for (const auto& [time, values] : samples(attribute(cooked, path, "world"))) {
        if (values.size() != 16) {
            throw std::runtime_error("world of " + path + " does not hold 16 values");
        }
        Imath::M44d m;
        for (int i = 0; i < 16; ++i) {
            m[i / 4][i % 4] = values[i];
        }
        result[time] = m;
    }
    return result;
}

Imath::M44d world(const Json& cooked, const std::string& path, float time) {
    auto all = worldSamples(cooked, path);
    auto it = all.find(time);
    if (it == all.end()) {
        throw std::runtime_error("no world sample of " + path + " at " + std::to_string(time));
    }
    return it->second;
}

Json doubles(const std::vector<double>& values, int tupleSize) {
    return typed("double", values, tupleSize);
}

Json floats(const std::vector<double>& values, int tupleSize) {
    return typed("float", values, tupleSize);
}

Json ints(const std::vector<int>& values, int tupleSize) {
    return typed("int", values, tupleSize);
}

Json strings(const std::vector<std::string>& values) {
    return typed("string", values, 1);
}

Json sampledDoubles(const std::vector<std::pair<std::string, std::vector<double>>>& samples, int tupleSize) {
    Json byTime = Json::object();
    for (const auto& [time, values] : samples) {
        byTime[time] = values;
    }
    return typed("double", byTime, tupleSize);
}

Json translateXform(const Imath::V3d& t) {
    return {{"translate", doubles({t.x, t.y, t.z})}};
}

double maxDifference(const Imath::M44d& a, const Imath::M44d& b) {
    double worst = 0.0;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            worst = std::max(worst, std::fabs(a[i][j] - b[i][j]));
        }
    }
    return worst;
}

} // namespace VexilTest
