// How a reader ends when the host has asked the job to stop.
#pragma once

#include "Ostrum/Job.h"

#include <stdexcept>

namespace Stratum::io {

struct Cancelled : std::runtime_error {
    Cancelled() : std::runtime_error("interrupted") {}
};

inline void throwIfInterrupted() {
    if (Ostrum::isJobCancelled())
        throw Cancelled();
}

} // namespace Stratum::io
