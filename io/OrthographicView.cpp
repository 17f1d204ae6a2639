#include "io/OrthographicView.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>

namespace Stratum::io {

namespace {

using Vantor::Math::double3;
using Vantor::Math::float3;
using Place = OrthographicView::Place;

constexpr double kMargin = 0.04; // of the longer side

double dot(const double3& a, const double3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
double3 cross(const double3& a, const double3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

bool isFinite(const float3& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

bool isFinite(const Place& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.depth);
}

// Pixels whose centres lie in [from, to], within a raster of that many.
std::pair<int, int> pixelRange(double from, double to, int count) {
    const double most = count;
    return {static_cast<int>(std::ceil(std::clamp(from - 0.5, 0.0, most))),
            static_cast<int>(std::floor(std::clamp(to - 0.5, -1.0, most - 1)))};
}

} // namespace

OrthographicView::OrthographicView(const ViewDirection& direction, std::span<const float3> points,
                                   int size) {
    const double azimuth = direction.azimuth * std::numbers::pi / 180,
                 elevation = direction.elevation * std::numbers::pi / 180;
    const double3 eye{std::cos(elevation) * std::sin(azimuth),
                      -std::cos(elevation) * std::cos(azimuth), std::sin(elevation)};
    const double3 right{std::cos(azimuth), std::sin(azimuth), 0};
    axes_ = {right, cross(eye, right), eye};
    if (direction.yUp)
        for (double3& axis : axes_)
            axis = {axis.x, axis.z, -axis.y};
    lowest_.fill(std::numeric_limits<double>::infinity());
    highest_.fill(-std::numeric_limits<double>::infinity());
    for (const float3& p : points)
        if (isFinite(p)) {
            const auto projected = project(p);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                lowest_[axis] = std::min(lowest_[axis], projected[axis]);
                highest_[axis] = std::max(highest_[axis], projected[axis]);
            }
        }
    if (lowest_[0] > highest_[0])
        throw std::runtime_error("there is nothing to draw a picture of");
    const double width = highest_[0] - lowest_[0], height = highest_[1] - lowest_[1];
    const double longer = std::max(width, height);
    const double inner = size * (1 - 2 * kMargin);
    scale_ = longer > 0 ? inner / longer : 1;
    const auto pixels = [&](double extent) {
        return std::clamp(static_cast<int>(std::lround(extent * scale_ + 2 * kMargin * size)),
                          std::max(1, size / 4), size);
    };
    columns_ = pixels(width);
    rows_ = pixels(height);
    marginX_ = (columns_ - width * scale_) / 2;
    marginY_ = (rows_ - height * scale_) / 2;
}

std::array<double, 3> OrthographicView::project(const float3& p) const {
    const double3 d{p.x, p.y, p.z};
    return {dot(d, axes_[0]), dot(d, axes_[1]), dot(d, axes_[2])};
}

Place OrthographicView::operator()(const float3& p) const {
    const auto projected = project(p);
    return {marginX_ + (projected[0] - lowest_[0]) * scale_,
            marginY_ + (highest_[1] - projected[1]) * scale_, projected[2]};
}

DepthRaster::DepthRaster(int columns, int rows, const Colour& background)
    : columns_(columns), rows_(rows),
      depths_(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows),
              -std::numeric_limits<float>::infinity()),
      colours_(depths_.size(), {static_cast<float>(background.r), static_cast<float>(background.g),
                                static_cast<float>(background.b)}) {}

void DepthRaster::set(int column, int row, double depth, const Colour& colour) {
    const std::size_t i = static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
                          static_cast<std::size_t>(column);
    if (depth < double{depths_[i]})
        return;
    depths_[i] = static_cast<float>(depth);
    colours_[i] = {static_cast<float>(colour.r), static_cast<float>(colour.g),
                   static_cast<float>(colour.b)};
}

void DepthRaster::triangle(const std::array<Place, 3>& corners, const Colour& colour) {
    const auto& [a, b, c] = corners;
    const double twiceArea = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
    if (twiceArea == 0 || !std::ranges::all_of(corners, [](const Place& p) { return isFinite(p); }))
        return;
    const auto [firstRow, lastRow] =
        pixelRange(std::min({a.y, b.y, c.y}), std::max({a.y, b.y, c.y}), rows_);
    const auto [first, last] =
        pixelRange(std::min({a.x, b.x, c.x}), std::max({a.x, b.x, c.x}), columns_);
    for (int row = firstRow; row <= lastRow; ++row)
        for (int column = first; column <= last; ++column) {
            const double x = column + 0.5, y = row + 0.5;
            const double u = ((b.x - x) * (c.y - y) - (c.x - x) * (b.y - y)) / twiceArea;
            const double v = ((c.x - x) * (a.y - y) - (a.x - x) * (c.y - y)) / twiceArea;
            const double w = 1 - u - v;
            // A hair beyond the edges, so that no gaps show between triangles.
            constexpr double kEdge = -1e-9;
            if (u >= kEdge && v >= kEdge && w >= kEdge)
                set(column, row, u * a.depth + v * b.depth + w * c.depth, colour);
        }
}

void DepthRaster::segment(const Place& from, const Place& to, double radius, const Colour& colour) {
    if (!isFinite(from) || !isFinite(to))
        return;
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    const int steps =
        static_cast<int>(std::clamp(std::ceil(length / std::max(0.5, radius / 2)), 1.0, 1e5));
    for (int i = 0; i <= steps; ++i) {
        const double t = static_cast<double>(i) / steps;
        ball({from.x + (to.x - from.x) * t, from.y + (to.y - from.y) * t,
              from.depth + (to.depth - from.depth) * t},
             radius, 0, colour);
    }
}

void DepthRaster::ball(const Place& centre, double radius, double lift, const Colour& colour) {
    if (!isFinite(centre))
        return;
    const auto [firstRow, lastRow] = pixelRange(centre.y - radius, centre.y + radius, rows_);
    const auto [first, last] = pixelRange(centre.x - radius, centre.x + radius, columns_);
    for (int row = firstRow; row <= lastRow; ++row)
        for (int column = first; column <= last; ++column) {
            const double x = (column + 0.5 - centre.x) / radius,
                         y = (row + 0.5 - centre.y) / radius, square = x * x + y * y;
            if (square > 1)
                continue;
            const double shade = 0.6 + 0.4 * std::sqrt(1 - square);
            set(column, row, centre.depth + lift,
                {colour.r * shade, colour.g * shade, colour.b * shade});
        }
}

Colour DepthRaster::mean(int column, int row, int side) const {
    std::array<double, 3> sum{};
    for (int y = row * side; y < (row + 1) * side; ++y)
        for (int x = column * side; x < (column + 1) * side; ++x)
            for (std::size_t c = 0; c < 3; ++c)
                sum[c] += double{
                    colours_[static_cast<std::size_t>(y) * static_cast<std::size_t>(columns_) +
                             static_cast<std::size_t>(x)][c]};
    const double count = side * side;
    return {sum[0] / count, sum[1] / count, sum[2] / count};
}

} // namespace Stratum::io
