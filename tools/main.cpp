// The command `stratum`.
#include "Results.h"
#include "Terminal.h"
#include "commandLine.h"
#include "commands.h"
#include "interrupt.h"
#include "io/Cancelled.h"
#include "manual.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <exception>
#include <iostream>
#include <new>
#include <sstream>
#include <string>

namespace {

using namespace Stratum;
using namespace Stratum::tools;

enum ExitStatus { kDone = 0, kFailed = 1, kUsage = 2, kInterrupted = 130 };

int fail(std::string message, int status) {
    // One line, whatever a damaged file put into it.
    std::ranges::replace_if(
        message, [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
    constexpr int kRed = 31;
    std::cerr << emphasized("stratum:", kRed) << ' ' << message << '\n';
    return status;
}

// Help goes to the results; a wrong call is explained in one line.
int explain(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() != 0)
        return fail(std::string(error.what()) + " (see --help)", kUsage);
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

int run(int argc, char** argv) {
    CLI::App app("Samples sparse multi-resolution voxel volumes.", "stratum");
    app.require_subcommand(1);
    app.get_formatter()->column_width(34);
    app.set_version_flag("--version", versionText());
    const io::Provenance provenance{kVersion, commandText(argc, argv), {}};
    addInfo(app);
    addSample(app, provenance);
    addGradient(app, provenance);
    addSlice(app, provenance);
    addDemo(app);
    addRun(app);
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
