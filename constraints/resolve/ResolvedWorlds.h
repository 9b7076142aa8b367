// World transforms of locations at or below resolved listed locations, continued from the memo's worlds of
// those locations rather than recomputed from "/root" with every resolved `xform` as an override.
#pragma once

#include "constraints/resolve/ConstraintListData.h"
#include "constraints/resolve/ConstraintTypes.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// The answers need the host's XFormUtilHost suite of version 3 (`available()`); without it the caller
/// asks with overrides instead, which gives the same matrices. A location `n` levels below the top of a
/// nesting of resolved listed locations then costs one continuation from its nearest resolved ancestor,
/// not a walk of `n` overrides. For one cook; the caches it fills are the memo's.
class ResolvedWorlds {
public:
    ResolvedWorlds(Qn::VexilCookInterface& cookInterface, const ConstraintListData& list)
        : m_cookInterface(cookInterface), m_list(list) {}

    /// True when the host can continue a world transform from an ancestor's.
    static bool available();

    /// The sample times of every transform operation of the chain of `slot`'s location, its resolution
    /// and its resolved ancestors' applied; empty when none is sampled.
    std::vector<float> sampleTimes(size_t slot);

    /// The world transform of `slot`'s location, its resolution and its resolved ancestors' applied, at
    /// each of `times` (16 doubles per time, row by row, written to `out`).
    void worldsAt(size_t slot, const float* times, size_t count, double* out);

private:
    /// The slot of the nearest resolved listed strict ancestor of `slot`'s location, or none.
    std::optional<size_t> above(size_t slot);
    /// A literal group that overrides `slot`'s location's `xform` by its resolved one.
    Qn::GroupAttribute ownOverride(size_t slot) const;

    Qn::VexilCookInterface& m_cookInterface;
    const ConstraintListData& m_list;
};

} // namespace Private
} // namespace Vexil3Constraints
