// The command `stratum`.
#include "Results.h"
#include "Terminal.h"
#include "commandLine.h"
#include "commands.h"
#include "interrupt.h"
#include "io/Cancelled.h"
#include "io/quoted.h"
#include "manual.h"
#include "standardStreams.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>
#include <new>
#include <sstream>
#include <string>

namespace {

using namespace Stratum;
using namespace Stratum::tools;

enum ExitStatus { kDone = 0, kFailed = 1, kUsage = 2, kInterrupted = 130 };

int fail(const std::string& message, int status) {
    constexpr int kRed = 31;
    std::cerr << emphasized("stratum:", kRed) << ' ' << io::oneLine(message) << '\n';
    return status;
}

// What is wrong with a call that names none of the commands.
std::string explainMissingCommand(const CLI::App& app) {
    const auto rest = app.remaining();
    std::string text = rest.empty()               ? "a command is missing"
                       : rest[0].starts_with('-') ? "there is no option " + io::quoted(rest[0])
                                                  : "there is no command " + io::quoted(rest[0]);
    text += "; the commands are: ";
    const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
    for (const CLI::App* command : commands)
        text += (command == commands.front() ? "" : ", ") + command->get_name();
    return text;
}

// Help goes to the results; a wrong call is explained in one line.
int explain(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() != 0)
        return fail((app.get_subcommands().empty() ? explainMissingCommand(app)
                                                   : std::string(error.what())) +
                        " (see --help)",
                    kUsage);
    std::ostringstream help, other;
    app.exit(error, help, other);
    Results results;
    results.out().write(help.str());
    results.commit();
    return kDone;
}

// An option that --help does not show: the build makes files with it.
void addPrinter(CLI::App& app, const char* name, std::string (*print)(const CLI::App&)) {
    const auto write = [&app, print] {
        Results results;
        results.out().write(print(app));
        results.commit();
        throw CLI::Success();
    };
    app.add_flag_callback(name, write)->trigger_on_parse()->group("");
}

// An empty text is a script's variable that was not set, and not the same as no option.
std::string isGiven(const std::string& text) {
    return text.empty() ? "an empty text was given" : "";
}

void refuseEmptyTexts(CLI::App& app) {
    for (CLI::Option* option : app.get_options())
        if (option->get_items_expected_max() > 0)
            option->check(isGiven);
    for (CLI::App* part : app.get_subcommands([](const CLI::App*) { return true; }))
        refuseEmptyTexts(*part);
}

int run(int argc, char** argv) {
    CLI::App app(
        "Samples sparse multi-resolution voxel volumes and scatters locations over geometry.",
        "stratum");
    app.require_subcommand(1);
    app.get_formatter()->column_width(34);
    app.footer("Example: stratum demo; stratum COMMAND --help has the options of a command");
    app.set_version_flag("--version", versionText());
    const io::Provenance provenance{kVersion, commandText(argc, argv), {}};
    addInfo(app, provenance);
    addSample(app, provenance);
    addGradient(app, provenance);
    addSlice(app, provenance);
    addScatter(app, provenance);
    addProperty(app, provenance);
    addDemo(app, provenance);
    addRun(app);
    refuseEmptyTexts(app);
    addPrinter(app, "--help-man", manualPage);
    addPrinter(app, "--help-bash-completion", bashCompletion);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return explain(app, error);
    }
    return kDone;
}

} // namespace

int main(int argc, char** argv) {
    try {
        holdClosedStreams();
        Results::keepForResultsOnly();
        cancelOnInterrupt();
        return run(argc, argv);
    } catch (const Stratum::io::Cancelled& cancelled) {
        return fail(cancelled.what(), kInterrupted);
    } catch (const std::bad_alloc&) {
        return fail("out of memory", kFailed);
    } catch (const std::exception& error) {
        return fail(error.what(), kFailed);
    }
}
