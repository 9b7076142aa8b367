// A count that many threads change at once, such as the number of live attributes.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace VexilHost {

/// Each thread adds to a shard on a cache line of its own, so that counting every attribute made and
/// freed does not make cook threads wait on one another; a read sums the shards.
class ShardedCounter {
public:
    void add(int64_t delta) {
        m_shards[shardOfThisThread()].value.fetch_add(delta, std::memory_order_relaxed);
    }

    /// The sum of every change so far; exact once no thread is changing it.
    int64_t sum() const {
        int64_t total = 0;
        for (const Shard& shard : m_shards) {
            total += shard.value.load(std::memory_order_relaxed);
        }
        return total;
    }

private:
    static constexpr size_t kShards = 64;
    struct alignas(64) Shard {
        std::atomic<int64_t> value{0};
    };

    static size_t shardOfThisThread() {
        static std::atomic<size_t> next{0};
        // Initial-exec: read at a fixed offset from the thread pointer rather than through a call
        // every time; the library takes these few bytes of static TLS even when opened late.
        static thread_local const size_t mine __attribute__((tls_model("initial-exec"))) =
            next.fetch_add(1, std::memory_order_relaxed) % kShards;
        return mine;
    }

    Shard m_shards[kShards];
};

} // namespace VexilHost
