#include "commonOptions.h"

#include "Kelvane/Logger.h"
#include "io/Cancelled.h"
#include "io/formulaVolume.h"
#include "io/readVdb.h"

#include <cstdio>
#include <iostream>
#include <string_view>

namespace Stratum::tools {

namespace {

constexpr std::string_view kFormula = "formula:";

void printTimers() {
    std::fprintf(stderr, "%10s %8s  %s\n", "seconds", "calls", "timer");
    for (const auto& entry : Kelvane::Logger::takeTimerReport())
        std::fprintf(stderr, "%10.6f %8llu  %s\n", entry.seconds,
                     static_cast<unsigned long long>(entry.calls), entry.name.c_str());
}

} // namespace

void addRunOptions(CLI::App& command, CommonOptions& options) {
    command
        .add_option("--shape", options.shape,
                    "tree shape: 2 children and 4 voxels an axis, or 5 and 5")
        ->check(CLI::IsMember({2, 5}))
        ->capture_default_str();
    command.add_option("--threads", options.threads, "threads to use; 0 stands for all there are")
        ->check(CLI::Range(0, 1024))
        ->capture_default_str();
    command.add_flag("-v,--verbose", options.verbosity,
                     "say more on the standard error stream; -vv traces decisions");
    command.add_flag("--timers", options.timers, "print a table of timers when done");
}

void addVolumeOptions(CLI::App& command, CommonOptions& options) {
    command
        .add_option("FILE", options.file,
                    "a .vdb file, or formula:NAME for an embedded volume (" + io::formulaNames() +
                        ")")
        ->required();
    command.add_option("--grid", options.grid, "take only this grid of a file");
    addRunOptions(command, options);
}

Run::Run(const CommonOptions& options) : timers_(options.timers) {
    if (options.threads > 0)
        threads_.emplace(tbb::global_control::max_allowed_parallelism,
                         static_cast<std::size_t>(options.threads));
    Kelvane::Logger::setVerboseLevel(options.verbosity);
}

Run::~Run() {
    if (timers_)
        printTimers();
}

io::Volume loadVolume(const CommonOptions& options) {
    const Kelvane::Logger::timer timer("load volume");
    const auto shape = static_cast<io::TreeShape>(options.shape);
    io::Volume volume = options.file.starts_with(kFormula)
                            ? io::formulaVolume(options.file.substr(kFormula.size()), shape)
                            : io::readVdb(options.file, {.shape = shape, .grid = options.grid});
    for (const auto& warning : volume.warnings)
        std::cerr << "stratum: warning: " << warning << '\n';
    io::throwIfCancelled();
    return volume;
}

std::string displayName(const std::string& file) {
    if (file.starts_with(kFormula))
        return file;
    return file.substr(file.find_last_of('/') + 1);
}

} // namespace Stratum::tools
