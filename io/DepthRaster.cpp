#include "io/DepthRaster.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace Stratum::io {

namespace {

using Place = OrthographicView::Place;

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
