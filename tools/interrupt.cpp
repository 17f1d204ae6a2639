#include "interrupt.h"

#include "Ostrum/Job.h"

#include <csignal>
#include <initializer_list>

namespace Stratum::tools {

void cancelOnInterrupt() {
    struct sigaction action {};
    action.sa_handler = [](int) { Ostrum::cancelJob(); };
    // Without SA_RESTART a read that waits for the user ends too.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

} // namespace Stratum::tools
