// The command `stratum`.
#include "Results.h"
#include "commands.h"
#include "interrupt.h"
#include "io/Cancelled.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <exception>
#include <iostream>
#include <new>
#include <sstream>
#include <string>

namespace {

using namespace Stratum::tools;

enum ExitStatus { kDone = 0, kFailed = 1, kUsage = 2, kInterrupted = 130 };

int fail(std::string message, int status) {
    // One line, whatever a damaged file put into it.
    std::ranges::replace_if(
        message, [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
    std::cerr << "stratum: " << message << '\n';
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

int run(int argc, char** argv) {
    CLI::App app("Samples sparse multi-resolution voxel volumes.", "stratum");
    app.require_subcommand(1);
    app.get_formatter()->column_width(34);
    addInfo(app);
    addSample(app);
    addSlice(app);
    addDemo(app);
    addRun(app);
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
