#include "tests/host/HostTestSupport.h"

#include "host/services/HostServices.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <stdexcept>

namespace VexilHost {
namespace HostTest {

void useHostAttributes() {
    hostServices();
}

namespace {

/// Installs the attribute suite before any test builds an attribute, whichever test runs alone.
class HostAttributesEnvironment : public ::testing::Environment {
public:
    void SetUp() override { useHostAttributes(); }
};

const ::testing::Environment* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new HostAttributesEnvironment);

} // namespace

Qn::GroupAttribute group(const NamedAttrs& children) {
    useHostAttributes();
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    for (const auto& child : children) {
        builder.set(child.first, child.second);
    }
    return builder.build();
}

Qn::DoubleAttribute doubles(const std::vector<double>& values, int64_t tupleSize) {
    useHostAttributes();
    return Qn::DoubleAttribute(values, tupleSize);
}

Qn::DoubleAttribute animated(const std::vector<std::pair<float, std::vector<double>>>& samples,
                             int64_t tupleSize) {
    useHostAttributes();
    std::map<float, std::vector<double>> map(samples.begin(), samples.end());
    return Qn::DoubleAttribute(map, tupleSize);
}

Qn::StringAttribute strings(const std::vector<std::string>& values) {
    useHostAttributes();
    return Qn::StringAttribute(values);
}

SceneLocation location(const std::string& name, const NamedAttrs& attrs,
                       std::vector<SceneLocation> children) {
    SceneLocation out;
    out.name = name;
    out.attrs = group(attrs);
    out.children = std::move(children);
    return out;
}

OpDescription op(const std::string& type, const std::string& where, const NamedAttrs& args) {
    OpDescription out;
    out.type = type;
    out.location = where;
    out.args = group(args);
    return out;
}

SceneFile sceneFile(SceneLocation root, std::vector<OpDescription> ops) {
    SceneFile file;
    file.root = std::move(root);
    file.root.name = "root";
    file.ops = std::move(ops);
    return file;
}

const SceneLocation* find(const SceneLocation& root, const std::string& path) {
    if (path == "/root") {
        return &root;
    }
    if (path.compare(0, 6, "/root/") != 0) {
        return nullptr;
    }
    const SceneLocation* current = &root;
    size_t start = 6;
    while (current != nullptr && start <= path.size()) {
        size_t slash = path.find('/', start);
        if (slash == std::string::npos) {
            slash = path.size();
        }
        const std::string name = path.substr(start, slash - start);
        const SceneLocation* next = nullptr;
        for (const SceneLocation& child : current->children) {
            if (child.name == name) {
                next = &child;
                break;
            }
        }
        current = next;
        start = slash + 1;
    }
    return current;
}

Qn::Attribute attrOf(const SceneLocation& root, const std::string& path, const std::string& name) {
    const SceneLocation* location = find(root, path);
    if (location == nullptr || !location->attrs.isValid()) {
        return Qn::Attribute();
    }
    return location->attrs.getChildByName(name);
}

std::string stringOf(const SceneLocation& root, const std::string& path, const std::string& name) {
    return Qn::StringAttribute(attrOf(root, path, name)).getValue("<none>", false);
}

int intOf(const SceneLocation& root, const std::string& path, const std::string& name) {
    return Qn::IntAttribute(attrOf(root, path, name)).getValue(-999, false);
}

std::vector<std::string> attrNamesOf(const SceneLocation& root, const std::string& path) {
    std::vector<std::string> names;
    const SceneLocation* location = find(root, path);
    if (location != nullptr && location->attrs.isValid()) {
        for (int64_t i = 0; i < location->attrs.getNumberOfChildren(); ++i) {
            names.push_back(location->attrs.getChildName(i));
        }
    }
    return names;
}

std::string testPluginDir() {
    return VEXIL_TEST_PLUGIN_DIR;
}

std::string badPluginDir() {
    return VEXIL_BAD_PLUGIN_DIR;
}

const OpRegistry& testRegistry() {
    static const OpRegistry registry = [] {
        std::ostringstream diagnostics;
        OpRegistry loaded = OpRegistry::load({testPluginDir()}, diagnostics);
        if (!diagnostics.str().empty()) {
            throw std::runtime_error("loading the test ops: " + diagnostics.str());
        }
        return loaded;
    }();
    return registry;
}

void* testSymbol(const char* symbol) {
    testRegistry();
    const std::string path = testPluginDir() + "/VexilTestOps.so";
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    void* found = handle != nullptr ? dlsym(handle, symbol) : nullptr;
    if (handle != nullptr) {
        dlclose(handle); // drops the reference RTLD_NOLOAD took; the registry keeps its own
    }
    if (found == nullptr) {
        throw std::runtime_error(std::string("no ") + symbol + " in the loaded test op library " + path);
    }
    return found;
}

int64_t testCounter(const char* symbol) {
    return reinterpret_cast<int64_t (*)()>(testSymbol(symbol))();
}

} // namespace HostTest
} // namespace VexilHost
