// A progress line on a terminal for long cooks: locations cooked, rate and elapsed time, rewritten in
// place a few times a second once the cook has run for a while.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>

namespace VexilHost {

/// Shows the value of a counter of cooked locations on `out` while a cook runs. Nothing is written
/// before `delay` has passed, so short cooks stay silent.
class ProgressDisplay {
public:
    struct Settings {
        /// Quiet until this much time has passed since start().
        std::chrono::milliseconds delay{1000};
        /// Time between two updates of the line.
        std::chrono::milliseconds interval{250};
    };

    /// `counter` and `out` must outlive the display; `label` names what is being done ("cooking").
    ProgressDisplay(const std::atomic<int64_t>& counter, std::ostream& out, std::string label,
                    Settings settings);
    ProgressDisplay(const std::atomic<int64_t>& counter, std::ostream& out, std::string label)
        : ProgressDisplay(counter, out, std::move(label), Settings()) {}
    /// Stops the display.
    ~ProgressDisplay();
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    /// Starts the clock and a thread that updates the line every interval.
    void start();
    /// Stops the thread; when the line was shown, writes it a last time and ends it with a line feed.
    void stop();

    /// Rewrites the line for the time `elapsed` since start (quiet before the delay). Called by the
    /// thread; callable directly when no thread runs.
    void update(std::chrono::steady_clock::duration elapsed);
    /// Whether the line has been written at least once.
    bool shown() const { return m_shown; }

    /// The text of the line: "<label>: <n> locations cooked, <rate> per second, <seconds> s elapsed".
    static std::string line(const std::string& label, int64_t count, double elapsedSeconds);

private:
    void run();

    const std::atomic<int64_t>& m_counter;
    std::ostream& m_out;
    std::string m_label;
    Settings m_settings;
    std::chrono::steady_clock::time_point m_start;
    bool m_shown = false;
    bool m_stopping = false;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::thread m_thread;
};

/// True when standard error is a terminal.
bool standardErrorIsTerminal();

} // namespace VexilHost
