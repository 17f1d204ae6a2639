#include "ScatterOptions.h"

#include "io/formulaGeometry.h"
#include "io/formulaVolume.h"
#include "io/sampleFiles.h"
#include "optionChecks.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace Stratum::tools {

namespace {

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
                     "how many for a unit of area, of length on strands, or of the volume of the "
                     "box around a volume's cells")
        ->check(isAmount, "at least 0");
    amount->require_option(1);
    command
        .add_option("--max", options.most, "at most so many; a density in a volume is not limited")
        ->check(isWhole<std::int64_t>)
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
        "property, or channel of a volume, whose value is the probability of keeping a "
        "location: 0 never, 1 always");
    command.add_flag("--invert-mask", options.invertMask, "keep what the mask would reject")
        ->needs(mask);
    command
        .add_option("--on-reject", options.onReject,
                    "what becomes of a location that the mask rejects: another one is drawn for it "
                    "(not for a density on faces, always in volumes), or it is dropped")
        ->check(CLI::IsMember({"resample", "discard"}))
        ->needs(mask)
        ->default_str("resample");
}

void addPictureOptions(CLI::App& command, ScatterPictureOptions& options) {
    auto* png =
        command.add_option("--png", options.file,
                           "draw the locations over the geometry, or in the box of a volume's "
                           "cells, into this PNG file");
    command
        .add_option("--view", options.view,
                    "where the picture is seen from, in degrees: round the upward axis, and above "
                    "the horizon")
        ->expected(2)
        ->type_name("AZIMUTH ELEVATION")
        ->check(isNumber)
        ->check(CLI::Range(-360.0, 360.0))
        ->needs(png)
        ->capture_default_str();
    command.add_option("--up", options.up, "the axis that points upward in the picture")
        ->check(CLI::IsMember({"y", "z"}))
        ->needs(png)
        ->capture_default_str();
    command
        .add_option("--colour", options.colour,
                    "property, or channel of a volume, that colours the locations; their depth by "
                    "default")
        ->needs(png);
    command.add_option("--size", options.size, "pixels of the picture's longer side")
        ->check(CLI::Range(64, 8192))
        ->needs(png)
        ->capture_default_str();
    command
        .add_option("--point-size", options.pointSize,
                    "pixels that a location is wide; by default as suits their number")
        ->check(isNumber)
        ->check(CLI::Range(0.5, 100.0))
        ->needs(png);
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

void addSource(CLI::App& command, ScatterOptions& options) {
    command
        .add_option("FILE", options.common.file,
                    "an .obj or .ply file, - for one on standard input; a .vdb or .nvdb file; or "
                    "formula:NAME for something embedded: a mesh (" +
                        io::formulaGeometryNames() + ") or a volume (" + io::formulaNames() + ")")
        ->required();
    command
        .add_option("--kind", options.kind,
                    "on faces and along strands (surface), or on points; on points where there is "
                    "nothing else. Of a volume: where a channel is above 0 (fog), or where it is 0 "
                    "or below (levelset); as the file says, the first fog by default")
        ->check(CLI::IsMember({"surface", "points", "fog", "levelset"}));
    command.add_option("-c,--channel", options.channel,
                       "channel of a volume to scatter in; the first fog or, without one, level "
                       "set by default");
    addVolumeReading(command, options.common);
}

} // namespace

void addScatterOptions(CLI::App& command, ScatterOptions& options) {
    addSource(command, options);
    addAmounts(command, options);
    addMask(command, options);
    addOutputs(command, options);
    addRunOptions(command, options.common);
}

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

} // namespace Stratum::tools
