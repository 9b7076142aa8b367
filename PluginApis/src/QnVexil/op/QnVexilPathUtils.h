// Scene-graph location paths: ancestry and relative paths, as the ops and the resolve side use them.
#pragma once

#include <string>
#include <vector>

namespace Qn {
namespace PathUtils {

/// The path without trailing slashes; a path made only of slashes becomes "/".
std::string stripTrailingSlashes(const std::string& path);

/// True when `ancestor` lies strictly above `path`: with trailing slashes removed, `ancestor` is
/// non-empty and shorter, `path` begins with it, and the next character of `path` is a slash or
/// `ancestor` is the root path "/". A path is never its own strict ancestor.
bool isStrictAncestor(const std::string& ancestor, const std::string& path);

/// True when `path` equals `ancestor` or lies below it (trailing slashes ignored).
bool isAtOrBelow(const std::string& ancestor, const std::string& path);

/// The components between slashes; an absolute path yields an empty first component.
std::vector<std::string> splitPath(const std::string& path);

/// `target` relative to `base`: one ".." for each component of `base` after their common leading
/// components, then the components of `target` after them, joined with slashes. Equal paths give "".
std::string makeRelativePath(const std::string& base, const std::string& target);

} // namespace PathUtils
} // namespace Qn
