#include "slicePlane.h"

#include "channels.h"
#include "io/Cancelled.h"
#include "io/niceSteps.h"
#include "ops/sample_volume.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace Stratum::tools {

namespace {

using Vantor::Math::double3;
using Vantor::Math::float3;
using Vantor::Math::int3;

double& component(double3& p, int axis) {
    return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
}
double component(const double3& p, int axis) {
    return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
}
int component(const int3& p, int axis) {
    return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
}

// The plane's axes: u to the right and v upward.
struct Plane {
    int axis, u, v;
    double at;
};

Plane planeOf(const PlaneOptions& options, const WorldBounds& bounds) {
    const int axis = options.axis - 'x';
    const double lower = component(bounds.lower, axis), upper = component(bounds.upper, axis);
    return {axis, axis == 0 ? 1 : 0, axis == 2 ? 1 : 2,
            options.at.value_or(lower + (upper - lower) * options.fraction)};
}

void frame(io::SlicePicture& picture, const Plane& plane, const WorldBounds& bounds, int size) {
    picture.left = component(bounds.lower, plane.u);
    picture.right = component(bounds.upper, plane.u);
    picture.bottom = component(bounds.lower, plane.v);
    picture.top = component(bounds.upper, plane.v);
    const double width = picture.right - picture.left, height = picture.top - picture.bottom;
    const double scale = size / std::max(width, height);
    picture.columns = std::max(1, static_cast<int>(std::lround(width * scale)));
    picture.rows = std::max(1, static_cast<int>(std::lround(height * scale)));
    picture.horizontalAxis = "xyz"[plane.u];
    picture.verticalAxis = "xyz"[plane.v];
}

Ostrum::Array<float3> pixelCentres(const io::SlicePicture& picture, const Plane& plane) {
    Ostrum::Array<float3> positions(static_cast<std::size_t>(picture.columns) * picture.rows);
    for (int row = 0; row < picture.rows; ++row)
        for (int column = 0; column < picture.columns; ++column) {
            double3 p{};
            component(p, plane.axis) = plane.at;
            component(p, plane.u) =
                picture.left + (picture.right - picture.left) * (column + 0.5) / picture.columns;
            component(p, plane.v) =
                picture.top - (picture.top - picture.bottom) * (row + 0.5) / picture.rows;
            positions[static_cast<std::size_t>(row) * picture.columns + column] = {
                static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
        }
    return positions;
}

template <class T>
float shownValue(const T& value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<float>(value);
    } else {
        double sum = 0;
        for (const auto c : Vantor::Math::toComponents(value))
            sum += double{c} * double{c};
        return static_cast<float>(std::sqrt(sum));
    }
}

template <class T>
void sampleInto(io::SlicePicture& picture, const io::Volume& volume, const std::string& channel,
                const Ostrum::Array<float3>& positions) {
    Ostrum::Ptr<Ostrum::Array<T>> values;
    Geometry::Query::sample_volume(*volume.object, positions, T{}, channel,
                                   Geometry::Query::SamplerType::kLinear, values);
    io::throwIfCancelled();
    picture.values.resize(values->size());
    std::ranges::transform(*values, picture.values.begin(), shownValue<T>);
}

// The range of the finite values shown, around 0 when there are values on both sides of it.
std::pair<double, double> rangeOf(const std::vector<float>& values) {
    double lowest = std::numeric_limits<double>::infinity(), highest = -lowest;
    for (const float value : values)
        if (std::isfinite(value)) {
            lowest = std::min(lowest, double{value});
            highest = std::max(highest, double{value});
        }
    if (lowest > highest)
        return {0, 1};
    if (lowest < 0 && highest > 0) {
        const double larger = std::max(-lowest, highest);
        return {-larger, larger};
    }
    return {lowest, highest};
}

template <class Shape, class T>
void outlineTiles(io::SlicePicture& picture, const PlainChannel<Shape, T>& channel,
                  const Plane& plane) {
    const double voxelSize = channel.tree()->voxelSize();
    forEachDataTile<Shape, T>(channel, [&](const auto& tile, const auto&) {
        const double extent = tile.tileVoxelWidth() * voxelSize;
        const auto origin = [&](int axis) { return component(tile.tijk(), axis) * voxelSize; };
        if (plane.at < origin(plane.axis) || plane.at >= origin(plane.axis) + extent)
            return;
        picture.tiles.push_back({origin(plane.u), origin(plane.v), origin(plane.u) + extent,
                                 origin(plane.v) + extent, tile.depth()});
    });
}

// The depth of the tile that gives each pixel its value.
template <class Shape, class T>
void noteDepths(io::SlicePicture& picture, const PlainChannel<Shape, T>& channel,
                const Ostrum::Array<float3>& positions) {
    const KDX::TileTree3D::Container<Shape> container(channel.tree());
    auto accessor = container.tileAccessor();
    const float worldToVoxel = 1 / container.voxelSize();
    picture.depths.assign(positions.size(), -1);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const float3 p = positions[i] * worldToVoxel;
        const auto isIndex = [](float v) { return v >= -0x1p31F && v < 0x1p31F; };
        if (!isIndex(p.x) || !isIndex(p.y) || !isIndex(p.z))
            continue;
        const int3 ijk{static_cast<int>(std::floor(p.x)), static_cast<int>(std::floor(p.y)),
                       static_cast<int>(std::floor(p.z))};
        const auto found = accessor.tileImpl(ijk, channel.depth());
        if (found && channel.tileData(found.treeIndex()))
            picture.depths[i] = found.depth();
    }
}

} // namespace

io::SlicePicture slicePlane(const io::Volume& volume, const PlaneOptions& options) {
    io::SlicePicture picture;
    requireChannel(
        volume, options.channel, [&]<class Shape, class T>(const PlainChannel<Shape, T>& channel) {
            const WorldBounds bounds = boundsOf<Shape, T>(channel);
            if (bounds.empty())
                throw std::runtime_error("channel '" + options.channel + "' holds no data to show");
            const Plane plane = planeOf(options, bounds);
            frame(picture, plane, bounds, options.size);
            const auto positions = pixelCentres(picture, plane);
            sampleInto<T>(picture, volume, options.channel, positions);
            if (options.tiles)
                outlineTiles<Shape, T>(picture, channel, plane);
            if (options.depth)
                noteDepths<Shape, T>(picture, channel, positions);
            picture.valueLabel =
                std::is_floating_point_v<T> ? options.channel : "|" + options.channel + "|";
            picture.subtitle = std::string(1, options.axis) + " = " +
                               io::numberLabel(plane.at, (picture.right - picture.left) / 1000) +
                               ", lengths in world units";
        });
    std::tie(picture.lowest, picture.highest) = options.range.value_or(rangeOf(picture.values));
    if (picture.lowest < 0 && picture.highest > 0)
        picture.map = io::ColourMap::kDiverging;
    return picture;
}

} // namespace Stratum::tools
