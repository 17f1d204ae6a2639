// What all subcommands share: options, the volume, the host's switches.
#pragma once

#include "Vantor/Object.h"
#include "io/Volume.h"

#include <CLI/App.hpp>
#include <oneapi/tbb/global_control.h>

#include <optional>
#include <string>

namespace Stratum::tools {

struct CommonOptions {
    std::string file, grid;
    int shape = 2;
    int threads = 0;
    int verbosity = 0;
    bool timers = false;
};

/// Adds the options that concern the run: --shape, --threads, -v, --timers.
void addRunOptions(CLI::App& command, CommonOptions& options);

/// Adds FILE and --grid, and the run's options.
void addVolumeOptions(CLI::App& command, CommonOptions& options);

/// Applies the run's options as long as it lives; at its end prints the timers when asked to.
class Run {
public:
    explicit Run(const CommonOptions& options);
    ~Run();
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

private:
    std::optional<tbb::global_control> threads_;
    bool timers_;
};

/// Reads or makes the volume that FILE names and passes its warnings on.
io::Volume loadVolume(const CommonOptions& options);

/// FILE for people to read: without folders.
std::string displayName(const std::string& file);

} // namespace Stratum::tools
