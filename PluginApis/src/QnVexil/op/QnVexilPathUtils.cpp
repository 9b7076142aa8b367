#include "PluginApis/src/QnVexil/op/QnVexilPathUtils.h"

#include <cstdint>
#include <cstring>

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

/// A 0x80 in each byte of `word` that is zero, and nothing elsewhere.
uint64_t zeroBytes(uint64_t word) {
    constexpr uint64_t kLow7 = 0x7f7f7f7f7f7f7f7fULL;
    return ~(((word & kLow7) + kLow7) | word | kLow7);
}

/// True for most paths in normal form, quickly: absolute, no trailing slash, no NUL, and no component
/// that is empty or begins with a dot. The rest (".hidden" included) are left to the full test.
bool plainlyNormal(std::string_view path) {
    if (path.size() < 2 || path[0] != '/' || path.back() == '/') {
        return false;
    }
    // '/' and '.' differ in their lowest bit only: a slash followed by either is found eight bytes at a
    // time (on little-endian machines, where the byte after a byte is the next higher one of a word).
    constexpr uint64_t kOnes = 0x0101010101010101ULL;
    constexpr uint64_t kSlashes = 0x2f * kOnes;
    size_t i = 0;
    if (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__) {
        uint64_t slashBefore = 0; // the last byte of the previous word was a slash
        for (; i + 8 <= path.size(); i += 8) {
            uint64_t word;
            std::memcpy(&word, path.data() + i, 8);
            const uint64_t slashes = zeroBytes(word ^ kSlashes);
            const uint64_t slashesOrDots = zeroBytes((word | kOnes) ^ kSlashes);
            if (zeroBytes(word) != 0 || (((slashes << 8) | slashBefore) & slashesOrDots) != 0) {
                return false;
            }
            slashBefore = slashes >> 56;
        }
        if (slashBefore != 0 && i < path.size() && (path[i] | 1) == '/') {
            return false;
        }
    }
    for (i = i == 0 ? 1 : i; i < path.size(); ++i) {
        if (path[i] == '\0' || (path[i - 1] == '/' && (path[i] | 1) == '/')) {
            return false;
        }
    }
    return true;
}

} // namespace

bool isLocationName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
           name.find('\0') == std::string_view::npos;
}

bool isNormalisedPath(std::string_view path) {
    if (path == "/" || plainlyNormal(path)) {
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
