#pragma once

#include <atomic>
#include <mutex>

namespace VexilHost {

/// Runs a function to completion at most once, as std::call_once does (a run that throws lets a later
/// caller try again), but without the system call glibc's once makes to wake waiters after every first
/// run: the engine passes one gate per cooked location, so that call was a large share of a cook.
class OnceGate {
public:
    /// Runs `function` unless a run has completed; concurrent callers wait for the running one.
    template <typename Function> void run(Function&& function) {
        if (m_done.load(std::memory_order_acquire)) {
            return;
        }
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_done.load(std::memory_order_relaxed)) {
            return;
        }
        function();
        m_done.store(true, std::memory_order_release);
    }

    /// Whether a run has completed; what it wrote is visible to the caller when true.
    bool done() const { return m_done.load(std::memory_order_acquire); }

private:
    std::atomic<bool> m_done{false};
    std::mutex m_mutex;
};

} // namespace VexilHost
