// stratum property: values of a channel at locations, and whether they lie inside its data.
#include "KDX/whereStored.h"
#include "Kelvane/Logger.h"
#include "PropertyCall.h"
#include "Results.h"
#include "Terminal.h"
#include "Vantor/Geometry.h"
#include "commands.h"
#include "commonOptions.h"
#include "io/Cancelled.h"
#include "io/csvValues.h"
#include "io/writeTable.h"
#include "ops/haloDecision.h"
#include "tableOptions.h"

#include <CLI/App.hpp>

#include <array>
#include <cstdio>
#include <iostream>
#include <map>
#include <memory>
#include <optional>

namespace Stratum::tools {

namespace {

using KDX::TileTree3D::StoredPlace;
using Vantor::Math::float3;

struct PropertyOptions : TableOptions {
    CommonOptions common;
    std::string channel, at;
    std::optional<double> fallback;
    io::Provenance provenance;
};

Locations readLocations(const PropertyOptions& options) {
    const Kelvane::Logger::timer timer("read locations");
    const auto positions = readPositions(options.at, options);
    Locations locations(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        locations[i].kind = Vantor::Geometry::Common::kVolume;
        locations[i].weights = {positions[i].x, positions[i].y, positions[i].z, 0};
    }
    io::throwIfInterrupted();
    return locations;
}

float3 positionOf(const Vantor::Geometry::Common::GeoLocation& location) {
    return {location.weights[0], location.weights[1], location.weights[2]};
}

template <class T, class F>
void addColumn(io::ColumnTable& table, const std::string& name, std::size_t rows, const F& cell) {
    std::vector<T> cells(rows);
    for (std::size_t i = 0; i < rows; ++i)
        cells[i] = cell(i);
    table.add(name, std::move(cells));
}

io::Flag flag(bool value) {
    return value ? io::Flag::kYes : io::Flag::kNo;
}

template <class T>
io::ColumnTable makeTable(const Locations& locations, const PropertyValues<T>& result,
                          const std::vector<StoredPlace>& places) {
    const std::size_t rows = locations.size();
    io::ColumnTable table;
    for (std::size_t axis = 0; axis < 3; ++axis)
        addColumn<float>(table, std::string(1, "xyz"[axis]), rows,
                         [&](std::size_t i) { return locations[i].weights[axis]; });
    table.addComponents(
        io::columnNames("value", Vantor::Math::kComponentCount<T>, io::matrixColumns<T>()),
        *result.values);
    addColumn<io::Flag>(table, "valid", rows,
                        [&](std::size_t i) { return flag((*result.valid)[i]); });
    if (places.size() != rows)
        return table;
    addColumn<io::Flag>(table, "inside", rows,
                        [&](std::size_t i) { return flag(places[i].isStored); });
    addColumn<std::int32_t>(table, "depth", rows, [&](std::size_t i) { return places[i].depth; });
    return table;
}

template <class Shape, class T>
std::vector<StoredPlace> placesOf(const PlainChannel<Shape, T>& channel,
                                  const Locations& locations) {
    const KDX::TileTree3D::Container<Shape> container(channel.tree());
    auto accessor = container.tileAccessor();
    std::vector<StoredPlace> places;
    places.reserve(locations.size());
    for (const auto& location : locations)
        places.push_back(whereStored(accessor, container, channel, positionOf(location)));
    return places;
}

// Where the operator makes a halo channel, the default it is given stands for what is not stored.
template <class Shape, class T>
bool usesDefault(const PlainChannel<Shape, T>& channel, const Locations& locations) {
    const KDX::TileTree3D::Container<Shape> container(channel.tree());
    return channel.tree()->offsetType() == KDX::TileTree3D::VoxelOffsetType::kCorner &&
           samplesPerVoxel(locations.size(), container.voxelDataCount(-1)) > kHaloSamplingThreshold;
}

void writeTable(const PropertyOptions& options, const io::ColumnTable& table) {
    const Kelvane::Logger::timer timer("write values");
    const auto format = outputFormat(options, options.common.json);
    io::Provenance provenance = options.provenance;
    provenance.inputs = {options.common.file, options.at};
    if (format == io::SampleFormat::kCsv && !options.withProvenance)
        provenance = {};
    Results results(options.output);
    io::writeTable(results.out(), format, table, provenance);
    results.commit();
}

// What became of the locations, for people.
std::string summary(const PropertyOptions& options, std::size_t count,
                    const std::vector<StoredPlace>& places) {
    std::size_t inside = 0;
    std::map<int, std::size_t> byDepth;
    for (const StoredPlace& place : places) {
        inside += place.isStored;
        if (place.isStored)
            ++byDepth[place.depth];
    }
    std::string text = std::to_string(count) + " locations";
    if (places.size() == count)
        text +=
            ", " + std::to_string(inside) + " inside the data of channel '" + options.channel + "'";
    text += "\n";
    std::array<char, 64> line{};
    for (const auto& [depth, answered] : byDepth) {
        std::snprintf(line.data(), line.size(), "at depth %2d            %zu\n", depth, answered);
        text += line.data();
    }
    return text;
}

template <class T>
void finish(const PropertyOptions& options, const Locations& locations,
            const PropertyValues<T>& result, const std::vector<StoredPlace>& places,
            Progress& progress) {
    progress.step("writing");
    writeTable(options, makeTable(locations, result, places));
    progress.finish();
    if (!options.common.quiet)
        std::cerr << summary(options, locations.size(), places);
}

void runProperty(PropertyOptions options) {
    refuseReplacing(options.output, {options.common.file, options.at});
    const Run run(options.common);
    Progress progress(options.common, 3);
    progress.step("reading the volume");
    const io::Volume volume = loadVolume(options.common);
    if (options.channel.empty())
        options.channel = volume.channels.front().name;
    const Locations locations = readLocations(options);
    progress.step("sampling");
    if (options.channel == Vantor::Geometry::sVoxelPosition.str())
        return finish(options, locations,
                      sampleProperty<float3>(*volume.object, locations, options.channel, {}), {},
                      progress);
    requireChannel(
        volume, options.channel, [&]<class Shape, class T>(const PlainChannel<Shape, T>& channel) {
            using Scalar = Vantor::Math::ScalarOf<T>;
            const T fallback = options.fallback
                                   ? Vantor::Math::splat<T>(static_cast<Scalar>(*options.fallback))
                                   : channel.defaultValue();
            if (options.fallback && !options.common.quiet && !usesDefault(channel, locations))
                warn("--default has no effect here: outside the data values are the channel's own "
                     "default");
            const auto result =
                sampleProperty<T>(*volume.object, locations, options.channel, fallback);
            finish(options, locations, result, placesOf<Shape, T>(channel, locations), progress);
        });
}

void addOptions(CLI::App& command, PropertyOptions& options) {
    addVolumeOptions(command, options.common);
    command.add_option("-c,--channel", options.channel,
                       "channel to sample; the first by default. voxel_position gives the "
                       "locations' own positions");
    command
        .add_option("--at", options.at,
                    "locations in world units: what stratum scatter writes, or any .csv file with "
                    "columns x, y and z, .npy array of shape (N, 3) or .ply file; - for standard "
                    "input")
        ->required();
    addTableOptions(command, options, "locations");
    command.add_option(
        "--default", options.fallback,
        "value outside the data where samples lie on voxel corners and there is more "
        "than one location for five voxels; in all other cases, and without this "
        "option, it is the channel's own");
}

} // namespace

void addProperty(CLI::App& app, const io::Provenance& provenance) {
    auto options = std::make_shared<PropertyOptions>();
    options->provenance = provenance;
    CLI::App* command = app.add_subcommand(
        "property", "Sample a channel at scattered locations, and say whether they lie inside it");
    addOptions(*command, *options);
    command->footer("Example: stratum scatter smoke.vdb --count 1000 -o - | stratum property "
                    "smoke.vdb --at - --channel density");
    command->callback([options] { runProperty(*options); });
}

} // namespace Stratum::tools
