#include "tools/views/ProgressDisplay.h"

#include <cstdio>
#include <unistd.h>

namespace VexilHost {

ProgressDisplay::ProgressDisplay(const std::atomic<int64_t>& counter, std::ostream& out, std::string label,
                                 Settings settings)
    : m_counter(counter), m_out(out), m_label(std::move(label)), m_settings(settings) {}

ProgressDisplay::~ProgressDisplay() {
    stop();
}

void ProgressDisplay::start() {
    m_start = std::chrono::steady_clock::now();
    m_thread = std::thread([this] { run(); });
}

void ProgressDisplay::run() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        m_wake.wait_for(lock, m_settings.interval);
        if (!m_stopping) {
            update(std::chrono::steady_clock::now() - m_start);
        }
    }
}

void ProgressDisplay::stop() {
    if (!m_thread.joinable()) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_all();
    m_thread.join();
    if (m_shown) {
        // The last line shows the final count; the line feed leaves it on the terminal.
        update(std::chrono::steady_clock::now() - m_start);
        m_out << "\n" << std::flush;
    }
}

void ProgressDisplay::update(std::chrono::steady_clock::duration elapsed) {
    if (elapsed < m_settings.delay) {
        return;
    }
    const double seconds = std::chrono::duration<double>(elapsed).count();
    // Carriage return and erase-to-end-of-line rewrite the line in place.
    m_out << "\r" << line(m_label, m_counter.load(std::memory_order_relaxed), seconds) << "\x1b[K"
          << std::flush;
    m_shown = true;
}

std::string ProgressDisplay::line(const std::string& label, int64_t count, double elapsedSeconds) {
    const double rate = elapsedSeconds > 0.0 ? static_cast<double>(count) / elapsedSeconds : 0.0;
    char text[160];
    std::snprintf(text, sizeof text, "%lld location%s cooked, %.0f per second, %.1f s elapsed",
                  static_cast<long long>(count), count == 1 ? "" : "s", rate, elapsedSeconds);
    return label + ": " + text;
}

bool standardErrorIsTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

} // namespace VexilHost
