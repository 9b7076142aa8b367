// Finding a sample by time among strictly ascending sample times, in logarithmic time. Header-only and
// free of the suite, so that the host's attribute library and its clients apply the same rules.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Qn {

/// The index of the sample whose time is nearest to `time` among `numSamples` strictly ascending
/// `times`, differences taken in single precision; the earliest sample wins a tie, as in a scan from
/// index 0 that moves on only to a strictly smaller difference (so a NaN time, or an infinite one
/// that every difference overflows for, gives 0). -1 when there are no samples.
inline int64_t nearestSampleIndex(const float* times, int64_t numSamples, float time) {
    if (numSamples <= 0) {
        return -1;
    }
    if (std::isnan(time)) {
        return 0; // no difference compares smaller than the first one
    }
    const auto difference = [time](float sampleTime) {
        return std::fabs(sampleTime - time);
    };
    // The last sample at or before `time`. Differences shrink (never grow) up to it and grow after it,
    // rounding included, so the nearest sample is it or the next one.
    const int64_t before = (std::upper_bound(times, times + numSamples, time) - times) - 1;
    if (before < 0) {
        return 0;
    }
    const float best = difference(times[before]);
    if (before + 1 < numSamples && difference(times[before + 1]) < best) {
        return before + 1;
    }
    // Rounding can make earlier differences equal to the best one: the earliest of those wins.
    return std::partition_point(times, times + before, [&](float t) { return difference(t) > best; }) - times;
}

/// The two sample times that bracket `time` among `numSamples` strictly ascending `times`: both the
/// time of the sample `time` falls on, or both the first (last) time when `time` lies before (after)
/// the samples or is NaN; zeros when there are no samples.
inline void boundingSampleTimes(const float* times, int64_t numSamples, float time, float& left,
                                float& right) {
    if (numSamples <= 0) {
        left = right = 0.0f;
        return;
    }
    const float first = times[0];
    const float last = times[numSamples - 1];
    if (!(time > first)) { // also catches NaN
        left = right = first;
        return;
    }
    if (time >= last) {
        left = right = last;
        return;
    }
    // first < time < last: the last sample at or before `time` has a successor.
    const float* at = std::upper_bound(times, times + numSamples, time) - 1;
    left = *at;
    right = *at == time ? *at : at[1];
}

} // namespace Qn
