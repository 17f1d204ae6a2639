// stratum slice: a picture of a plane.
#include "slicePlane.h"

#include "Results.h"
#include "Terminal.h"
#include "commands.h"
#include "commonOptions.h"
#include "io/provenanceJson.h"
#include "optionChecks.h"

#include <CLI/App.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace Stratum::tools {

namespace {

struct SliceOptions {
    CommonOptions common;
    PlaneOptions plane;
    std::string axis = "z", output, minus, minusChannel;
    std::vector<double> range, origin, u, v, normal;
    std::string samplerList = "linear";
    std::vector<std::string> samplers; ///< the names in that list
    io::Provenance provenance;
};

double3 triple(const std::vector<double>& numbers) {
    return {numbers[0], numbers[1], numbers[2]};
}

std::vector<std::string> splitAtCommas(const std::string& list) {
    std::vector<std::string> names;
    for (std::size_t start = 0;;) {
        const auto comma = list.find(',', start);
        names.push_back(list.substr(start, comma - start));
        if (comma == std::string::npos)
            return names;
        start = comma + 1;
    }
}

// With the names between braces, which the shell's completion goes by.
CLI::Validator isSamplerList() {
    std::string allowed;
    for (const auto& name : samplerNames())
        (allowed += allowed.empty() ? "" : ",") += name;
    const auto check = [allowed](const std::string& list) -> std::string {
        for (const auto& name : splitAtCommas(list))
            if (std::ranges::count(samplerNames(), name) == 0)
                return "there is no sampler '" + name + "' among {" + allowed +
                       "}; several stand with commas between them";
        return "";
    };
    return {check, "{" + allowed + "}"};
}

// Fills in what follows from the options as they were typed.
void settle(SliceOptions& options) {
    PlaneOptions& plane = options.plane;
    if (!options.range.empty()) {
        if (!(options.range[0] < options.range[1]) ||
            !std::isfinite(options.range[1] - options.range[0]))
            throw CLI::ValidationError(
                "--range", "two finite numbers are wanted, the lower one first, that are no "
                           "further apart than the largest number");
        plane.range = std::pair(options.range[0], options.range[1]);
    }
    for (const auto& numbers : {options.origin, options.u, options.v, options.normal})
        if (!std::ranges::all_of(numbers, [](double n) { return std::isfinite(n); }))
            throw CLI::ValidationError("a plane", "finite numbers are wanted");
    if (plane.at && !std::isfinite(*plane.at))
        throw CLI::ValidationError("--at", "a finite number is wanted");
    if (options.common.json && options.output == "-")
        throw CLI::ValidationError("--json", "the standard output is for the picture already");
    if (!options.origin.empty() && options.normal.empty() && options.u.empty())
        throw CLI::ValidationError("--origin", "--normal, or --u and --v, must say how the plane "
                                               "lies");
    plane.axis = options.axis.front();
    if (!options.normal.empty())
        plane.plane = planeAlong(triple(options.origin), triple(options.normal));
    else if (!options.u.empty())
        plane.plane = planeOf(triple(options.origin), triple(options.u), triple(options.v));
    options.samplers = splitAtCommas(options.samplerList);
    plane.samplers.clear();
    for (const auto& name : options.samplers)
        plane.samplers.push_back(samplerNamed(name));
}

std::string describe(const SliceOptions& options, const std::vector<io::SlicePicture>& pictures) {
    io::Provenance provenance = options.provenance;
    provenance.inputs.push_back(options.common.file);
    if (!options.minus.empty())
        provenance.inputs.push_back(options.minus);
    std::string text = "{" + io::provenanceJson(provenance) +
                       ",\n \"picture\": " + io::jsonText(options.output) + ",\n \"range\": [" +
                       io::jsonNumber(pictures[0].lowest) + ", " +
                       io::jsonNumber(pictures[0].highest) + "],\n \"panels\": [";
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        float lowest = std::numeric_limits<float>::infinity(), highest = -lowest;
        for (const float value : pictures[i].values) {
            lowest = std::min(lowest, value);
            highest = std::max(highest, value);
        }
        (text += i == 0 ? "" : ",") += "\n  {\"sampler\": " + io::jsonText(options.samplers[i]) +
                                       ", \"columns\": " + std::to_string(pictures[i].columns) +
                                       ", \"rows\": " + std::to_string(pictures[i].rows) +
                                       ", \"lowest\": " + io::jsonNumber(lowest) +
                                       ", \"highest\": " + io::jsonNumber(highest) + "}";
    }
    return text + "]}\n";
}

