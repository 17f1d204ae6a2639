#include "Kelvane/Logger.h"
#include "Kelvane/terminateMessage.h"

#include <atomic>
#include <map>
#include <mutex>

namespace Kelvane {

namespace {
struct Diagnostics {
    std::atomic<int> verboseLevel{0};
    std::atomic<bool> testMode{false};
    std::mutex mutex;
    std::map<Ostrum::String, Ostrum::Array<Ostrum::String>> properties;
    std::map<Ostrum::String, std::shared_ptr<Logger::TimerEntry>> timers;
    Ostrum::Array<Ostrum::String> terminated;
};

Diagnostics& diagnostics() {
    static Diagnostics instance;
    return instance;
}
} // namespace

void terminateMessage(const Ostrum::String& operatorName) {
    Diagnostics& d = diagnostics();
    const std::lock_guard lock(d.mutex);
    // A host that never asks for them must not pay for them either.
    constexpr std::size_t kKeptAtMost = 1024;
    if (d.terminated.size() < kKeptAtMost)
        d.terminated.push_back(operatorName);
}

Ostrum::Array<Ostrum::String> takeTerminateMessages() {
    Diagnostics& d = diagnostics();
    const std::lock_guard lock(d.mutex);
    return std::exchange(d.terminated, {});
}

namespace Logger {

int verboseLevel() {
    return diagnostics().verboseLevel;
}
void setVerboseLevel(int level) {
    diagnostics().verboseLevel = level;
}
bool getEnableTestMode() {
    return diagnostics().testMode;
}
void setEnableTestMode(bool enable) {
    diagnostics().testMode = enable;
}

Ostrum::Array<Ostrum::String> retrieveProperty(const Ostrum::String& name) {
    Diagnostics& d = diagnostics();
    const std::lock_guard lock(d.mutex);
    const auto found = d.properties.find(name);
    return found == d.properties.end() ? Ostrum::Array<Ostrum::String>() : found->second;
}

void registerProperty(const Ostrum::String& name, const Ostrum::String& value) {
    Diagnostics& d = diagnostics();
    const std::lock_guard lock(d.mutex);
    d.properties[name].push_back(value);
}

void clearProperties() {
    Diagnostics& d = diagnostics();
    const std::lock_guard lock(d.mutex);
    d.properties.clear();
}

timer::timer(const Ostrum::String& name, const timer* parent) {
    const Ostrum::String path =
        parent ? Ostrum::String(parent->entry_->name.str() + "/" + name.str()) : name;
    Diagnostics& d = diagnostics();
    const std::lock_guard lock(d.mutex);
    if (const auto found = d.timers.find(path); found != d.timers.end()) {
        entry_ = found->second;
    } else {
        // The entry first: a name without one must not be listed.
        entry_ = std::make_shared<TimerEntry>(TimerEntry{path});
        d.timers.emplace(path, entry_);
    }
    start_ = std::chrono::steady_clock::now();
}

timer::~timer() {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    const std::lock_guard lock(diagnostics().mutex);
    ++entry_->calls;
    entry_->seconds += elapsed.count();
}

namespace {
// To be called with the lock held.
Ostrum::Array<TimerEntry> endedTimers(const Diagnostics& d) {
    Ostrum::Array<TimerEntry> report;
    for (const auto& [path, entry] : d.timers)
        if (entry->calls > 0)
            report.push_back(*entry);
    return report;
}
} // namespace

Ostrum::Array<TimerEntry> timerReport() {
    const Diagnostics& d = diagnostics();
    const std::lock_guard lock(diagnostics().mutex);
    return endedTimers(d);
}

Ostrum::Array<TimerEntry> takeTimerReport() {
    Diagnostics& d = diagnostics();
    const std::lock_guard lock(d.mutex);
    Ostrum::Array<TimerEntry> report = endedTimers(d);
    for (auto& [path, entry] : d.timers) {
        // Timers that are still running go on with an entry that starts anew.
        entry->calls = 0;
        entry->seconds = 0;
    }
    std::erase_if(d.timers, [](const auto& item) { return item.second.use_count() == 1; });
    return report;
}

} // namespace Logger
} // namespace Kelvane
