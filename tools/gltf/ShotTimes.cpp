#include "tools/gltf/ShotTimes.h"

#include <algorithm>

namespace VexilHost {
namespace Gltf {

std::vector<float> shutterOffsets(const TimeSlice& time) {
    const int count = time.numSamples < 1 ? 1 : time.numSamples;
    std::vector<float> offsets;
    offsets.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        // Computed in double and rounded once, so that the last offset is exactly shutterClose.
        const double along = count == 1 ? 0.0 : static_cast<double>(i) / (count - 1);
        offsets.push_back(
            static_cast<float>(time.shutterOpen + along * (double(time.shutterClose) - time.shutterOpen)));
    }
    std::sort(offsets.begin(), offsets.end());
    offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
    return offsets;
}

double secondsAt(double frame, double offset, double fps) {
    return (frame + offset) / fps;
}

} // namespace Gltf
} // namespace VexilHost