std::vector<io::SlicePicture> draw(SliceOptions& options, Progress& progress) {
    progress.step("reading the volume");
    const io::Volume volume = loadVolume(options.common);
    if (options.plane.channel.empty())
        options.plane.channel = volume.channels.front().name;
    std::optional<io::Volume> other;
    std::optional<Subtrahend> minus;
    if (!options.minus.empty()) {
        CommonOptions second = options.common;
        second.file = options.minus;
        second.tolerance.reset();
        if (isFormula(second.file))
            second.grid.clear();
        other = loadVolume(second);
    }
    if (other || !options.minusChannel.empty())
        minus.emplace(Subtrahend{other ? *other : volume, options.minusChannel.empty()
                                                              ? options.plane.channel
                                                              : options.minusChannel});
    progress.step("sampling");
    auto pictures = slicePlane(volume, options.plane, minus);
    std::string title = displayName(options.common.file);
    if (volume.saving)
        title += " to within " + io::jsonNumber(volume.saving->tolerance);
    if (minus)
        title += ": " + options.plane.channel + " minus " +
                 (other ? displayName(options.minus) + ": " : std::string()) + minus->channel;
    for (auto& picture : pictures)
        picture.title = title;
    return pictures;
}

void runSlice(SliceOptions options) {
    settle(options);
    refuseReplacing(options.output, {options.common.file, options.minus});
    const Run run(options.common);
    Progress progress(options.common, 3);
    const auto pictures = draw(options, progress);
    progress.step("drawing");
    Results results(options.output);
    io::writePng(pictures, results.out());
    results.commit();
    if (options.common.json) {
        Results summary;
        summary.out().write(describe(options, pictures));
        summary.commit();
    }
}

void addPlaneOptions(CLI::App& command, SliceOptions& options) {
    const auto direction = [&](const char* name, std::vector<double>& numbers, const char* help) {
        return command.add_option(name, numbers, help)->expected(3)->type_name("X Y Z");
    };
    auto* axis =
        command.add_option("--axis", options.axis, "axis that the plane is perpendicular to")
            ->check(CLI::IsMember({"x", "y", "z"}))
            ->capture_default_str();
    auto* at = command.add_option("--at", options.plane.at, "where on the axis, in world units");
    auto* fraction = command
                         .add_option("--fraction", options.plane.fraction,
                                     "where on the axis, within the bounds")
                         ->check(isNumber)
                         ->check(CLI::Range(0.0, 1.0))
                         ->excludes(at)
                         ->capture_default_str();
    auto* origin = direction("--origin", options.origin, "a point of a plane that may be tilted")
                       ->excludes(axis)
                       ->excludes(at)
                       ->excludes(fraction);
    auto* normal =
        direction("--normal", options.normal, "what that plane is perpendicular to")->needs(origin);
    auto* u = direction("--u", options.u, "its direction to the right, in place of a normal")
                  ->needs(origin)
                  ->excludes(normal);
    auto* v =
        direction("--v", options.v, "its direction upward; made perpendicular to --u")->needs(u);
    u->needs(v);
}

} // namespace

void addSlice(CLI::App& app, const io::Provenance& provenance) {
    auto options = std::make_shared<SliceOptions>();
    options->provenance = provenance;
    PlaneOptions& plane = options->plane;
    CLI::App* command = app.add_subcommand("slice", "Draw a plane through a volume as a PNG");
    addVolumeOptions(*command, options->common);
    command->add_option("-c,--channel", plane.channel, "channel to show; the first by default");
    addPlaneOptions(*command, *options);
    command
        ->add_option("--sampler", options->samplerList,
                     "how to interpolate; several with commas between them are drawn side by side")
        ->check(isSamplerList())
        ->capture_default_str();
    command->add_option("--minus", options->minus,
                        "show the difference to the channel in this other volume");
    command->add_option("--minus-channel", options->minusChannel,
                        "show the difference to this channel; with --minus, the other volume's");
    command->add_option("--size", plane.size, "pixels of the plane's longer side")
        ->check(CLI::Range(16, 8192))
        ->capture_default_str();
    command->add_flag("--tiles", plane.tiles, "outline the tiles");
    command->add_flag("--depth", plane.depth, "tint by the tiles' depth");
    command->add_option("--range", options->range, "values at the ends of the colour map")
        ->expected(2)
        ->type_name("LO HI");
    command->add_option("-o,--output", options->output, "PNG file, - for standard output")
        ->required();
    command->footer(
        "Example: stratum slice smoke.vdb --origin 0 0 0 --normal 1 1 0 --tiles -o slice.png");
    command->callback([options] { runSlice(*options); });
}

} // namespace Stratum::tools
