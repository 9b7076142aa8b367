#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"

namespace Qn {
namespace PathUtils {

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
