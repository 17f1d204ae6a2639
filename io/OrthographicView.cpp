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

} // namespace Stratum::io
