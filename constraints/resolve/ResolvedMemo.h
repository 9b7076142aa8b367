// The resolved listed locations of one ConstraintResolve traversal: each resolved once, by whichever
// cook needs it first, and read by every later cook that depends on it.
#pragma once

#include "constraints/resolve/ConstraintTypes.h"
#include "hostapi/attribute/GroupAttribute.h"

#include <boost/container/flat_map.hpp>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <type_traits>
#include <vector>

namespace Vexil3Constraints {
namespace Private {

/// A location after resolution of its constraints. Immutable once published in a ResolvedMemo.
struct ResolvedLocation {
    OutputAttributes attributes;
    Qn::GroupAttribute xform;
    bool dependencyFailed = false; ///< some constraint failed because the list cannot order its needs
};

/// What the locations below a resolved listed location need of it: its world transform with its
/// resolution applied, kept as it is asked for so that no chain is recomputed from "/root" for each
/// location below. Every value is a function of the input and the resolutions, whichever cook adds it.
struct ResolvedWorld {
    static constexpr int64_t kUnknown = -2;
    static constexpr int64_t kNone = -1;
    /// The slot of the nearest resolved listed strict ancestor, kNone, or kUnknown until found.
    std::atomic<int64_t> above{kUnknown};
    std::mutex mutex; ///< guards what follows
    /// The sample times of every operation of its chain, its resolution applied (may be empty).
    std::optional<std::vector<float>> times;
    /// Its world transform at the times asked for so far.
    boost::container::flat_map<float, Imath::M44d> matrices;
};

/// One slot per distinct listed path. A slot is claimed by the cook that resolves it; a cook that finds
/// it claimed waits for the result. Waits cannot form a cycle: a cook claims a location only once every
/// location it needs is published, so it never waits while holding a claim. A claim given up (the cook
/// aborted or failed) lets the next cook try. Results are published once and never change.
class ResolvedMemo {
public:
    explicit ResolvedMemo(size_t slots);
    ~ResolvedMemo();
    ResolvedMemo(const ResolvedMemo&) = delete;
    ResolvedMemo& operator=(const ResolvedMemo&) = delete;

    /// Whether the listed location of `slot` has constraint children in its input `xform`: -1 not known
    /// yet, 0 no, 1 yes. A fact of the input, the same for every cook, so it is found out once.
    int constrained(size_t slot) const { return m_slots[slot].constrained.load(std::memory_order_relaxed); }
    void setConstrained(size_t slot, bool constrained) const {
        m_slots[slot].constrained.store(constrained ? 1 : 0, std::memory_order_relaxed);
    }

    /// The world cache of `slot`, made on first use.
    ResolvedWorld& world(size_t slot) const;

    /// The published result of `slot`, or null.
    const ResolvedLocation* find(size_t slot) const {
        return m_slots[slot].result.load(std::memory_order_acquire);
    }

    /// Publishes what `resolve()` returns as the result of `slot`, unless another cook published it
    /// first (then waits for it when it is in progress); returns the published result. What `resolve`
    /// throws is rethrown, and the slot is free again.
    template <class Resolve> const ResolvedLocation& resolveOnce(size_t slot, Resolve&& resolve) {
        Slot& s = m_slots[slot];
        for (;;) {
            if (const ResolvedLocation* done = s.result.load(std::memory_order_acquire)) {
                return *done;
            }
            bool expected = false;
            if (s.claimed.compare_exchange_strong(expected, true, std::memory_order_acq_rel)) {
                if (const ResolvedLocation* done = s.result.load(std::memory_order_acquire)) {
                    release(s); // published between the look and the claim
                    return *done;
                }
                break;
            }
            waitWhileClaimed(s);
        }
        try {
            // Made in the slot's own storage: no allocation, and nothing to free for slots never resolved.
            const ResolvedLocation* result = new (&m_results[slot]) ResolvedLocation(resolve());
            s.result.store(result, std::memory_order_release);
        } catch (...) {
            release(s);
            throw;
        }
        release(s);
        return *s.result.load(std::memory_order_acquire);
    }

private:
    struct Slot {
        std::atomic<const ResolvedLocation*> result{nullptr};
        std::atomic<bool> claimed{false};
        mutable std::atomic<signed char> constrained{-1};
        mutable std::atomic<ResolvedWorld*> world{nullptr};
    };

    void waitWhileClaimed(Slot& slot);
    void release(Slot& slot);

    std::unique_ptr<Slot[]> m_slots;
    /// The storage of each slot's result, left uninitialised until the slot is resolved.
    using ResultStorage = std::aligned_storage_t<sizeof(ResolvedLocation), alignof(ResolvedLocation)>;
    std::unique_ptr<ResultStorage[]> m_results;
    size_t m_count;
    // Waiting is rare (two cooks needing one location at once): one lock for all slots.
    std::mutex m_mutex;
    std::atomic<int> m_waiters{0};
    std::condition_variable m_released;
};

} // namespace Private
} // namespace Vexil3Constraints
