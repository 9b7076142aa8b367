// Two cooks that need one listed location at once: the second finds it claimed and sleeps until the
// claim is given back. It must then wake, and take the published result, or resolve the location
// itself when the first cook gave its claim up without a result.
#include "constraints/resolve/ResolvedMemo.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>

using namespace Vexil3Constraints::Private;

TEST(ResolvedMemo, ACookWaitingForAClaimWakesWhenItIsGivenBack) {
    ASSERT_TRUE(Qn::Attribute::loadSuite(VEXIL_BUILD_DIR));
    for (const bool givesUp : {false, true}) {
        SCOPED_TRACE(givesUp ? "the first cook gives its claim up" : "the first cook publishes");
        ResolvedMemo memo(1);
        std::promise<void> claimed;
        std::promise<void> finish;
        std::thread first([&] {
            try {
                memo.resolveOnce(0, [&] {
                    claimed.set_value();
                    finish.get_future().wait();
                    if (givesUp) {
                        throw std::runtime_error("aborted");
                    }
                    ResolvedLocation published;
                    published.dependencyFailed = true;
                    return published;
                });
            } catch (const std::runtime_error&) {
            }
        });
        claimed.get_future().wait();
        bool resolvedBySecond = false;
        std::thread second([&] {
            const ResolvedLocation& got = memo.resolveOnce(0, [&] {
                resolvedBySecond = true;
                return ResolvedLocation();
            });
            EXPECT_EQ(got.dependencyFailed, !givesUp);
        });
        // Time for the second cook to find the claim and sleep on it. Were it slower, it would find
        // the slot already given back and the wake-up would go untested, never fail wrongly.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        finish.set_value();
        first.join();
        second.join();
        EXPECT_EQ(resolvedBySecond, givesUp);
    }
}
