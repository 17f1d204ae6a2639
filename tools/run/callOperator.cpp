#include "run/callOperator.h"

#include "Kelvane/Logger.h"
#include "Kelvane/terminateMessage.h"
#include "Ostrum/Job.h"
#include "Ostrum/Memory.h"
#include "interrupt.h"
#include "io/Cancelled.h"
#include "run/ConsoleCapture.h"

#include <exception>
#include <limits>

namespace Stratum::tools::graph {

namespace {

struct CallSettings {
    std::uint64_t cancelAtQuestion = 0, failAllocation = 0;
};

CallSettings readCallSettings(const Json& node) {
    CallSettings settings;
    const Json* json = node.find("settings");
    if (!json)
        return settings;
    json->allowOnly({"cancel_at_question", "fail_allocation"});
    const auto count = [&](const char* key) {
        const Json* n = json->find(key);
        return static_cast<std::uint64_t>(
            n ? n->integer(0, std::numeric_limits<std::int64_t>::max()) : 0);
    };
    return {count("cancel_at_question"), count("fail_allocation")};
}

// The host's misbehaviour, for as long as this lives.
class Misbehaviour {
public:
    explicit Misbehaviour(const CallSettings& settings) : cancels_(settings.cancelAtQuestion != 0) {
        Ostrum::cancelJobAtQuestion(settings.cancelAtQuestion);
        Ostrum::failAllocation(settings.failAllocation);
    }
    ~Misbehaviour() {
        Ostrum::failAllocation(0);
        if (!cancels_)
            return;
        // The pretended cancellation ends here, one by the user does not.
        Ostrum::cancelJob(false);
        if (isInterrupted())
            Ostrum::cancelJob();
    }
    Misbehaviour(const Misbehaviour&) = delete;
    Misbehaviour& operator=(const Misbehaviour&) = delete;

private:
    bool cancels_;
};

using Timers = std::map<std::string, Timer>;

// All that have run so far; the table at the end of the program wants them too.
Timers timersNow() {
    Timers timers;
    for (const auto& timer : Kelvane::Logger::timerReport())
        timers[timer.name.str()] = {timer.calls, timer.seconds};
    return timers;
}

Timers timersSince(const Timers& before) {
    Timers since;
    for (const auto& [name, timer] : timersNow()) {
        const auto found = before.find(name);
        const Timer earlier = found == before.end() ? Timer() : found->second;
        if (timer.calls > earlier.calls)
            since[name] = {timer.calls - earlier.calls, timer.seconds - earlier.seconds};
    }
    return since;
}

} // namespace

Report callOperator(const Json& node, const OperatorCall& call) {
    const CallSettings settings = readCallSettings(node);
    io::throwIfInterrupted();
    Report report;
    Ostrum::RuntimeServices services(
        std::numeric_limits<int>::max(), [&](int level, const Ostrum::String& message) {
            report.log.push_back(std::to_string(level) + ": " + message.str());
        });
    Kelvane::takeTerminateMessages();
    const Timers timersBefore = timersNow();
    ConsoleCapture console;
    try {
        const Misbehaviour misbehaviour(settings);
        call(services);
    } catch (const std::exception& exception) {
        report.exception = exception.what();
    }
    auto [out, errors] = console.finish();
    report.console = std::move(out);
    report.consoleErrors = std::move(errors);
    for (const auto& name : Kelvane::takeTerminateMessages())
        report.terminated.push_back(name.str());
    report.timers = timersSince(timersBefore);
    io::throwIfInterrupted();
    return report;
}

} // namespace Stratum::tools::graph
