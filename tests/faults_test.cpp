// Every operator, with each of its requests for memory failing in turn, and cancelled at each of
// its questions: what its outputs hold then, that nothing is lost, and that the next call is whole.
#include "KDX/ChannelPool.h"
#include "KDX/HaloFilling.h"
#include "KDX/exceptionMessage.h"
#include "Kelvane/Logger.h"
#include "Kelvane/terminateMessage.h"
#include "Ostrum/Job.h"
#include "Ostrum/liveAllocations.h"
#include "locations/GenerateLocationOptions.h"
#include "support/failingNew.h"
#include "support/operatorCalls.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>

using namespace StratumTest;
using KDX::TileTree3D::ChannelMemoryPool;
using KDX::TileTree3D::HaloFilling;
using State = Outcome::State;
using Frame = OperatorCall::Frame;

namespace {

enum class Fault { kHostMemory, kNew, kQuestion };

void arm(Fault fault, std::uint64_t n) {
    if (fault == Fault::kHostMemory)
        Ostrum::failAllocation(n);
    else if (fault == Fault::kNew)
        failNew(n);
    else if (n > 0)
        Ostrum::cancelJobAtQuestion(n);
    else
        Ostrum::cancelJob(false);
}

std::uint64_t requests(Fault fault) {
    return fault == Fault::kHostMemory ? Ostrum::allocationCount() : newCount();
}

// What lives, but for what the pool keeps and the messages that wait.
std::pair<std::uint64_t, std::uint64_t> live() {
    ChannelMemoryPool::trim();
    Kelvane::takeTerminateMessages();
    return {Ostrum::liveAllocationCount(), liveNewCount()};
}

// How a call with a fault in it ended.
struct Ending {
    Outcome outcome;
    bool reached = false; // whether there was an n-th request at all
    bool noMemory = false;
    std::optional<std::string> text; // of any other exception
    bool terminated = false;

    Ending(const OperatorCall& call, Fault fault, std::uint64_t n) {
        std::uint64_t before = 0;
        outcome = call.run([&](const std::function<void()>& work) {
            before = requests(fault);
            arm(fault, n);
            try {
                work();
                arm(fault, 0);
            } catch (const std::bad_alloc&) {
                arm(fault, 0);
                noMemory = true;
            } catch (const std::exception& error) {
                arm(fault, 0);
                text = error.what();
            }
        });
        const auto messages = Kelvane::takeTerminateMessages();
        terminated = messages.size() == 1 && messages[0] == call.terminated;
        reached = fault == Fault::kQuestion ? outcome.state != State::kNew
                                            : requests(fault) - before >= n;
    }
};

void expectMemoryEnding(const OperatorCall& call, const Ending& ending, const Outcome& whole) {
    EXPECT_FALSE(ending.text || ending.terminated);
    if (!ending.noMemory) // the call could do without
        EXPECT_EQ(ending.outcome, whole);
    else if (call.frame == Frame::kProperty)
        EXPECT_TRUE(ending.outcome.state == State::kFormer ||
                    ending.outcome.state == State::kEmpty);
    else
        EXPECT_EQ(ending.outcome.state, State::kFormer);
}

void expectCancelledEnding(const OperatorCall& call, const Ending& ending, std::uint64_t n) {
    EXPECT_FALSE(ending.noMemory);
    const bool throws = call.frame != Frame::kSampling;
    EXPECT_EQ(ending.text.value_or(""), throws ? KDX::exceptionMessage.str() : "");
    EXPECT_EQ(ending.terminated, !throws && n > 1);
    const bool empties = call.frame == Frame::kProperty || (!throws && n > 1);
    EXPECT_EQ(ending.outcome.state, empties ? State::kEmpty : State::kFormer);
}

// How many faults the call survived.
std::uint64_t expectSurvived(const OperatorCall& call, Fault fault) {
    const Outcome whole = call.run(plainly);
    EXPECT_EQ(whole.state, State::kNew);
    for (std::uint64_t n = 1;; ++n) {
        SCOPED_TRACE(call.name + ", fault " + std::to_string(n) + " of kind " +
                     std::to_string(static_cast<int>(fault)));
        const auto before = live();
        {
            const Ending ending(call, fault, n);
            if (!ending.reached) {
                EXPECT_EQ(ending.outcome, whole);
                return n - 1;
            }
            if (fault == Fault::kQuestion)
                expectCancelledEnding(call, ending, n);
            else
                expectMemoryEnding(call, ending, whole);
            EXPECT_EQ(call.run(plainly), whole);
        }
        EXPECT_EQ(live(), before);
        if (::testing::Test::HasFailure())
            return n;
    }
}

class FaultsTest : public ::testing::Test {
protected:
    ~FaultsTest() override { HaloFilling::setEager(false); }

    // The least number of faults that a call can meet.
    void expectAllSurvived(Fault fault, std::uint64_t least) const {
        for (const bool eager : {false, true}) {
            HaloFilling::setEager(eager);
            for (const OperatorCall& call : calls)
                if (!eager || !call.family.starts_with("sample_volume kCubic")) {
                    EXPECT_GE(expectSurvived(call, fault), least) << call.name;
                    Kelvane::Logger::takeTimerReport();
                    if (HasFailure())
                        return;
                }
        }
    }

    const std::vector<OperatorCall> calls = everyOperator(300);
};

TEST_F(FaultsTest, TheHostsMemoryMayEndAnywhere) {
    expectAllSurvived(Fault::kHostMemory, 2);
}

TEST_F(FaultsTest, TheProgramsMemoryMayEndAnywhere) {
    expectAllSurvived(Fault::kNew, 0);
}

TEST_F(FaultsTest, TheJobMayEndAtAnyQuestion) {
    expectAllSurvived(Fault::kQuestion, 1);
}

TEST(GenerateLocationOptions, CopiesThatFailLoseNothing) {
    using Options = Vantor::Sample::GenerateLocationOptions;
    const auto before = live();
    {
        Options source;
        source.seed_array = Ostrum::makePtr<Ostrum::Array<long long>>(3U);
        source.mask_property = "a property with a name too long for a small buffer";
        source.amount = 5;
        const auto fails = [](const std::function<void()>& copy) {
            failNew(1);
            EXPECT_THROW(copy(), std::bad_alloc);
            failNew(0);
        };
        Options target;
        fails([&] { const Options copy(source); });
        fails([&] { target = source; });
        fails([&] { const Options moved(std::move(source)); });
        EXPECT_EQ(target.amount, 0);
        EXPECT_EQ(source.seed_array.useCount(), 1);
        target = std::move(source); // which needs no memory
        EXPECT_EQ(target.amount, 5);
    }
    EXPECT_EQ(live(), before);
}

} // namespace
