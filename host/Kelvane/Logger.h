// The host's diagnostics: how much is said, named timers, tuning properties, test mode.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Export.h"
#include "Ostrum/String.h"

#include <chrono>
#include <cstdint>
#include <memory>

namespace Kelvane::Logger {

/// Gates console diagnostics: above 1, decisions are traced. 0 at the start.
OSTRUM_API int verboseLevel();
OSTRUM_API void setVerboseLevel(int level);

/// Registered properties may override tuning constants only in test mode. Off at the start.
OSTRUM_API bool getEnableTestMode();
OSTRUM_API void setEnableTestMode(bool enable);

/// The values registered under a name, in order; empty when there are none.
OSTRUM_API Ostrum::Array<Ostrum::String> retrieveProperty(const Ostrum::String& name);
OSTRUM_API void registerProperty(const Ostrum::String& name, const Ostrum::String& value);
OSTRUM_API void clearProperties();

struct TimerEntry {
    Ostrum::String name;
    std::uint64_t calls = 0;
    double seconds = 0;
};

/// Measures the wall time from its construction to its destruction and adds it to the entry of its
/// name. A timer with a parent is listed below it.
class OSTRUM_API timer {
public:
    explicit timer(const Ostrum::String& name, const timer* parent = nullptr);
    ~timer();
    timer(const timer&) = delete;
    timer& operator=(const timer&) = delete;

private:
    std::shared_ptr<TimerEntry> entry_; // made at once: a destructor must not fail
    std::chrono::steady_clock::time_point start_;
};

/// What the timers that ended since the last takeTimerReport() measured, by name.
OSTRUM_API Ostrum::Array<TimerEntry> timerReport();

/// The same, and forgets it.
OSTRUM_API Ostrum::Array<TimerEntry> takeTimerReport();

} // namespace Kelvane::Logger
