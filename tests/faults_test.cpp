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
#include "support/operatorCalls.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <new>

using namespace StratumTest;
using KDX::TileTree3D::ChannelMemoryPool;
using KDX::TileTree3D::HaloFilling;
using State = Outcome::State;
using Frame = OperatorCall::Frame;

// The program's own operator new, which counts and fails when told to. A sanitizer's other kinds
// of new stay its own, and none of them is used here with the deletes below.
namespace {

std::atomic<std::uint64_t> newRequests{0}, failingNew{0}, liveNew{0};

void* take(std::size_t bytes, std::size_t alignment) {
    void* memory = nullptr;
    if (++newRequests == failingNew || ::posix_memalign(&memory, alignment, bytes) != 0)
        throw std::bad_alloc();
    ++liveNew;
    return memory;
}
void giveBack(void* memory) noexcept {
    liveNew -= memory != nullptr;
    std::free(memory);
}

} // namespace

void* operator new(std::size_t n) {
    return take(n, __STDCPP_DEFAULT_NEW_ALIGNMENT__);
}
void* operator new(std::size_t n, std::align_val_t alignment) {
    return take(n, static_cast<std::size_t>(alignment));
}
void operator delete(void* p) noexcept {
    giveBack(p);
}
void operator delete(void* p, std::size_t) noexcept {
    giveBack(p);
}
void operator delete(void* p, std::align_val_t) noexcept {
    giveBack(p);
}
void operator delete(void* p, std::size_t, std::align_val_t) noexcept {
    giveBack(p);
}

namespace {

enum class Fault { kHostMemory, kNew, kQuestion };

void arm(Fault fault, std::uint64_t n) {
    if (fault == Fault::kHostMemory)
        Ostrum::failAllocation(n);
    else if (fault == Fault::kNew)
        failingNew = n == 0 ? 0 : newRequests + n;
    else if (n > 0)
        Ostrum::cancelJobAtQuestion(n);
    else
        Ostrum::cancelJob(false);
}

std::uint64_t requests(Fault fault) {
    return fault == Fault::kHostMemory ? Ostrum::allocationCount() : newRequests.load();
}

// What lives, but for what the pool and the list of timers keep.
std::pair<std::uint64_t, std::uint64_t> live() {
    ChannelMemoryPool::trim();
    Kelvane::Logger::takeTimerReport();
    return {Ostrum::liveAllocationCount(), liveNew};
}

// How a call with a fault in it ended.
struct Ending {
    Outcome outcome;
    bool reached = false; // whether there was an n-th request at all
    bool noMemory = false;
    std::string text; // of any other exception
    Ostrum::Array<Ostrum::String> terminated;

