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
    std::map<Ostrum::String, Logger::TimerEntry> timers;
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

timer::timer(const Ostrum::String& name, const timer* parent)
    : path_(parent ? Ostrum::String(parent->path_.str() + "/" + name.str()) : name),
      start_(std::chrono::steady_clock::now()) {}

timer::~timer() {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    Diagnostics& d = diagnostics();
    const std::lock_guard lock(d.mutex);
    TimerEntry& entry = d.timers[path_];
    entry.name = path_;
    ++entry.calls;
    entry.seconds += elapsed.count();
}

Ostrum::Array<TimerEntry> takeTimerReport() {
    Diagnostics& d = diagnostics();
    const std::lock_guard lock(d.mutex);
    Ostrum::Array<TimerEntry> report;
    for (auto& [name, entry] : d.timers)
        report.push_back(entry);
    d.timers.clear();
    return report;
}

} // namespace Logger
} // namespace Kelvane
