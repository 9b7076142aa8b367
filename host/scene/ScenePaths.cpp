#include "host/scene/ScenePaths.h"

#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"

namespace VexilHost {

namespace {
const std::string kRootPath = "/root";
}

bool isLocationName(const std::string& name) {
    return Qn::PathUtils::isLocationName(name);
}

bool isLocationPath(const std::string& path) {
    return (path == kRootPath || path.compare(0, kRootPath.size() + 1, kRootPath + "/") == 0) &&
           Qn::PathUtils::isNormalisedPath(path);
}

const SceneLocation* findChild(const SceneLocation& parent, const std::string& name) {
    for (const SceneLocation& child : parent.children) {
        if (child.name == name) {
            return &child;
        }
    }
    return nullptr;
}

const SceneLocation* findLocation(const SceneLocation& root, const std::string& path) {
    if (!isLocationPath(path)) {
        return nullptr;
    }
    const SceneLocation* location = &root;
    size_t start = kRootPath.size() + 1;
    while (start <= path.size()) {
        const size_t slash = path.find('/', start);
        const size_t end = slash == std::string::npos ? path.size() : slash;
        const std::string name = path.substr(start, end - start);
        const SceneLocation* next = findChild(*location, name);
        if (!next) {
            return nullptr;
        }
        location = next;
        start = end + 1;
    }
    return location;
}

} // namespace VexilHost