    Ending(const OperatorCall& call, Fault fault, std::uint64_t n) {
        outcome = call.run([&](const std::function<void()>& work) {
            const std::uint64_t before = requests(fault);
            arm(fault, n);
            try {
                work();
                reached = requests(fault) - before >= n;
                arm(fault, 0);
            } catch (const std::bad_alloc&) {
                arm(fault, 0);
                reached = noMemory = true;
            } catch (const std::exception& error) {
                arm(fault, 0);
                text = error.what();
            }
        });
        terminated = Kelvane::takeTerminateMessages();
        Kelvane::Logger::takeTimerReport(); // which a timer that failed must not have broken
        if (fault == Fault::kQuestion)
            reached = outcome.state != State::kNew;
    }
};

void expectMemoryEnding(Frame frame, const Ending& ending, const Outcome& whole) {
    EXPECT_TRUE(ending.text.empty() && ending.terminated.empty());
    if (!ending.noMemory) { // the call could do without
        EXPECT_EQ(ending.outcome, whole);
    } else if (frame != Frame::kProperty || ending.outcome.state != State::kEmpty) {
        EXPECT_EQ(ending.outcome.state, State::kFormer);
    }
}

void expectCancelledEnding(const OperatorCall& call, const Ending& ending, bool atOnce) {
    const bool throws = call.frame != Frame::kSampling;
    EXPECT_EQ(ending.text, throws ? KDX::exceptionMessage.str() : "");
    Ostrum::Array<Ostrum::String> told;
    if (!throws && !atOnce)
        told.push_back(call.family.substr(0, call.family.find(' ')));
    EXPECT_EQ(ending.terminated, told);
    EXPECT_EQ(ending.outcome.state,
              call.frame == Frame::kProperty || !told.empty() ? State::kEmpty : State::kFormer);
}

// Every fault that the call can meet; returns how many there were.
std::uint64_t expectSurvived(const OperatorCall& call, Fault fault) {
    const Outcome whole = call.run(plainly);
    EXPECT_EQ(whole.state, State::kNew);
    for (std::uint64_t n = 1;; ++n) {
        SCOPED_TRACE(call.name + ", fault " + std::to_string(n));
        const auto before = live();
        {
            const Ending ending(call, fault, n);
            if (!ending.reached) {
                EXPECT_EQ(ending.outcome, whole);
                return n - 1;
            }
            if (fault == Fault::kQuestion)
                expectCancelledEnding(call, ending, n == 1);
            else
                expectMemoryEnding(call.frame, ending, whole);
            EXPECT_EQ(call.run(plainly), whole);
        }
        EXPECT_EQ(live(), before);
        if (::testing::Test::HasFailure())
            return n;
    }
}

void expectAllSurvived(Fault fault, std::uint64_t leastOfACall, std::uint64_t least) {
    static const std::vector<OperatorCall> calls = everyOperator(300);
    std::uint64_t survived = 0;
    for (const bool eager : {false, true}) {
        HaloFilling::setEager(eager);
        for (const OperatorCall& call : calls)
            if (!::testing::Test::HasFailure() &&
                (!eager || call.name.find(" small ") != std::string::npos)) {
                const std::uint64_t faults = expectSurvived(call, fault);
                EXPECT_GE(faults, leastOfACall) << call.name;
                survived += faults;
            }
    }
    HaloFilling::setEager(false);
    EXPECT_GE(survived, least);
    std::cout << survived << " faults in " << calls.size() << " calls survived\n";
}

TEST(FaultsTest, TheHostsMemoryMayEndAnywhere) {
    expectAllSurvived(Fault::kHostMemory, 1, 5000);
}

TEST(FaultsTest, TheProgramsMemoryMayEndAnywhere) {
    expectAllSurvived(Fault::kNew, 0, 5000);
}

TEST(FaultsTest, TheJobMayEndAtAnyQuestion) {
    expectAllSurvived(Fault::kQuestion, 1, 500);
}

TEST(FaultsTest, CopiesOfOptionsShareTheirSeedsAndLoseNothing) {
    using Options = Vantor::Sample::GenerateLocationOptions;
    const auto before = live();
    {
        Options source, target;
        source.seed_array = Ostrum::makePtr<Ostrum::Array<long long>>(3U);
        source.mask_property = "a property with a name too long for a small buffer";
        source.amount = 5;
        const auto fails = [](const std::function<void()>& copy) {
            arm(Fault::kNew, 1);
            EXPECT_THROW(copy(), std::bad_alloc);
            arm(Fault::kNew, 0);
        };
        fails([&] { const Options copy(source); });
        fails([&] { target = source; });
        fails([&] { const Options moved(std::move(source)); });
        EXPECT_EQ(source.seed_array.useCount(), 1);
        Options copy(source);
        const Options moved(std::move(copy));
        EXPECT_EQ(moved.seed_array.useCount(), 2);
        EXPECT_EQ(copy.seed_array, nullptr);
        EXPECT_EQ(copy.mask_property, moved.mask_property);
        target = std::move(source); // which needs no memory
        EXPECT_EQ(target.amount, 5);
        EXPECT_EQ(target.seed_array, moved.seed_array);
        EXPECT_EQ(source.seed_array, nullptr);
    }
    EXPECT_EQ(live(), before);
}

} // namespace
