// Finding samples by time: the ordered search gives what the documented scan gives (the nearest
// sample, differences in single precision, the earliest on a tie; the bracketing sample times), for
// ties made by rounding, infinities and NaN as much as for ordinary times.
#include "hostapi/attribute/SampleSearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

// The rules as the attribute documentation states them, one scan per lookup.
int64_t scannedNearest(const std::vector<float>& times, float time) {
    int64_t best = 0;
    float bestDiff = std::fabs(times[0] - time);
    for (size_t i = 1; i < times.size(); ++i) {
        if (std::fabs(times[i] - time) < bestDiff) {
            best = static_cast<int64_t>(i);
            bestDiff = std::fabs(times[i] - time);
        }
    }
    return best;
}

std::pair<float, float> scannedBracket(const std::vector<float>& times, float time) {
    if (!(time > times.front()))
        return {times.front(), times.front()};
    if (time >= times.back())
        return {times.back(), times.back()};
    size_t i = 0;
    while (times[i + 1] <= time)
        ++i;
    return {times[i], times[i] == time ? times[i] : times[i + 1]};
}

void expectSameAsScan(const std::vector<float>& times, float time) {
    const int64_t n = static_cast<int64_t>(times.size());
    EXPECT_EQ(Qn::nearestSampleIndex(times.data(), n, time), scannedNearest(times, time)) << "time " << time;
    float left = -7, right = -7;
    Qn::boundingSampleTimes(times.data(), n, time, left, right);
    const auto [scannedLeft, scannedRight] = scannedBracket(times, time);
    EXPECT_EQ(left, scannedLeft) << "time " << time;
    EXPECT_EQ(right, scannedRight) << "time " << time;
}

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kMax = std::numeric_limits<float>::max();
const float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(SampleSearch, NearestSampleByHand) {
    const struct {
        const char* what;
        std::vector<float> times;
        float time;
        int64_t nearest;
    } cases[] = {
        {"one sample", {2.0f}, -9.0f, 0},
        {"on a sample", {-1.0f, 0.0f, 1.0f}, 0.0f, 1},
        {"a tie half way keeps the earlier", {-1.0f, 0.0f, 1.0f}, 0.5f, 1},
        {"just past half way", {-1.0f, 0.0f, 1.0f}, 0.51f, 2},
        {"before the samples", {-1.0f, 0.0f, 1.0f}, -5.0f, 0},
        {"after the samples", {-1.0f, 0.0f, 1.0f}, 5.0f, 2},
        // 1e8 + 1, 1e8 + 0.5 and 1e8 all round to the float 1e8: three equal differences.
        {"a tie made by rounding", {-1.0f, -0.5f, 0.0f}, 1e8f, 0},
        {"a tie made by rounding, not the last", {-1.0f, -0.5f, 4.0f, 1e9f}, 1e8f, 0},
        // Both differences overflow to infinity.
        {"a tie made by overflow", {-kMax, -0.5f * kMax}, kMax, 0},
        {"plus infinity: every difference infinite", {-1.0f, 0.0f, 1.0f}, kInf, 0},
        {"minus infinity", {-1.0f, 0.0f, 1.0f}, -kInf, 0},
        {"NaN: no difference is smaller than the first", {-1.0f, 0.0f, 1.0f}, kNaN, 0},
        {"minus zero is time 0", {-1.0f, 0.0f, 1.0f}, -0.0f, 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Qn::nearestSampleIndex(c.times.data(), static_cast<int64_t>(c.times.size()), c.time),
                  c.nearest)
            << c.what;
        expectSameAsScan(c.times, c.time);
    }
    EXPECT_EQ(Qn::nearestSampleIndex(nullptr, 0, 0.0f), -1);
    float left = -1, right = -1;
    Qn::boundingSampleTimes(nullptr, 0, 1.0f, left, right);
    EXPECT_EQ(left, 0.0f);
    EXPECT_EQ(right, 0.0f);
}

TEST(SampleSearch, AgreesWithTheScanOnRandomTimes) {
    std::mt19937 random(19);
    for (const float spread : {1.0f, 1e4f, 1e30f}) {
        // Ascending times, some packed closer than a float step at the query's magnitude can tell apart.
        std::uniform_real_distribution<float> uniform(-spread, spread);
        std::vector<float> times;
        for (int i = 0; i < 300; ++i)
            times.push_back(uniform(random));
        for (int i = 0; i < 20; ++i)
            times.push_back(std::nextafter(times[static_cast<size_t>(i)], kInf));
        std::sort(times.begin(), times.end());
        times.erase(std::unique(times.begin(), times.end()), times.end());
        std::vector<float> queries = {kNaN, kInf, -kInf, -0.0f, 0.0f, 2 * spread, -2 * spread, 1e35f};
        for (size_t i = 0; i + 1 < times.size(); ++i) {
            queries.push_back(times[i]);
            queries.push_back(times[i] + 0.5f * (times[i + 1] - times[i]));
            queries.push_back(std::nextafter(times[i], -kInf));
        }
        for (int i = 0; i < 500; ++i)
            queries.push_back(uniform(random));
        for (float time : queries)
            expectSameAsScan(times, time);
    }
}

} // namespace
