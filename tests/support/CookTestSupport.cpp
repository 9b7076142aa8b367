#include "CookTestSupport.h"

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace VexilTest {

namespace {

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
}

std::string quote(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

std::string temporaryPath(const std::string& suffix) {
    static std::atomic<int> counter{0};
    const char* dir = std::getenv("TMPDIR");
    return std::string(dir && *dir ? dir : "/tmp") + "/vexil-test-" + std::to_string(::getpid()) + "-" +
           std::to_string(counter++) + suffix;
}

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

} // namespace

CookResult cookFile(const std::string& path, const std::vector<std::string>& arguments) {
    const std::string outPath = temporaryPath(".out");
    const std::string errPath = temporaryPath(".err");
    std::string command = quote(VEXIL_COOK_BINARY) + " --plugin-path " + quote(VEXIL_PLUGIN_DIR);
    for (const std::string& argument : arguments) {
        command += " " + quote(argument);
    }
    command += " " + quote(path) + " >" + quote(outPath) + " 2>" + quote(errPath) + " </dev/null";
    const int status = std::system(command.c_str());
    CookResult result;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = readAll(outPath);
    result.err = readAll(errPath);
    std::remove(outPath.c_str());
    std::remove(errPath.c_str());
    result.scene = Json::parse(result.out, nullptr, false);
    if (result.scene.is_discarded()) {
        result.scene = Json();
    }
    return result;
}

CookResult cook(const Json& scene, const std::vector<std::string>& arguments) {
    const std::string scenePath = temporaryPath(".json");
    {
        std::ofstream out(scenePath);
        out << scene.dump(2);
    }
    CookResult result = cookFile(scenePath, arguments);
    std::remove(scenePath.c_str());
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

Json resolveOps() {
    return Json::array({{{"type", "ConstraintResolve"}, {"location", "/root"}, {"args", Json::object()}}});
}

bool hasLocation(const Json& cooked, const std::string& path) {
    if (!cooked.contains("scene") || path.rfind("/root", 0) != 0) {
        return false;
    }
    const Json* node = &cooked["scene"];
    size_t start = 5;
    while (start < path.size()) {
        size_t slash = path.find('/', start + 1);
        const std::string name =
            path.substr(start + 1, (slash == std::string::npos ? path.size() : slash) - start - 1);
        if (!node->contains("children") || !(*node)["children"].contains(name)) {
            return false;
        }
        node = &(*node)["children"][name];
        start = slash == std::string::npos ? path.size() : slash;
    }
    return true;
}

const Json& location(const Json& cooked, const std::string& path) {
    if (!hasLocation(cooked, path)) {
        throw std::runtime_error("no location " + path + " in the cooked scene");
    }
    const Json* node = &cooked["scene"];
    size_t start = 5;
    while (start < path.size()) {
        size_t slash = path.find('/', start + 1);
        const std::string name =
            path.substr(start + 1, (slash == std::string::npos ? path.size() : slash) - start - 1);
        node = &(*node)["children"][name];
        start = slash == std::string::npos ? path.size() : slash;
    }
    return *node;
}

const Json& attribute(const Json& cooked, const std::string& path, const std::string& name) {
    static const Json null;
    if (!hasLocation(cooked, path)) {
        return null;
    }
    const Json* node = &location(cooked, path);
    if (!node->contains("attrs")) {
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
    Json attr = {{"double", values}};
    if (tupleSize != 1) {
        attr["tupleSize"] = tupleSize;
    }
    return attr;
}

Json floats(const std::vector<double>& values, int tupleSize) {
    Json attr = {{"float", values}};
    if (tupleSize != 1) {
        attr["tupleSize"] = tupleSize;
    }
    return attr;
}

Json ints(const std::vector<int>& values, int tupleSize) {
    Json attr = {{"int", values}};
    if (tupleSize != 1) {
        attr["tupleSize"] = tupleSize;
    }
    return attr;
}

Json animatedDoubles(const std::map<std::string, std::vector<double>>& timeSamples, int tupleSize) {
    Json byTime = Json::object();
    for (const auto& [time, values] : timeSamples) {
        byTime[time] = values;
    }
    Json attr = {{"double", byTime}};
    if (tupleSize != 1) {
        attr["tupleSize"] = tupleSize;
    }
    return attr;
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
