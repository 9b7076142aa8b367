#include "constraints/resolve/ResolvedMemo.h"

namespace Vexil3Constraints {
namespace Private {

ResolvedMemo::ResolvedMemo(size_t slots) : m_slots(std::make_unique<Slot[]>(slots)), m_count(slots) {}

ResolvedMemo::~ResolvedMemo() {
    for (size_t i = 0; i < m_count; ++i) {
        delete m_slots[i].result.load(std::memory_order_relaxed);
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
    m_released.wait(lock, [&] {
        return !slot.claimed.load(std::memory_order_acquire) ||
               slot.result.load(std::memory_order_acquire) != nullptr;
    });
}

void ResolvedMemo::release(Slot& slot) {
    {
        // Under the lock, so that a waiter between its check and its sleep cannot miss the wake-up.
        std::lock_guard<std::mutex> lock(m_mutex);
        slot.claimed.store(false, std::memory_order_release);
    }
    m_released.notify_all();
}

} // namespace Private
} // namespace Vexil3Constraints
