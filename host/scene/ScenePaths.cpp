#include "host/scene/ScenePaths.h"

namespace VexilHost {

namespace {
const std::string kRootPath = "/root";
}

bool isLocationName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

bool isLocationPath(const std::string& path) {
    if (path.compare(0, kRootPath.size(), kRootPath) != 0) {
        return false;
    }
    if (path.size() == kRootPath.size()) {
        return true;
    }
    if (path[kRootPath.size()] != '/') {
        return false;
    }
    size_t start = kRootPath.size() + 1;
    while (true) {
        const size_t slash = path.find('/', start);
        const size_t end = slash == std::string::npos ? path.size() : slash;
        if (!isLocationName(path.substr(start, end - start))) {
            return false;
        }
        if (slash == std::string::npos) {
            return true;
        }
        start = slash + 1;
    }
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
        const SceneLocation* next = nullptr;
        for (const SceneLocation& child : location->children) {
            if (child.name == name) {
                next = &child;
                break;
            }
        }
        if (!next) {
            return nullptr;
        }
        location = next;
        start = end + 1;
    }
    return location;
}

} // namespace VexilHost
