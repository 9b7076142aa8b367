// Scene-graph location paths: the one rule by which a written path names a location, ancestry and
// relative paths. Used by the ops, the resolve side and the command alike.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Qn {
namespace PathUtils {

/// The location a written path names: an absolute path as it is, any other relative to `basePath` (an
/// absolute path in this form itself; with an empty `basePath` a relative path names nothing). Empty
/// components and "." are dropped, ".." removes the component before it, trailing slashes go. A path
/// that names nothing gives "": an empty one, a relative one without a base, one whose ".." climbs above
/// the top, one holding a NUL. A path already in this form is returned as it is.
std::string normalisedPath(std::string_view basePath, std::string_view path);

/// True for an absolute path already in the form normalisedPath gives: "/" and then non-empty
/// components, none of them "." or "..", separated by single slashes, with no trailing slash and no NUL.
bool isNormalisedPath(std::string_view path);

/// True for a name a location can have: not empty, not "." or "..", without a slash or a NUL.
bool isLocationName(std::string_view name);

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
