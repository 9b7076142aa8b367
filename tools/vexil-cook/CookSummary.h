// The report of a cook on standard error: one line per location with an error or a warning, then
// the counts.
#pragma once

#include "host/scene/SceneTypes.h"

#include <cstddef>
#include <ostream>
#include <set>
#include <string>

namespace VexilHost {

/// The counts of a cooked tree.
struct CookCounts {
    std::size_t locations = 0;
    std::size_t errors = 0;   ///< locations whose "type" is "error"
    std::size_t warnings = 0; ///< locations with a "warningMessage"
};

/// Writes, in tree order, one line per location of the tree below `root` (whose path is `rootPath`)
/// that has "type" "error" or a "warningMessage":
/// "vexil-cook: <prefix><path>: error: <errorMessage>", "vexil-cook: <prefix><path>: warning:
/// <warningMessage>", or "vexil-cook: <prefix><path>: error: <errorMessage> | warning:
/// <warningMessage>"; line feeds inside a message become "; ". `prefix` is empty, or "frame <F>: "
/// for a frame of a range. A location of `resolveStarts` whose `xform` still holds a constraint child
/// gets the warning kUnresolvedAtStart (after its own warning): ConstraintResolve resolves nothing at
/// the location it starts at, so such a constraint would otherwise stay unresolved in silence. Returns
/// the counts.
CookCounts reportCookProblems(const SceneLocation& root, const std::string& rootPath, std::ostream& err,
                              const std::string& prefix = std::string(),
                              const std::set<std::string>& resolveStarts = {});

/// The warning of a constraint left where ConstraintResolve starts.
extern const char* const kUnresolvedAtStart;

/// The locations where the op chain's ConstraintResolve ops start.
std::set<std::string> resolveStartLocations(const SceneFile& scene);

/// "vexil-cook: <prefix><n> locations cooked, <e> with errors, <w> with warnings" ("1 location" for
/// one).
std::string countsLine(const CookCounts& counts, const std::string& prefix = std::string());

} // namespace VexilHost
