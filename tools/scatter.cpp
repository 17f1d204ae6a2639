// stratum scatter: random locations on a mesh, strands or points.
#include "Results.h"
#include "ScatterCall.h"
#include "Terminal.h"
#include "Vantor/Geometry.h"
#include "commands.h"
#include "commonOptions.h"
#include "io/LocationVertices.h"
#include "io/ScatterPicture.h"
#include "io/jsonText.h"
#include "io/locationTable.h"
#include "io/sampleFiles.h"
#include "loadGeometry.h"
#include "scatterPicture.h"

#include <CLI/App.hpp>

#include <charconv>
#include <cmath>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

namespace Stratum::tools {

namespace {

using Vantor::Sample::GenerateLocationOptions;
using VantorExp::Geometry::AmountType;
using VantorExp::Geometry::MaskControl;
using VantorExp::Geometry::SampleType;

struct ScatterOptions {
    CommonOptions common;
    std::optional<double> count, density;
    std::string seed = "0";
    std::vector<std::string> seedArray;
    std::optional<std::int64_t> most;
    std::string mask, onReject = "resample", kind, output, format;
    bool invertMask = false, withProvenance = false;
    ScatterPictureOptions picture;
    io::Provenance provenance;

    io::Provenance origin() const {
        io::Provenance origin = provenance;
        origin.inputs.push_back(common.file);
        return origin;
    }

