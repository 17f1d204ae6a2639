#include "scatterPicture.h"

#include "PropertyCall.h"
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

// Its twelve edges.
void addBox(io::ScatterPicture& picture, const WorldBounds& box) {
    if (box.empty())
        return;
    for (std::uint32_t corner = 0; corner < 8; ++corner) {
        picture.vertices.push_back({static_cast<float>(corner & 1 ? box.upper.x : box.lower.x),
                                    static_cast<float>(corner & 2 ? box.upper.y : box.lower.y),
                                    static_cast<float>(corner & 4 ? box.upper.z : box.lower.z)});
        for (const std::uint32_t axis : {1U, 2U, 4U})
            if ((corner & axis) == 0)
                picture.segments.push_back({corner, corner | axis});
    }
}

} // namespace

void drawScattered(const ScatterPictureOptions& options, const ScatterSource& source,
                   const Scattered& scattered, const std::string& name, Results& results) {
    const std::span locations(scattered.locations.data(), scattered.locations.size());
    const io::LocationVertices vertices(*source.object);
    std::vector<float3> points;
    points.reserve(locations.size());
    for (const auto& location : locations)
        points.push_back(vertices.position(location));
    io::ScatterPicture picture;
    if (source.isVolume())
        addBox(picture, *source.bounds);
    else
        addGeometry(picture, *source.object);
    picture.points = points;
    if (!options.colour.empty()) {
        picture.values = source.isVolume()
                             ? channelAt(*source.object, options.colour, scattered.locations)
                             : io::propertyAt(*source.object, options.colour, locations);
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
