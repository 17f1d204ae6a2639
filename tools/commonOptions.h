// What all subcommands share: options, the volume, the host's switches.
#pragma once

#include "Vantor/Object.h"
#include "io/Volume.h"
#include "ops/sample_volume.h"

#include <CLI/App.hpp>
#include <oneapi/tbb/global_control.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Stratum::tools {

struct CommonOptions {
    std::string file, grid;
    std::optional<double> tolerance;
    int shape = 2;
    int threads = 0;
    int verbosity = 0;
    bool timers = false, json = false, quiet = false;
};

/// Adds the options that concern the run: --threads, -v, --timers, --json, --quiet.
void addRunOptions(CLI::App& command, CommonOptions& options);

/// Adds --shape.
void addShapeOption(CLI::App& command, CommonOptions& options);

/// Adds --grid, --tolerance and --shape: how a volume is read.
void addVolumeReading(CLI::App& command, CommonOptions& options);

/// Adds FILE, how it is read, and the run's options.
void addVolumeOptions(CLI::App& command, CommonOptions& options);

/// The samplers' names as --sampler takes them.
std::vector<std::string> samplerNames();
Geometry::Query::SamplerType samplerNamed(const std::string& name);

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

/// Whether FILE names something embedded instead of a file.
bool isFormula(const std::string& file);

/// The name behind "formula:", for what is one.
std::string formulaName(const std::string& file);

/// Reads or makes the volume that FILE names, coarsens it where --tolerance asks for that, and
/// passes its warnings on.
io::Volume loadVolume(const CommonOptions& options);

/// One path for all names of a file, whether it exists or not.
std::filesystem::path fileIdentity(const std::string& file);

/// Throws when writing `output` would replace one of the files that results are made from.
void refuseReplacing(const std::string& output, const std::vector<std::string>& inputs);

/// FILE for people to read: without folders.
std::string displayName(const std::string& file);

} // namespace Stratum::tools