    /// Where locations go: the standard output unless something else is asked for.
    std::string target() const {
        return output.empty() && picture.file.empty() && !common.json ? "-" : output;
    }
};

// A 64-bit number, signed or unsigned; from 2^63 on as the signed number of the same bits.
std::optional<std::int64_t> parseSeed(const std::string& text) {
    const char *begin = text.data(), *end = begin + text.size();
    const auto parse = [&]<class T>(T number) -> std::optional<std::int64_t> {
        const auto [stop, error] = std::from_chars(begin, end, number);
        if (error != std::errc() || stop != end)
            return {};
        return static_cast<std::int64_t>(number);
    };
    const auto seed = parse(std::int64_t{});
    return seed ? seed : parse(std::uint64_t{});
}

// Surfaces of what has any, else points.
SampleType sampleType(const ScatterOptions& options, const Vantor::Object& geometry) {
    using namespace Vantor::Geometry;
    const bool hasSurface =
        geometry.isA(*getMeshPrototype()) || geometry.isA(*getStrandPrototype());
    if (options.kind == "surface" && !hasSurface)
        throw std::runtime_error(options.common.file +
                                 " has neither faces nor strands; its points need --kind points");
    const auto type =
        options.kind == "points" || !hasSurface ? SampleType::Points : SampleType::Surface;
    if (type == SampleType::Points && options.density)
        throw std::runtime_error("points are chosen by --count; a --density is for faces and "
                                 "strands");
    return type;
}

// A name that is none would leave all locations as if there were no mask.
void requireProperty(const io::LoadedGeometry& geometry, const std::string& name) {
    if (geometry.object->hasProperty(name))
        return;
    std::string names;
    for (const auto& known : geometry.properties)
        names += (names.empty() ? "; there are: " : ", ") + known;
    throw std::runtime_error("the geometry has no property '" + name + "'" + names);
}

GenerateLocationOptions generateOptions(const ScatterOptions& options,
                                        const io::LoadedGeometry& geometry) {
    GenerateLocationOptions generate;
    generate.sample_type = sampleType(options, *geometry.object);
    generate.amount = options.density.value_or(options.count.value_or(0));
    generate.amount_type = options.density ? AmountType::Density : AmountType::Count;
    generate.mask_control =
        options.onReject == "discard" ? MaskControl::Discard : MaskControl::Resample;
    generate.seed = *parseSeed(options.seed);
    if (!options.seedArray.empty())
        generate.seed_array = Ostrum::makePtr<Ostrum::Array<long long>>();
    for (const auto& seed : options.seedArray)
        generate.seed_array->push_back(*parseSeed(seed));
    generate.use_max_number = options.most.has_value();
    generate.max_number = options.most.value_or(0);
    if (!options.mask.empty()) {
        requireProperty(geometry, options.mask);
        generate.use_mask = true;
        generate.mask_property = options.mask;
        generate.invert_mask = options.invertMask;
    }
    return generate;
}

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
void writeOutputs(const ScatterOptions& options, const io::LoadedGeometry& geometry,
                  const Scattered& scattered, Progress& progress) {
    std::optional<Results> locations, picture;
    if (!options.target().empty())
        locations.emplace(options.target());
    if (!options.picture.file.empty())
        picture.emplace(options.picture.file);
    progress.step("writing");
    if (locations)
        writeLocations(options, *geometry.object, scattered, *locations);
    if (picture) {
        progress.step("drawing");
        drawScattered(options.picture, *geometry.object, scattered,
                      displayName(options.common.file), *picture);
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
    if (!options.picture.file.empty() && options.picture.file == target)
        throw CLI::ValidationError("--png", "the picture and the locations need two files");
}

void runScatter(const ScatterOptions& options) {
    checkOptions(options);
    const Run run(options.common);
    Progress progress(options.common, options.picture.file.empty() ? 3 : 4);
    progress.step("reading the geometry");
    const io::LoadedGeometry geometry = loadGeometry(options.common);
    const GenerateLocationOptions generate = generateOptions(options, geometry);
    if (!options.picture.colour.empty())
        requireProperty(geometry, options.picture.colour);
    progress.step("scattering");
    const Scattered scattered = scatter(geometry.object, generate);
    std::optional<ScatterReport> report;
    if (!options.common.quiet || options.common.json)
        report = reportOn(scattered, geometry.object, generate);
    writeOutputs(options, geometry, scattered, progress);
    progress.finish();
    if (!options.common.quiet)
        for (const auto& warning : scattered.warnings)
            warn(warning);
    if (report)
        writeReport(options, *report);
}

// Infinities and NaN make no locations that anybody wants.
std::string isAmount(const std::string& text) {
    double amount = 0;
    const bool is = CLI::detail::lexical_cast(text, amount) && amount >= 0 && std::isfinite(amount);
    return is ? "" : "a finite number of at least 0 is wanted, not " + text;
}

std::string isSeed(const std::string& text) {
    return parseSeed(text) ? "" : "a whole number from -2^63 to 2^64 - 1 is wanted, not " + text;
}

void addAmounts(CLI::App& command, ScatterOptions& options) {
    auto* amount = command.add_option_group("amount", "exactly one of");
    amount
        ->add_option("--count", options.count,
                     "how many locations; a fraction is rounded up or down at random")
        ->check(isAmount, "at least 0");
    amount
        ->add_option("--density", options.density,
                     "how many for a unit of area, or of length on strands")
        ->check(isAmount, "at least 0");
    amount->require_option(1);
    command.add_option("--max", options.most, "at most so many")
        ->check(
            CLI::Range(std::int64_t{0}, std::numeric_limits<std::int64_t>::max(), "at least 0"));
    command.add_option("--seed", options.seed, "seed of the random numbers")
        ->check(isSeed, "64 bits")
        ->capture_default_str();
    command
        .add_option("--seed-array", options.seedArray,
                    "further seeds, with commas between them, that are folded into it")
        ->delimiter(',')
        ->check(isSeed, "64 bits");
}

void addMask(CLI::App& command, ScatterOptions& options) {
    auto* mask = command.add_option(
        "--mask", options.mask,
        "property whose value is the probability of keeping a location: 0 never, 1 always");
    command.add_flag("--invert-mask", options.invertMask, "keep what the mask would reject")
        ->needs(mask);
    command
        .add_option("--on-reject", options.onReject,
                    "what becomes of a location that the mask rejects: another one is drawn for it "
                    "(not for a density on faces), or it is dropped")
        ->check(CLI::IsMember({"resample", "discard"}))
        ->needs(mask)
        ->capture_default_str();
}

void addOutputs(CLI::App& command, ScatterOptions& options) {
    auto names = io::sampleFormatNames();
    std::erase(names, "json");
    command
        .add_option("--format", options.format,
                    "format of the locations; by the file's extension, else csv")
        ->check(CLI::IsMember(names));
    command.add_flag("--provenance", options.withProvenance,
                     "begin CSV with '#' lines that say where it comes from, as PLY does");
    command.add_option("-o,--output", options.output,
                       "file for the locations, - for standard output, which is the default "
                       "without --png and --json");
    addPictureOptions(command, options.picture);
}

} // namespace

void addScatter(CLI::App& app, const io::Provenance& provenance) {
    auto options = std::make_shared<ScatterOptions>();
    options->provenance = provenance;
    CLI::App* command =
        app.add_subcommand("scatter", "Scatter random locations over a mesh, strands or points");
    command
        ->add_option("FILE", options->common.file,
                     "an .obj or .ply file, - for one on standard input, or formula:NAME for an "
                     "embedded mesh (knot)")
        ->required();
    addAmounts(*command, *options);
    addMask(*command, *options);
    command
        ->add_option("--kind", options->kind,
                     "on faces and along strands, or on points; on points where there is nothing "
                     "else")
        ->check(CLI::IsMember({"surface", "points"}));
    addOutputs(*command, *options);
    addRunOptions(*command, options->common);
    command->footer("Example: stratum scatter rock.ply --density 100 --mask moss -o moss.ply");
    command->callback([options] { runScatter(*options); });
}

} // namespace Stratum::tools
