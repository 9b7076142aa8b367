// How the resolve side reads the `target` paths of a constraint.
#pragma once

#include <string>
#include <string_view>

namespace Vexil3Constraints {
namespace Private {

/// The absolute, normalised form of a constraint's target path. An absolute target is taken as it
/// is; any other is relative to `basePath` (the constrained location). Empty components and "." are
/// dropped, ".." removes the component before it, trailing slashes go. A ".." that would climb above
/// the top of the path, or an empty target, yields "" (a target that cannot exist). A target that
/// normalises to `basePath` itself names the constrained location.
std::string resolveTargetPath(std::string_view basePath, std::string_view target);

} // namespace Private
} // namespace Vexil3Constraints
