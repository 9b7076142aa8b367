#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"

namespace Qn {
namespace PathUtils {

namespace {

/// Applies the components of `path` to `stack`; false when ".." climbs above the top.
bool applyComponents(std::string_view path, std::vector<std::string_view>& stack) {
    size_t start = 0;
    while (start <= path.size()) {
        size_t slash = path.find('/', start);
        if (slash == std::string_view::npos) {
            slash = path.size();
        }
        const std::string_view component = path.substr(start, slash - start);
        if (component == "..") {
            if (stack.empty()) {
                return false;
            }
            stack.pop_back();
        } else if (!component.empty() && component != ".") {
            stack.push_back(component);
        }
        start = slash + 1;
    }
    return true;
}

} // namespace

bool isLocationName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
           name.find('\0') == std::string_view::npos;
}

bool isNormalisedPath(std::string_view path) {
    if (path == "/") {
        return true;
    }
    if (path.size() < 2 || path[0] != '/' || path.back() == '/') {
        return false;
    }
    // Every path read is checked: one search for a NUL in the whole path, then one search for the slash
    // that ends each component, which must be neither empty nor "." nor "..".
    if (path.find('\0') != std::string_view::npos) {
        return false;
    }
    size_t start = 1;
    while (start <= path.size()) {
        size_t slash = path.find('/', start);
        if (slash == std::string_view::npos) {
            slash = path.size();
        }
        const size_t length = slash - start;
        const bool dots =
            length <= 2 && length > 0 && path[start] == '.' && (length == 1 || path[start + 1] == '.');
        if (length == 0 || dots) {
            return false;
        }
        start = slash + 1;
    }
    return true;
}

std::string normalisedPath(std::string_view basePath, std::string_view path) {
    if (isNormalisedPath(path)) {
        return std::string(path); // the common case, without splitting and joining
    }
    if (path.empty() || path.find('\0') != std::string_view::npos || (path[0] != '/' && basePath.empty())) {
        return std::string();
    }
    std::vector<std::string_view> stack;
    if (path[0] != '/' && (basePath[0] != '/' || !applyComponents(basePath, stack))) {
        return std::string();
    }
    if (!applyComponents(path, stack)) {
        return std::string();
    }
    std::string result;
    for (std::string_view component : stack) {
        result += '/';
        result += component;
    }
    return result.empty() ? std::string("/") : result;
}

std::string stripTrailingSlashes(const std::string& path) {
    const size_t last = path.find_last_not_of('/');
    if (last == std::string::npos) {
        return path.empty() ? path : std::string("/");
    }
    return path.substr(0, last + 1);
}

bool isStrictAncestor(const std::string& ancestor, const std::string& path) {
    const std::string a = stripTrailingSlashes(ancestor);
    const std::string p = stripTrailingSlashes(path);
    if (a.empty() || a.size() >= p.size() || p.compare(0, a.size(), a) != 0) {
        return false;
    }
    return p[a.size()] == '/' || a == "/";
}

bool isAtOrBelow(const std::string& ancestor, const std::string& path) {
    return stripTrailingSlashes(ancestor) == stripTrailingSlashes(path) || isStrictAncestor(ancestor, path);
}

std::vector<std::string> splitPath(const std::string& path) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (true) {
        const size_t slash = path.find('/', start);
        if (slash == std::string::npos) {
            parts.push_back(path.substr(start));
            return parts;
        }
        parts.push_back(path.substr(start, slash - start));
        start = slash + 1;
    }
}

std::string makeRelativePath(const std::string& base, const std::string& target) {
    const std::vector<std::string> baseParts = splitPath(base);
    const std::vector<std::string> targetParts = splitPath(target);
    size_t common = 0;
    while (common < baseParts.size() && common < targetParts.size() &&
           baseParts[common] == targetParts[common]) {
        ++common;
    }
    std::vector<std::string> parts(baseParts.size() - common, "..");
    parts.insert(parts.end(), targetParts.begin() + static_cast<std::ptrdiff_t>(common), targetParts.end());
    std::string result;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) {
            result += '/';
        }
        result += parts[i];
    }
    return result;
}

} // namespace PathUtils
} // namespace Qn
