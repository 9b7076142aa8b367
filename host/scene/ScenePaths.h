// Location paths of the in-memory scene: "/root", "/root/world/geo".
#pragma once

#include "host/scene/SceneTypes.h"

#include <string>

namespace VexilHost {

/// True for "/root" and for "/root/" followed by location names (see isLocationName) separated by
/// single slashes, with no trailing slash: a path in the form the one path rule gives.
bool isLocationPath(const std::string& path);

/// True for a name a location may have below "/root": not empty, not "." or "..", and holding no "/"
/// and no NUL (the path rule's own test).
bool isLocationName(const std::string& name);

/// The child of `parent` named `name`, or null when it has none.
const SceneLocation* findChild(const SceneLocation& parent, const std::string& name);

/// The location at `path` in the tree whose root is "/root", or null when there is none (or when
/// `path` is not a location path).
const SceneLocation* findLocation(const SceneLocation& root, const std::string& path);

} // namespace VexilHost
