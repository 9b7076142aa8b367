#include "constraints/resolve/ResolvedMemo.h"

namespace Vexil3Constraints {
namespace Private {

ResolvedMemo::ResolvedMemo(size_t slots)
    : m_slots(std::make_unique<Slot[]>(slots)), m_results(new ResultStorage[slots]), m_count(slots) {}

ResolvedMemo::~ResolvedMemo() {
    for (size_t i = 0; i < m_count; ++i) {
        if (const ResolvedLocation* result = m_slots[i].result.load(std::memory_order_relaxed)) {
            result->~ResolvedLocation();
        }
        delete m_slots[i].world.load(std::memory_order_relaxed);
    }
}

ResolvedWorld& ResolvedMemo::world(size_t slot) const {
    std::atomic<ResolvedWorld*>& world = m_slots[slot].world;
    if (ResolvedWorld* made = world.load(std::memory_order_acquire)) {
        return *made;
    }
    auto fresh = std::make_unique<ResolvedWorld>();
    ResolvedWorld* expected = nullptr;
    if (world.compare_exchange_strong(expected, fresh.get(), std::memory_order_acq_rel)) {
        return *fresh.release();
    }
    return *expected; // another cook made it first
}

void ResolvedMemo::waitWhileClaimed(Slot& slot) {
    std::unique_lock<std::mutex> lock(m_mutex);
    // Counted before the check, and every access sequentially consistent: a release either sees this
    // waiter, or stores its release before the waiter's check reads it.
    m_waiters.fetch_add(1);
    m_released.wait(lock, [&] { return !slot.claimed.load() || slot.result.load() != nullptr; });
    m_waiters.fetch_sub(1);
}

void ResolvedMemo::release(Slot& slot) {
    slot.claimed.store(false);
    // Every resolution releases a claim and almost none is waited for: the lock, shared by every slot
    // and every thread, is taken only when someone waits.
    if (m_waiters.load() == 0) {
        return;
    }
    {
        // A waiter holds the lock from its check until it sleeps, so it cannot miss the wake-up.
        std::lock_guard<std::mutex> lock(m_mutex);
    }
    m_released.notify_all();
}

} // namespace Private
} // namespace Vexil3Constraints
