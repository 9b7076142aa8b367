// The report of a cook on standard error: one line per location with an error or a warning, then
// the counts.
#pragma once

#include "host/scene/SceneTypes.h"

#include <cstddef>
#include <ostream>
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
/// "vexil-cook: <path>: error: <errorMessage>", "vexil-cook: <path>: warning: <warningMessage>", or
/// "vexil-cook: <path>: error: <errorMessage> | warning: <warningMessage>"; line feeds inside a
/// message become "; ". Returns the counts.
CookCounts reportCookProblems(const SceneLocation& root, const std::string& rootPath, std::ostream& err);

/// "vexil-cook: <n> locations cooked, <e> with errors, <w> with warnings" ("1 location" for one).
std::string countsLine(const CookCounts& counts);

} // namespace VexilHost
