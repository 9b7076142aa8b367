// Running the cooks of several frames, several at a time when that is faster.
#pragma once

#include <cstddef>
#include <functional>

namespace VexilHost {

/// How the frames of a run share the cook threads.
struct FrameSharing {
    int atOnce = 1;          ///< frames cooked at the same time
    int threadsPerFrame = 1; ///< cook threads of each
};

/// The sharing of `threads` cook threads (at least 1) among `frames` frames: as many frames at once
/// as there are threads (frames share nothing, so that is the fastest use of them), the threads left
/// over going to the frames' own cooks.
FrameSharing shareThreads(std::size_t frames, int threads);

/// Calls `cookFrame(i)` for every i below `frames`, `sharing.atOnce` of them at a time, each on a
/// thread with the stack of the engine's workers (the calling thread when one at a time). Once
/// `cookFrame` returns false no further frame is started. Returns when all started frames are done.
void runFrames(std::size_t frames, const FrameSharing& sharing,
               const std::function<bool(std::size_t)>& cookFrame);

} // namespace VexilHost
