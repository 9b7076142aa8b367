#include "tests/host/HostTestSupport.h"

#include "host/scene/AttributeDecoder.h"
#include "host/scene/SceneReader.h"
#include "host/services/HostServices.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace VexilHost {
namespace HostTest {

namespace {

/// Installs the attribute suite before any test builds an attribute, whichever test runs alone.
class HostAttributesEnvironment : public ::testing::Environment {
public:
    void SetUp() override { hostServices(); }
};

const ::testing::Environment* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new HostAttributesEnvironment);

} // namespace

Qn::Attribute decoded(const Json& encoded) {
    JsonPath path;
    return decodeAttribute(encoded, path);
}

SceneFile readScene(const Json& scene, const Json& ops) {
    return readSceneText(Json{{"scene", scene}, {"ops", ops}}.dump(), "test scene");
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
