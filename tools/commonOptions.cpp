#include "commonOptions.h"

#include "Kelvane/Logger.h"
#include "Terminal.h"
#include "io/Cancelled.h"
#include "io/OutputFile.h"
#include "io/coarsen.h"
#include "io/formulaVolume.h"
#include "io/lowerCase.h"
#include "io/readNvdb.h"
#include "io/readVdb.h"
#include "memory.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Stratum::tools {

namespace {

constexpr std::string_view kFormula = "formula:";

using Geometry::Query::SamplerType;
constexpr std::array<std::pair<const char*, SamplerType>, 3> kSamplers{
    {{"linear", SamplerType::kLinear},
     {"cubic-c0", SamplerType::kCubicC0},
     {"cubic-c1", SamplerType::kCubicC1}}};

// By the extension; other names count as those of .vdb files.
io::Volume readVolume(const CommonOptions& options) {
    const auto shape = static_cast<io::TreeShape>(options.shape);
    if (isFormula(options.file)) {
        if (!options.grid.empty())
            throw CLI::ValidationError("--grid", "a volume by formula has no grids; the option is "
                                                 "for files");
        return io::formulaVolume(formulaName(options.file), shape);
    }
    const io::VdbOptions wanted{
        .shape = shape, .grid = options.grid, .mostBytes = availableMemory()};
    return io::lowerCase(options.file).ends_with(".nvdb") ? io::readNvdb(options.file, wanted)
                                                          : io::readVdb(options.file, wanted);
}

void printTimers() {
    std::fprintf(stderr, "%10s %8s  %s\n", "seconds", "calls", "timer");
    for (const auto& entry : Kelvane::Logger::takeTimerReport())
        std::fprintf(stderr, "%10.6f %8llu  %s\n", entry.seconds,
                     static_cast<unsigned long long>(entry.calls), entry.name.c_str());
}

// CLI11's own ranges let NaN through.
std::string isTolerance(const std::string& text) {
    double tolerance = 0;
    const bool is = CLI::detail::lexical_cast(text, tolerance) && tolerance >= 0;
    return is ? "" : "a number of at least 0 is wanted, not " + text;
}

} // namespace

bool isFormula(const std::string& file) {
    return file.starts_with(kFormula);
}

std::string formulaName(const std::string& file) {
    return file.substr(kFormula.size());
}

void addShapeOption(CLI::App& command, CommonOptions& options) {
    command
        .add_option("--shape", options.shape,
                    "tree shape: 2 children and 4 voxels an axis, or 5 and 5")
        ->check(CLI::IsMember({2, 5}))
        ->capture_default_str();
}

void addRunOptions(CLI::App& command, CommonOptions& options) {
    command.add_option("--threads", options.threads, "threads to use; 0 stands for all there are")
        ->check(CLI::Range(0, 1024))
        ->capture_default_str();
    command.add_flag("-v,--verbose", options.verbosity,
                     "say more on the standard error stream; -vv traces decisions");
    command.add_flag("--timers", options.timers, "print a table of timers when done");
    command.add_flag("--json", options.json, "results for programs, as JSON");
    command.add_flag("-q,--quiet", options.quiet, "no warnings and no progress");
}

void addVolumeReading(CLI::App& command, CommonOptions& options) {
    command.add_option("--grid", options.grid, "take only this grid of a file; all by default");
    command
        .add_option("--tolerance", options.tolerance,
                    "widen voxels where that changes no linear sample by more than this, in any "
                    "channel; not by default")
        ->check(isTolerance, "at least 0");
    addShapeOption(command, options);
}

void addVolumeOptions(CLI::App& command, CommonOptions& options) {
    command
        .add_option("FILE", options.file,
                    "a .vdb or .nvdb file, or formula:NAME for an embedded volume (" +
                        io::formulaNames() + ")")
        ->required();
    addVolumeReading(command, options);
    addRunOptions(command, options);
}

std::vector<std::string> samplerNames() {
    std::vector<std::string> names;
    for (const auto& [name, type] : kSamplers)
        names.emplace_back(name);
    return names;
}

SamplerType samplerNamed(const std::string& name) {
    for (const auto& [known, type] : kSamplers)
        if (name == known)
            return type;
    throw std::invalid_argument("there is no sampler '" + name + "'");
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
    io::Volume volume = readVolume(options);
    if (options.tolerance) {
        const Kelvane::Logger::timer coarsening("coarsen volume");
        volume = io::coarsen(volume, *options.tolerance);
    }
    if (!options.quiet)
        for (const auto& warning : volume.warnings)
            warn(warning);
    io::throwIfInterrupted();
    return volume;
}

void refuseReplacing(const std::string& output, const std::vector<std::string>& inputs) {
    std::error_code ignored;
    for (const std::string& input : inputs)
        if (output != "-" && std::filesystem::is_regular_file(output, ignored) &&
            std::filesystem::equivalent(output, input, ignored))
            throw std::runtime_error("'" + output +
                                     "' is what is read; choose another file to write");
}

std::filesystem::path fileIdentity(const std::string& file) {
    std::error_code error;
    const auto absolute = std::filesystem::absolute(io::followLinks(file), error);
    const auto path = error ? absolute : std::filesystem::weakly_canonical(absolute, error);
    return error ? std::filesystem::path(file) : path;
}

std::string displayName(const std::string& file) {
    if (isFormula(file))
        return file;
    return file.substr(file.find_last_of('/') + 1);
}

} // namespace Stratum::tools
