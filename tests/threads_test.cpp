// Every operator on many threads at once, on few, and inside a host's own tasks.
#include "Kelvane/terminateMessage.h"
#include "common/parallel.h"
#include "support/operatorCalls.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

#ifndef STRATUM_PLAIN_THREADS // a packaged scheduler drowns that sanitizer in false reports
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>
#endif

using namespace StratumTest;
using State = Outcome::State;

namespace {

// More than the largest grain of a loop.
constexpr std::size_t kPositions = 4000;

class ThreadsTest : public ::testing::Test {
protected:
    ThreadsTest() {
        for (const OperatorCall& call : calls)
            whole.push_back(call.run(plainly));
    }

    bool isWhole(std::size_t i) const { return calls[i].run(plainly) == whole[i]; }

    const std::vector<OperatorCall> calls = everyOperator(kPositions);
    std::vector<Outcome> whole;
};

TEST_F(ThreadsTest, ThreadsOfAHostDoNotDisturbEachOther) {
    constexpr std::size_t kThreads = 3;
    std::array<std::size_t, kThreads> wrong{};
    {
        std::vector<std::jthread> hosts;
        for (std::size_t host = 0; host < kThreads; ++host)
            hosts.emplace_back([&, host] {
                // Two together and one elsewhere.
                for (std::size_t i = 0; i < calls.size(); ++i)
                    wrong[host] += !isWhole((i + host / 2 * calls.size() / 2) % calls.size());
            });
    }
    EXPECT_EQ(wrong, (std::array<std::size_t, kThreads>{}));
}

#ifndef STRATUM_PLAIN_THREADS

TEST_F(ThreadsTest, TheirNumberDoesNotShow) {
    // However few processors there are.
    const tbb::global_control most(tbb::global_control::max_allowed_parallelism, 8);
    for (const int threads : {1, 2, 3, 8}) {
        tbb::task_arena arena(threads);
        for (std::size_t i = 0; i < calls.size(); ++i)
            EXPECT_TRUE(arena.execute([&] { return isWhole(i); }))
                << calls[i].name << " on " << threads;
    }
}

TEST_F(ThreadsTest, OperatorsRunInsideTasks) {
    std::atomic<std::size_t> good = 0;
    tbb::parallel_for(std::size_t{0}, calls.size(), [&](std::size_t i) { good += isWhole(i); });
    EXPECT_EQ(good, calls.size());
}

// Nobody will look at what such a call makes; but it must end well, and so must the next one.
TEST_F(ThreadsTest, ACancelledTaskGroupLeavesOutWorkAndNothingElse) {
    const tbb::global_control most(tbb::global_control::max_allowed_parallelism, 4);
    const auto runCancelled = [&](const OperatorCall& call, bool beforehand) {
        Outcome outcome;
        tbb::task_group_context context;
        std::atomic<bool> begun = false;
        const auto task = [&](int which) {
            if (beforehand || which == 1) {
                while (!beforehand && !begun)
                    std::this_thread::yield();
                context.cancel_group_execution();
            }
            begun = true;
            if (which == 0)
                outcome = call.run(plainly);
        };
        tbb::parallel_for(0, beforehand ? 1 : 2, task, tbb::simple_partitioner(), context);
        return outcome;
    };
    std::size_t leftOut = 0;
    for (std::size_t i = 0; i < calls.size(); ++i)
        for (const bool beforehand : {true, false}) {
            SCOPED_TRACE(calls[i].name);
            const Outcome outcome = runCancelled(calls[i], beforehand);
            if (calls[i].frame != OperatorCall::Frame::kLocations) {
                ASSERT_EQ(outcome.state, State::kNew);
                ASSERT_EQ(outcome.elements.size(), kPositions);
                for (std::size_t e = 0; e < kPositions; ++e) {
                    const bool untouched = outcome.elements[e] == calls[i].untouched;
                    leftOut += untouched;
                    ASSERT_TRUE(untouched || outcome.elements[e] == whole[i].elements[e]);
                }
            } else {
                EXPECT_TRUE(outcome.state == State::kNew || outcome.state == State::kEmpty);
            }
            EXPECT_TRUE(isWhole(i));
        }
    EXPECT_GT(leftOut, kPositions) << "no group was cancelled in time";
    EXPECT_TRUE(Kelvane::takeTerminateMessages().empty());
}

#endif

} // namespace
