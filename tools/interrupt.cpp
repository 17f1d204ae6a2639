#include "interrupt.h"

#include "Ostrum/Job.h"

#include <atomic>
#include <csignal>
#include <initializer_list>

namespace Stratum::tools {

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "it is set in a signal handler");

} // namespace

bool isInterrupted() noexcept {
    return interrupted;
}

void cancelOnInterrupt() {
    struct sigaction action {};
    action.sa_handler = [](int) {
        interrupted = true;
        Ostrum::cancelJob();
    };
    // Without SA_RESTART a read that waits for the user ends too.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM})
        sigaction(signal, &action, nullptr);
    // Whoever started the tool so that it outlives the terminal has it ignored already.
    struct sigaction before {};
    if (sigaction(SIGHUP, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
        sigaction(SIGHUP, &action, nullptr);
    // Writing then fails, which says why and leaves nothing behind.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace Stratum::tools
