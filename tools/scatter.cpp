// stratum scatter: random locations on a mesh, strands or points, or in a volume.
#include "Results.h"
#include "ScatterCall.h"
#include "Terminal.h"
#include "commands.h"
#include "io/locationTable.h"
#include "io/writeTable.h"
#include "scatterPicture.h"

#include <CLI/App.hpp>

#include <iostream>
#include <memory>
#include <optional>

namespace Stratum::tools {

namespace {

using Vantor::Sample::GenerateLocationOptions;

void writeLocations(const ScatterOptions& options, const Vantor::Object& geometry,
                    const Scattered& scattered, Results& results) {
    const std::string target = options.target();
    const auto format =
        options.format.empty() ? io::sampleFormatOf(target) : io::sampleFormatNamed(options.format);
    io::Provenance provenance = options.origin();
    if (format == io::SampleFormat::kCsv && !options.withProvenance)
        provenance = {};
    io::writeTable(results.out(), format,
                   io::locationTable(geometry, scattered.kind,
                                     {scattered.locations.data(), scattered.locations.size()}),
                   provenance);
}

// Both files appear, or neither.
void writeOutputs(const ScatterOptions& options, const ScatterSource& source,
                  const Scattered& scattered, Progress& progress) {
    std::optional<Results> locations, picture;
    if (!options.target().empty())
        locations.emplace(options.target());
    if (!options.picture.file.empty())
        picture.emplace(options.picture.file);
    progress.step("writing");
    if (locations)
        writeLocations(options, *source.object, scattered, *locations);
    if (picture) {
        progress.step("drawing");
        drawScattered(options.picture, source, scattered, displayName(options.common.file),
                      *picture);
        picture->commit();
    }
    if (locations)
        locations->commit();
}

// On the standard output unless locations are there already.
void writeReport(const ScatterOptions& options, const ScatterReport& report) {
    const std::string text =
        options.common.json ? reportJson(report, options.origin()) : reportText(report);
    if (options.target() == "-") {
        std::cerr << text;
        return;
    }
    Results results;
    results.out().write(text);
    results.commit();
}

void checkOptions(const ScatterOptions& options) {
    const std::string target = options.target();
    if (options.common.json && target == "-")
        throw CLI::ValidationError("--json", "the standard output is for the locations already");
    if (options.picture.file == "-")
        throw CLI::ValidationError("--png", "a picture goes to a file");
    if (options.format.empty() && io::sampleFormatOf(target) == io::SampleFormat::kJson)
        throw CLI::ValidationError("--output", "locations are written as csv, npy or ply; the "
                                               "report is what --json gives");
    refuseReplacing(target, {options.common.file});
    refuseReplacing(options.picture.file, {options.common.file});
    if (!options.picture.file.empty() && fileIdentity(options.picture.file) == fileIdentity(target))
        throw CLI::ValidationError("--png", "the picture and the locations need two files");
}

void runScatter(const ScatterOptions& options) {
    checkOptions(options);
    const Run run(options.common);
    Progress progress(options.common, options.picture.file.empty() ? 3 : 4);
    progress.step("reading the geometry");
    const ScatterSource source = loadScatterSource(options);
    const GenerateLocationOptions generate = generateOptions(options, source);
    progress.step("scattering");
    const Scattered scattered = scatter(source, generate);
    std::optional<ScatterReport> report;
    if (!options.common.quiet || options.common.json)
        report = reportOn(scattered, source, generate);
    writeOutputs(options, source, scattered, progress);
    progress.finish();
    if (!options.common.quiet)
        for (const auto& warning : report->warnings)
            warn(warning);
    if (report)
        writeReport(options, *report);
}

} // namespace

void addScatter(CLI::App& app, const io::Provenance& provenance) {
    auto options = std::make_shared<ScatterOptions>();
    options->provenance = provenance;
    CLI::App* command = app.add_subcommand(
        "scatter", "Scatter random locations over a mesh, strands or points, or in a volume");
    addScatterOptions(*command, *options);
    command->footer("Example: stratum scatter rock.ply --density 100 --mask moss -o moss.ply");
    command->callback([options] { runScatter(*options); });
}

} // namespace Stratum::tools
