#include "host/engine/OnceGate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

TEST(OnceGate, ManyThreadsRunTheFunctionOnceAndAllSeeItsResult) {
    for (int round = 0; round < 50; ++round) {
        VexilHost::OnceGate gate;
        std::atomic<int> runs{0};
        int value = 0; // written only inside the gate
        std::atomic<int> wrongReads{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([&] {
                gate.run([&] {
                    ++runs;
                    value = 42;
                });
                if (value != 42) {
                    ++wrongReads;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(runs.load(), 1);
        EXPECT_EQ(wrongReads.load(), 0);
        EXPECT_TRUE(gate.done());
    }
}

TEST(OnceGate, ARunThatThrowsLeavesTheGateOpenForTheNextCaller) {
    VexilHost::OnceGate gate;
    EXPECT_THROW(gate.run([] { throw std::runtime_error("first attempt"); }), std::runtime_error);
    EXPECT_FALSE(gate.done());
    int runs = 0;
    gate.run([&] { ++runs; });
    gate.run([&] { ++runs; });
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(gate.done());
}

} // namespace
