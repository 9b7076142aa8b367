#include "constraints/resolve/TargetPaths.h"

#include <vector>

namespace Vexil3Constraints {
namespace Private {

namespace {

// Applies the components of `path` to `stack`; false when ".." climbs above the top.
bool applyComponents(std::string_view path, std::vector<std::string>& stack) {
    size_t start = 0;
    while (start <= path.size()) {
        size_t slash = path.find('/', start);
        if (slash == std::string_view::npos) {
            slash = path.size();
        }
        std::string component(path.substr(start, slash - start));
        if (component == "..") {
            if (stack.empty()) {
                return false;
            }
            stack.pop_back();
        } else if (!component.empty() && component != ".") {
            stack.push_back(std::move(component));
        }
        start = slash + 1;
    }
    return true;
}

/// True for an absolute path already in normal form: every component non-empty and neither "." nor
/// "..", no trailing slash. Such a target resolves to itself.
bool isNormalAbsolute(std::string_view path) {
    if (path.size() < 2 || path[0] != '/' || path.back() == '/') {
        return false;
    }
    size_t start = 1;
    while (start <= path.size()) {
        size_t slash = path.find('/', start);
        if (slash == std::string_view::npos) {
            slash = path.size();
        }
        const size_t length = slash - start;
        if (length == 0 || (length == 1 && path[start] == '.') ||
            (length == 2 && path[start] == '.' && path[start + 1] == '.')) {
            return false;
        }
        start = slash + 1;
    }
    return true;
}

} // namespace

std::string resolveTargetPath(std::string_view basePath, std::string_view target) {
    if (target.empty()) {
        return std::string();
    }
    if (isNormalAbsolute(target)) {
        return std::string(target); // the common case, without splitting and joining
    }
    std::vector<std::string> stack;
    if (target[0] != '/' && !applyComponents(basePath, stack)) {
        return std::string();
    }
    if (!applyComponents(target, stack)) {
        return std::string();
    }
    std::string result;
    for (const std::string& component : stack) {
        result += '/';
        result += component;
    }
    return result.empty() ? std::string("/") : result;
}

} // namespace Private
} // namespace Vexil3Constraints
