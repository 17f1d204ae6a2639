// stratum slice: a picture of an axis-aligned plane.
#include "slicePlane.h"

#include "Results.h"
#include "commands.h"
#include "commonOptions.h"

#include <CLI/App.hpp>

#include <cmath>
#include <memory>
#include <vector>

namespace Stratum::tools {

namespace {

struct SliceOptions {
    CommonOptions common;
    PlaneOptions plane;
    std::string axis = "z", output;
    std::vector<double> range;
};

void runSlice(SliceOptions options) {
    if (!options.range.empty()) {
        if (!(options.range[0] < options.range[1]) ||
            !std::isfinite(options.range[1] - options.range[0]))
            throw CLI::ValidationError("--range", "the lower end must be below the upper one");
        options.plane.range = std::pair(options.range[0], options.range[1]);
    }
    if (options.plane.at && !std::isfinite(*options.plane.at))
        throw CLI::ValidationError("--at", "a finite number is wanted");
    options.plane.axis = options.axis.front();
    const Run run(options.common);
    const io::Volume volume = loadVolume(options.common);
    if (options.plane.channel.empty())
        options.plane.channel = volume.channels.front().name;
    io::SlicePicture picture = slicePlane(volume, options.plane);
    picture.title = displayName(options.common.file);
    Results results(options.output);
    io::writePng(picture, results.out());
    results.commit();
}

} // namespace

void addSlice(CLI::App& app) {
    auto options = std::make_shared<SliceOptions>();
    PlaneOptions& plane = options->plane;
    CLI::App* command = app.add_subcommand("slice", "Draw an axis-aligned plane as a PNG");
    addVolumeOptions(*command, options->common);
    command->add_option("-c,--channel", plane.channel, "channel to show; the first by default");
    command->add_option("--axis", options->axis, "axis that the plane is perpendicular to")
        ->check(CLI::IsMember({"x", "y", "z"}))
        ->capture_default_str();
    auto* at = command->add_option("--at", plane.at, "where on the axis, in world units");
    command->add_option("--fraction", plane.fraction, "where on the axis, within the bounds")
        ->check(CLI::Range(0.0, 1.0))
        ->excludes(at)
        ->capture_default_str();
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
        "Example: stratum slice smoke.vdb --axis z --fraction 0.4 --tiles -o slice.png");
    command->callback([options] { runSlice(*options); });
}

} // namespace Stratum::tools
