// Warnings through the host's log.
#pragma once

#include "Ostrum/RuntimeServices.h"

namespace Vantor::Sample {

/// Logs a warning if there are services and they want it.
inline void warn(const Ostrum::RuntimeServices* services, const char* message) {
    constexpr int kWarning = 2;
    if (services && services->isLogEnabled(kWarning))
        services->logImpl(kWarning, message);
}

} // namespace Vantor::Sample
