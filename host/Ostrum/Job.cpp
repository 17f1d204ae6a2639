#include "Ostrum/Job.h"

#include <atomic>

namespace Ostrum {

namespace {
std::atomic<bool> cancelled{false};
std::atomic<std::uint64_t> questions{0};
std::atomic<std::uint64_t> cancellingQuestion{0};
static_assert(std::atomic<bool>::is_always_lock_free &&
                  std::atomic<std::uint64_t>::is_always_lock_free,
              "cancelJob() is called from signal handlers");
} // namespace

bool isJobCancelled() {
    // Questions are counted only for who wants one of them answered with yes: loops ask for every
    // tile, and a number that all threads write is slow.
    const std::uint64_t cancelling = cancellingQuestion.load(std::memory_order_relaxed);
    if (cancelling != 0 && questions.fetch_add(1) + 1 >= cancelling)
        cancelled = true;
    return cancelled.load(std::memory_order_relaxed);
}

void cancelJob(bool wish) noexcept {
    if (!wish)
        cancellingQuestion = 0;
    cancelled = wish;
}

void cancelJobAtQuestion(std::uint64_t n) {
    cancellingQuestion = n == 0 ? 0 : questions + n;
}

} // namespace Ostrum
