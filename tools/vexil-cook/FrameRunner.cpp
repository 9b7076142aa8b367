#include "tools/vexil-cook/FrameRunner.h"

#include <boost/thread/thread.hpp>

#include <algorithm>
#include <atomic>
#include <vector>

namespace VexilHost {

namespace {

/// The stack of the engine's worker threads: a cook on one thread recurses once per level of the scene.
constexpr std::size_t kFrameStackBytes = std::size_t(64) << 20;

} // namespace

FrameSharing shareThreads(std::size_t frames, int threads) {
    FrameSharing sharing;
    sharing.atOnce = static_cast<int>(
        std::max<std::size_t>(1, std::min<std::size_t>(frames, static_cast<std::size_t>(threads))));
    sharing.threadsPerFrame = std::max(1, threads / sharing.atOnce);
    return sharing;
}

void runFrames(std::size_t frames, const FrameSharing& sharing,
               const std::function<bool(std::size_t)>& cookFrame) {
    std::atomic<std::size_t> next{0};
    std::atomic<bool> stop{false};
    const auto work = [&] {
        for (std::size_t i = next++; i < frames && !stop; i = next++) {
            if (!cookFrame(i)) {
                stop = true;
            }
        }
    };
    if (sharing.atOnce <= 1) {
        work();
        return;
    }
    boost::thread::attributes attributes;
    attributes.set_stack_size(kFrameStackBytes);
    std::vector<boost::thread> workers;
    for (int i = 0; i < sharing.atOnce; ++i) {
        workers.emplace_back(attributes, work);
    }
    for (boost::thread& worker : workers) {
        worker.join();
    }
}

} // namespace VexilHost
