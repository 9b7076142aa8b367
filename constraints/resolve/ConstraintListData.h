// The constraint list as the ConstraintResolve traversal carries it below "/root/world".
#pragma once

#include "constraints/resolve/ArgumentsMemo.h"
#include "constraints/resolve/ListedPathIndex.h"
#include "constraints/resolve/ResolvedMemo.h"
#include "hostapi/attribute/DataAttribute.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// Private data of one ConstraintResolve child traversal: built once before the children are cooked,
/// read-only afterwards (shared by every location below) but for `memo`, which collects the resolved
/// listed locations of the traversal. Not copyable: the index views into `paths`.
struct ConstraintListData {
    ConstraintListData(const ConstraintListData&) = delete;
    ConstraintListData& operator=(const ConstraintListData&) = delete;

    /// The list entries, in list order, each as the location it names (trailing, doubled and "."
    /// components gone: the one path rule), viewing into `list` or, for the few entries not written in
    /// that form, into `rewritten`: the paths are not copied for every cook.
    std::vector<std::string_view> paths;
    std::deque<std::string> rewritten;
    Qn::StringAttribute list;
    /// Where a listed path stands in the list.
    struct Position {
        size_t first; ///< its first entry in `paths`
        size_t last;  ///< its last entry in `paths`
        size_t slot;  ///< its slot in `memo` (one per distinct path)
    };

    /// The listed path of each memo slot.
    std::vector<std::string_view> slotPaths;
    /// The slot of the nearest listed strict ancestor of each slot's path, or kNoSlot: the listed
    /// ancestors of a location are found by following these, not by looking up every prefix of a path
    /// (which costs the square of its depth).
    std::vector<size_t> slotAbove;
    static constexpr size_t kNoSlot = static_cast<size_t>(-1);
    std::string_view pathOfSlot(size_t slot) const { return slotPaths[slot]; }
    /// The first entry in `paths` of the listed path of `slot`.
    size_t firstEntryOfSlot(size_t slot) const { return m_positions[slot].first; }
    /// The listed locations resolved so far in this traversal, one slot per distinct listed path.
    std::unique_ptr<ResolvedMemo> memo;
    /// What the constraint kinds read from `args` values shared by constraints of this traversal.
    std::unique_ptr<ArgumentsMemo> arguments = std::make_unique<ArgumentsMemo>();

    /// Builds the data from the list attribute's sample nearest to time 0.
    static ConstraintListData* build(const Qn::StringAttribute& list);
    /// The deletion function handed to the host.
    static void destroy(void* data);

    /// True when some listed path lies strictly below `locationPath` (trailing slashes ignored).
    bool isStrictAncestorOfListed(const std::string& locationPath) const;

    /// True when `path` is an entry of the list.
    bool contains(std::string_view path) const {
        // Most paths asked about have a length no entry has: answered without hashing them.
        if (path.size() < kLengthsKnown && !m_entryLengths[path.size()]) {
            return false;
        }
        return find(path) != nullptr;
    }
    /// The position in `paths` of the first entry equal to `path`, or kNotListed.
    size_t firstIndexOf(std::string_view path) const;
    /// The position in `paths` of the last entry equal to `path`, or kNotListed.
    size_t lastIndexOf(std::string_view path) const;
    /// The slot of the nearest listed location at or above `path` (strictly above when `withSelf` is
    /// false), or kNoSlot.
    size_t nearestListed(std::string_view path, bool withSelf) const;

    /// The position of `path` in the list, or null when it is not listed.
    const Position* find(std::string_view path) const {
        if (path.size() < kLengthsKnown && !m_entryLengths[path.size()]) {
            return nullptr;
        }
        const uint32_t node = m_index.lookup(path);
        if (node == ListedPathIndex::kNone || m_index.node(node).slot == ListedPathIndex::kNone) {
            return nullptr;
        }
        return &m_positions[m_index.node(node).slot];
    }

    static constexpr size_t kNotListed = static_cast<size_t>(-1);

private:
    /// Indices into `paths`, ascending by byte-wise path order: made on the first ancestor test of a
    /// location written with a trailing slash, which no ordinary cook asks for.
    const std::vector<int32_t>& sortedOrder() const;

    explicit ConstraintListData(size_t entries) : m_index(entries) {}

    /// Every listed path and every strict ancestor of one (trailing slashes of entries ignored), each
    /// viewing into `paths`: membership, order and the ancestor test of a location in one lookup.
    ListedPathIndex m_index;
    /// The position of each slot's path.
    std::vector<Position> m_positions;

    static constexpr size_t kLengthsKnown = 256;
    /// Which lengths below kLengthsKnown some entry has.
    std::bitset<kLengthsKnown> m_entryLengths;

    mutable std::once_flag m_orderOnce;
    mutable std::vector<int32_t> m_order;
};

} // namespace Private
} // namespace Vexil3Constraints
