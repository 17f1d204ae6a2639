#include "slicePlane.h"

#include "KDX/whereStored.h"

#include "channels.h"
#include "io/Cancelled.h"
#include "io/jsonText.h"
#include "io/niceSteps.h"
#include "ops/sample_volume.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>

namespace Stratum::tools {

namespace {

using Geometry::Query::SamplerType;
using Vantor::Math::float3;

double component(const double3& p, int axis) {
    return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
}

Plane choosePlane(const PlaneOptions& options, const WorldBounds& bounds) {
    if (options.plane)
        return *options.plane;
    const int axis = options.axis - 'x';
    const double lower = component(bounds.lower, axis), upper = component(bounds.upper, axis);
    if (bounds.empty())
        throw std::runtime_error("the channel holds no data to draw");
    const double at = options.at.value_or(lower + (upper - lower) * options.fraction);
    if (!(at >= lower && at <= upper))
        throw std::runtime_error("the plane at " + io::jsonNumber(at) +
                                 " does not meet the channel's data, which lies between " +
                                 io::jsonNumber(lower) + " and " + io::jsonNumber(upper) +
                                 " on that axis");
    return planeAcross(axis, at);
}

// The picture's edges: all of the bounds for a plane across an axis, else what the plane cuts out
// of them.
void frame(io::SlicePicture& picture, const Plane& plane, const WorldBounds& bounds, int size) {
    std::vector<std::pair<double, double>> corners;
    if (plane.axis)
        corners = {{dot(bounds.lower, plane.u), dot(bounds.lower, plane.v)},
                   {dot(bounds.upper, plane.u), dot(bounds.upper, plane.v)}};
    else
        corners = cut(plane, bounds);
    if (corners.empty())
        throw std::runtime_error("the plane does not meet the channel's data");
    const auto [left, right] = std::ranges::minmax(corners, {}, &std::pair<double, double>::first);
    const auto [bottom, top] = std::ranges::minmax(corners, {}, &std::pair<double, double>::second);
    picture.left = left.first;
    picture.right = right.first;
    picture.bottom = bottom.second;
    picture.top = top.second;
    const double width = picture.right - picture.left, height = picture.top - picture.bottom;
    const double scale = size / std::max(width, height);
    picture.columns = std::max(1, static_cast<int>(std::lround(width * scale)));
    picture.rows = std::max(1, static_cast<int>(std::lround(height * scale)));
    const auto letter = [&](const double3& direction, const char* other) {
        if (!plane.axis)
            return std::string(other);
        return std::string(direction.x != 0 ? "x" : direction.y != 0 ? "y" : "z");
    };
    picture.horizontalAxis = letter(plane.u, "u");
    picture.verticalAxis = letter(plane.v, "v");
}

Ostrum::Array<float3> pixelCentres(const io::SlicePicture& picture, const Plane& plane) {
    Ostrum::Array<float3> positions(static_cast<std::size_t>(picture.columns) * picture.rows);
    for (int row = 0; row < picture.rows; ++row)
        for (int column = 0; column < picture.columns; ++column) {
            const double3 p = plane.at(
                picture.left + (picture.right - picture.left) * (column + 0.5) / picture.columns,
                picture.top - (picture.top - picture.bottom) * (row + 0.5) / picture.rows);
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

std::vector<float> shownValues(const io::Volume& volume, const std::string& channel,
                               SamplerType sampler, const Ostrum::Array<float3>& positions) {
    std::vector<float> shown(positions.size());
    requireChannel(volume, channel, [&]<class Shape, class T>(const PlainChannel<Shape, T>&) {
        Ostrum::Ptr<Ostrum::Array<T>> values;
        Geometry::Query::sample_volume(*volume.object, positions, T{}, channel, sampler, values);
        io::throwIfInterrupted();
        std::ranges::transform(*values, shown.begin(), shownValue<T>);
    });
    return shown;
}

// The range of the finite values shown, around 0 when there are values on both sides of it.
std::pair<double, double> rangeOf(const std::vector<io::SlicePicture>& pictures) {
    double lowest = std::numeric_limits<double>::infinity(), highest = -lowest;
    for (const auto& picture : pictures)
        for (const float value : picture.values)
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
        const double3 lower{tile.tijk().x * voxelSize, tile.tijk().y * voxelSize,
                            tile.tijk().z * voxelSize};
        WorldBounds box;
        box.lower = lower;
        box.upper = {lower.x + extent, lower.y + extent, lower.z + extent};
        if (!plane.axis) {
            if (auto corners = cut(plane, box); !corners.empty())
                picture.tiles.push_back({std::move(corners)});
            return;
        }
        // A plane on a face shows the tile that the face is the lower one of, as samples do.
        const double at = component(plane.origin, *plane.axis);
        if (at < component(box.lower, *plane.axis) || at >= component(box.upper, *plane.axis))
            return;
        const double u = dot(lower, plane.u), v = dot(lower, plane.v);
        picture.tiles.push_back(
            {{{u, v}, {u + extent, v}, {u + extent, v + extent}, {u, v + extent}}});
    });
}

// The depth of the tile that gives each pixel its value.
template <class Shape, class T>
void noteDepths(io::SlicePicture& picture, const PlainChannel<Shape, T>& channel,
                const Ostrum::Array<float3>& positions) {
    const KDX::TileTree3D::Container<Shape> container(channel.tree());
    auto accessor = container.tileAccessor();
    picture.depths.assign(positions.size(), -1);
    for (std::size_t i = 0; i < positions.size(); ++i)
        if (const auto place = whereStored(accessor, container, channel, positions[i]);
            place.isStored)
            picture.depths[i] = place.depth;
}

std::string describe(const Plane& plane, const io::SlicePicture& picture) {
    const double step = (picture.right - picture.left) / 1000;
    const auto triple = [&](const double3& p, double digits) {
        return "(" + io::numberLabel(p.x, digits) + ", " + io::numberLabel(p.y, digits) + ", " +
               io::numberLabel(p.z, digits) + ")";
    };
    std::string text;
    if (plane.axis)
        text = std::string(1, "xyz"[*plane.axis]) + " = " +
               io::numberLabel(component(plane.origin, *plane.axis), step) +
               ", lengths in world units";
    else
        text = "through " + triple(plane.origin, step) + ", normal " + triple(plane.normal(), 1e-3);
    return text;
}

const char* nameOf(SamplerType sampler) {
    return sampler == SamplerType::kLinear    ? "linear"
           : sampler == SamplerType::kCubicC0 ? "cubic C0"
                                              : "cubic C1";
}

} // namespace

std::vector<io::SlicePicture> slicePlane(const io::Volume& volume, const PlaneOptions& options,
                                         const std::optional<Subtrahend>& minus) {
    io::SlicePicture common;
    Ostrum::Array<float3> positions;
    requireChannel(
        volume, options.channel, [&]<class Shape, class T>(const PlainChannel<Shape, T>& channel) {
            const WorldBounds bounds = boundsOf<Shape, T>(channel);
            if (bounds.empty())
                throw std::runtime_error("channel '" + options.channel + "' holds no data to show");
            const Plane plane = choosePlane(options, bounds);
            frame(common, plane, bounds, options.size);
            io::requireDrawable(common.columns, common.rows, options.samplers.size());
            positions = pixelCentres(common, plane);
            if (options.tiles)
                outlineTiles<Shape, T>(common, channel, plane);
            if (options.depth)
                noteDepths<Shape, T>(common, channel, positions);
            common.valueLabel =
                std::is_floating_point_v<T> ? options.channel : "|" + options.channel + "|";
            common.subtitle = describe(plane, common);
        });
    std::vector<io::SlicePicture> pictures;
    for (const SamplerType sampler : options.samplers) {
        io::SlicePicture& picture = pictures.emplace_back(common);
        picture.values = shownValues(volume, options.channel, sampler, positions);
        if (minus) {
            const auto other = shownValues(minus->volume, minus->channel, sampler, positions);
            std::ranges::transform(picture.values, other, picture.values.begin(), std::minus{});
            picture.valueLabel = "difference";
        }
        if (options.samplers.size() > 1)
            picture.subtitle = std::string(nameOf(sampler)) + ": " + picture.subtitle;
    }
    auto [lowest, highest] = options.range.value_or(rangeOf(pictures));
    if (minus && !options.range) {
        highest = std::max(std::abs(lowest), std::abs(highest));
        lowest = -highest;
    }
    for (auto& picture : pictures) {
        picture.lowest = lowest;
        picture.highest = highest;
        if (minus || (lowest < 0 && highest > 0))
            picture.map = io::ColourMap::kDiverging;
    }
    return pictures;
}

} // namespace Stratum::tools
