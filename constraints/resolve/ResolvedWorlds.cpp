#include "constraints/resolve/ResolvedWorlds.h"

#include "PluginApis/src/QnVexil/op/VexilPluginHost.h"

#include <algorithm>
#include <stdexcept>

namespace Vexil3Constraints {
namespace Private {

namespace {

std::vector<float> sortedUnion(const std::vector<float>& a, const float* b, size_t count) {
    std::vector<float> out;
    out.reserve(a.size() + count);
    std::set_union(a.begin(), a.end(), b, b + count, std::back_inserter(out));
    return out;
}

} // namespace

bool ResolvedWorlds::available() {
    return Qn::VexilPluginHost::hasWorldBelow();
}

std::optional<size_t> ResolvedWorlds::above(size_t slot) {
    ResolvedWorld& world = m_list.memo->world(slot);
    int64_t known = world.above.load(std::memory_order_acquire);
    if (known == ResolvedWorld::kUnknown) {
        known = ResolvedWorld::kNone;
        for (size_t s = m_list.slotAbove[slot]; s != ConstraintListData::kNoSlot; s = m_list.slotAbove[s]) {
            if (m_list.memo->find(s)) {
                known = static_cast<int64_t>(s);
                break;
            }
        }
        world.above.store(known, std::memory_order_release);
    }
    return known == ResolvedWorld::kNone ? std::nullopt : std::optional<size_t>(static_cast<size_t>(known));
}

Qn::GroupAttribute ResolvedWorlds::ownOverride(size_t slot) const {
    Qn::GroupBuilder builder(QN_GROUP_BUILDER_MODE_LITERAL);
    builder.set(std::string(m_list.pathOfSlot(slot)), m_list.memo->find(slot)->xform);
    return builder.build();
}

std::vector<float> ResolvedWorlds::sampleTimes(size_t slot) {
    // The resolved ancestors up to the first whose times are known, then their times from the top down:
    // a walk with a stack of its own, as deep as the nesting is.
    std::vector<size_t> chain{slot};
    std::vector<float> times;
    bool topKnown = false;
    for (;;) {
        ResolvedWorld& world = m_list.memo->world(chain.back());
        {
            std::lock_guard<std::mutex> lock(world.mutex);
            if (world.times) {
                times = *world.times;
                topKnown = true;
                break;
            }
        }
        const std::optional<size_t> next = above(chain.back());
        if (!next) {
            break;
        }
        chain.push_back(*next);
    }
    for (size_t i = chain.size() - (topKnown ? 1 : 0); i-- > 0;) {
        const size_t s = chain[i];
        const size_t ancestorLength = i + 1 < chain.size() ? m_list.pathOfSlot(chain[i + 1]).size() : 0;
        const std::string path(m_list.pathOfSlot(s));
        const Qn::GroupAttribute overrides = ownOverride(s);
        std::vector<float> below(4);
        int64_t count = Qn::VexilPluginHost::copyWorldXformSampleTimesBelow(
            m_cookInterface, path, ancestorLength, below.data(), static_cast<int64_t>(below.size()),
            overrides);
        if (count > static_cast<int64_t>(below.size())) {
            below.resize(static_cast<size_t>(count));
            count = Qn::VexilPluginHost::copyWorldXformSampleTimesBelow(m_cookInterface, path, ancestorLength,
                                                                        below.data(), count, overrides);
        }
        if (count < 0) {
            throw std::runtime_error("The host gives no sample times for " + path + ".");
        }
        times = sortedUnion(times, below.data(), std::min(static_cast<size_t>(count), below.size()));
        ResolvedWorld& world = m_list.memo->world(s);
        std::lock_guard<std::mutex> lock(world.mutex);
        if (!world.times) {
            world.times = times;
        }
    }
    return times;
}

void ResolvedWorlds::worldsAt(size_t slot, const float* times, size_t count, double* out) {
    // Whether `s` has the world at every time asked; if so, copied to `into`.
    auto cached = [&](size_t s, double* into) {
        ResolvedWorld& world = m_list.memo->world(s);
        std::lock_guard<std::mutex> lock(world.mutex);
        for (size_t i = 0; i < count; ++i) {
            if (world.matrices.find(times[i]) == world.matrices.end()) {
                return false;
            }
        }
        for (size_t i = 0; i < count && into != nullptr; ++i) {
            std::copy_n(world.matrices.find(times[i])->second.getValue(), 16, into + 16 * i);
        }
        return true;
    };
    std::vector<size_t> chain{slot};
    std::vector<double> worlds(16 * count);
    bool topKnown = false;
    for (;;) {
        if (cached(chain.back(), worlds.data())) {
            topKnown = true;
            break;
        }
        const std::optional<size_t> next = above(chain.back());
        if (!next) {
            break;
        }
        chain.push_back(*next);
    }
    std::vector<double> next(16 * count);
    for (size_t i = chain.size() - (topKnown ? 1 : 0); i-- > 0;) {
        const size_t s = chain[i];
        const bool fromAncestor = i + 1 < chain.size();
        const size_t ancestorLength = fromAncestor ? m_list.pathOfSlot(chain[i + 1]).size() : 0;
        const std::string path(m_list.pathOfSlot(s));
        if (!Qn::VexilPluginHost::copyWorldXformAtTimesBelow(
                m_cookInterface, path, ancestorLength, times, static_cast<int64_t>(count),
                fromAncestor ? worlds.data() : nullptr, next.data(), ownOverride(s))) {
            throw std::runtime_error("The host gives no world transform for " + path + ".");
        }
        worlds.swap(next);
        ResolvedWorld& world = m_list.memo->world(s);
        std::lock_guard<std::mutex> lock(world.mutex);
        for (size_t t = 0; t < count; ++t) {
            const double* m = worlds.data() + 16 * t;
            world.matrices.emplace(times[t], Imath::M44d(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8],
                                                         m[9], m[10], m[11], m[12], m[13], m[14], m[15]));
        }
    }
    std::copy(worlds.begin(), worlds.end(), out);
}

} // namespace Private
} // namespace Vexil3Constraints
