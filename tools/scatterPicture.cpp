#include "scatterPicture.h"

#include "Results.h"
#include "Vantor/Geometry.h"
#include "io/LocationVertices.h"
#include "io/ScatterPicture.h"

#include <span>

namespace Stratum::tools {

namespace {

using Vantor::Math::float3;

void addGeometry(io::ScatterPicture& picture, const Vantor::Object& geometry) {
    using namespace Vantor::Geometry;
    const auto positions = geometry.propertyData<float3>(sPointPosition);
    picture.vertices.assign(positions->begin(), positions->end());
    if (const auto offsets = geometry.propertyData<std::uint32_t>(sFaceOffset)) {
        const auto& corners = *geometry.propertyData<std::uint32_t>(sFaceVertex);
        for (std::size_t face = 0; face + 1 < offsets->size(); ++face)
            for (std::uint32_t i = (*offsets)[face] + 1; i + 1 < (*offsets)[face + 1]; ++i)
                picture.triangles.push_back(
                    {corners[(*offsets)[face]], corners[i], corners[i + 1]});
    }
    if (const auto offsets = geometry.propertyData<std::uint32_t>(sStrandOffset))
        for (std::size_t strand = 0; strand + 1 < offsets->size(); ++strand)
            for (std::uint32_t i = (*offsets)[strand]; i + 1 < (*offsets)[strand + 1]; ++i)
                picture.segments.push_back({i, i + 1});
}

} // namespace

void addPictureOptions(CLI::App& command, ScatterPictureOptions& options) {
    auto* png = command.add_option("--png", options.file,
                                   "draw the locations over the geometry into this PNG file");
    command
        .add_option("--view", options.view,
                    "where the picture is seen from, in degrees: round the upward axis, and above "
                    "the horizon")
        ->expected(2)
        ->type_name("AZIMUTH ELEVATION")
        ->check(CLI::Range(-360.0, 360.0))
        ->needs(png)
        ->capture_default_str();
    command.add_option("--up", options.up, "the axis that points upward in the picture")
        ->check(CLI::IsMember({"y", "z"}))
        ->needs(png)
        ->capture_default_str();
    command
        .add_option("--colour", options.colour,
                    "property that colours the locations; their depth by default")
        ->needs(png);
    command.add_option("--size", options.size, "pixels of the picture's longer side")
        ->check(CLI::Range(64, 8192))
        ->needs(png)
        ->capture_default_str();
    command
        .add_option("--point-size", options.pointSize,
                    "pixels that a location is wide; by default as suits their number")
        ->check(CLI::Range(0.5, 100.0))
        ->needs(png);
}

void drawScattered(const ScatterPictureOptions& options, const Vantor::Object& geometry,
                   const Scattered& scattered, const std::string& name, Results& results) {
    const std::span locations(scattered.locations.data(), scattered.locations.size());
    const io::LocationVertices vertices(geometry);
    std::vector<float3> points;
    points.reserve(locations.size());
    for (const auto& location : locations)
        points.push_back(vertices.position(vertices.of(location)));
    io::ScatterPicture picture;
    addGeometry(picture, geometry);
    picture.points = points;
    if (!options.colour.empty()) {
        picture.values = io::propertyAt(geometry, options.colour, locations);
        picture.valueLabel = options.colour;
    }
    picture.view = {options.view[0], options.view[1], options.up == "y"};
    picture.size = options.size;
    picture.pointSize = options.pointSize;
    picture.title = name;
    picture.subtitle = std::to_string(points.size()) + " locations";
    io::writePng(picture, results.out());
}

} // namespace Stratum::tools
