// The entries of one ConstraintSetup traversal, indexed by base location once, at the traversal's first
// location, so that each location finds its own entries and whether it lies above one in a search
// rather than a walk of every entry.
#pragma once

#include "hostapi/attribute/GroupAttribute.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// Private data of a ConstraintSetup child traversal: built once, read-only afterwards.
class ConstraintSetupIndex {
public:
    /// The `baseLocationPath` of an entry (its string value nearest time 0, "" when absent), as the
    /// location it names by the one path rule ("/root/world/a/" and "/root//world/./a" name
    /// "/root/world/a"); a path that names no location is kept as written.
    static std::string basePathOf(const Qn::GroupAttribute& entry);

    /// Indexes the group entries of `constraints` whose `baseLocationPath` is not empty.
    explicit ConstraintSetupIndex(const Qn::GroupAttribute& constraints);

    /// The deletion function handed to the host.
    static void destroy(void* index);

    /// The positions in `constraints` of the entries whose base path is `path` byte for byte, ascending.
    std::vector<int64_t> entriesAt(std::string_view path) const;

    /// True when `path` is a strict ancestor of some entry's base (trailing slashes of `path` ignored).
    bool isAboveSomeBase(std::string_view path) const;

private:
    std::vector<std::pair<std::string, int64_t>> m_entries; ///< (base, position), sorted
    std::vector<std::string> m_bases; ///< the bases without trailing slashes, sorted, each once
};

} // namespace Private
} // namespace Vexil3Constraints
