// Letting the host's cancellation through.
#pragma once

#include "KDX/exceptionMessage.h"
#include "Ostrum/Job.h"

#include <stdexcept>

namespace Stratum {

/// Throws the host's cancellation when the job was cancelled. Asked after every long loop.
inline void throwIfCancelled() {
    if (Ostrum::isJobCancelled())
        throw std::runtime_error(KDX::exceptionMessage.c_str());
}

} // namespace Stratum
