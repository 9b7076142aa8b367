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
/// "vexil-cook: <prefix><path>: error: <errorMessage>", "vexil-cook: <prefix><path>: warning:
/// <warningMessage>", or "vexil-cook: <prefix><path>: error: <errorMessage> | warning:
/// <warningMessage>"; line feeds inside a message become "; ". `prefix` is empty, or "frame <F>: "
/// for a frame of a range. Returns the counts.
CookCounts reportCookProblems(const SceneLocation& root, const std::string& rootPath, std::ostream& err,
                              const std::string& prefix = std::string());

/// "vexil-cook: <prefix><n> locations cooked, <e> with errors, <w> with warnings" ("1 location" for
/// one).
std::string countsLine(const CookCounts& counts, const std::string& prefix = std::string());

} // namespace VexilHost
