#include "constraints/resolve/ArgumentsMemo.h"

#include <cstdint>
#include <functional>

namespace Vexil3Constraints {
namespace Private {

ArgumentsMemo::~ArgumentsMemo() {
    for (std::atomic<const Entry*>& slot : m_slots) {
        delete slot.load(std::memory_order_relaxed);
    }
}

size_t ArgumentsMemo::home(const void* kind, const void* handle) {
    const auto bits =
        reinterpret_cast<std::uintptr_t>(handle) ^ (reinterpret_cast<std::uintptr_t>(kind) >> 3);
    return std::hash<std::uintptr_t>()(bits >> 4) % kSlots;
}

std::pair<const ArgumentsMemo::Entry*, size_t> ArgumentsMemo::find(const void* kind,
                                                                   const void* handle) const {
    const size_t start = home(kind, handle);
    for (size_t probe = 0; probe < kProbes; ++probe) {
        const size_t at = (start + probe) % kSlots;
        const Entry* entry = m_slots[at].load(std::memory_order_acquire);
        if (entry == nullptr) {
            return {nullptr, at};
        }
        if (entry->kind == kind && entry->args.getHandle() == handle) {
            return {entry, at};
        }
    }
    return {nullptr, kSlots};
}

void ArgumentsMemo::publish(std::unique_ptr<Entry> entry, size_t from) {
    if (from == kSlots) {
        return;
    }
    const size_t start = home(entry->kind, entry->args.getHandle());
    for (size_t probe = (from + kSlots - start) % kSlots; probe < kProbes; ++probe) {
        const size_t at = (start + probe) % kSlots;
        const Entry* expected = nullptr;
        if (m_slots[at].compare_exchange_strong(expected, entry.get(), std::memory_order_acq_rel)) {
            static_cast<void>(entry.release()); // the slot owns it now
            return;
        }
        if (expected->kind == entry->kind && expected->args.getHandle() == entry->args.getHandle()) {
            return; // another cook read the same value first
        }
    }
}

} // namespace Private
} // namespace Vexil3Constraints
