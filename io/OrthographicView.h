// Looking at a scene from a direction, and what hides what.
#pragma once

#include "common/Math.h"
#include "io/ColourMap.h"

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace Stratum::io {

/// Where the eye is, as seen from the scene.
struct ViewDirection {
    double azimuth = 0;   ///< degrees round the upward axis; 0 looks along +y, or along -z for yUp
    double elevation = 0; ///< degrees above the horizon
    bool yUp = false;     ///< y points upward in place of z
};

/// A parallel projection of a scene onto a raster: x to the right and y downward in pixels, and a
/// depth in world units that grows toward the eye.
class OrthographicView {
public:
    struct Place {
        double x, y, depth;
    };

    /// Fits the points, whose finite ones must not be none, into a raster with a margin; its longer
    /// side has `size` pixels.
    OrthographicView(const ViewDirection& direction, std::span<const Vantor::Math::float3> points,
                     int size);

    Place operator()(const Vantor::Math::float3& p) const;

    int columns() const { return columns_; }
    int rows() const { return rows_; }
    double nearest() const { return highest_[2]; } ///< depths of the points, as they were given
    double farthest() const { return lowest_[2]; }
    double pixelsPerUnit() const { return scale_; }

private:
    std::array<double, 3> project(const Vantor::Math::float3& p) const;

    std::array<Vantor::Math::double3, 3> axes_{}; ///< to the right, upward, to the eye
    std::array<double, 3> lowest_{}, highest_{};
    double scale_ = 1, marginX_ = 0, marginY_ = 0;
    int columns_ = 0, rows_ = 0;
};

/// A raster of colours where the nearest wins.
class DepthRaster {
public:
    DepthRaster(int columns, int rows, const Colour& background);

    using Place = OrthographicView::Place;
    void triangle(const std::array<Place, 3>& corners, const Colour& colour);
    void segment(const Place& from, const Place& to, double radius, const Colour& colour);
    /// A disc that hides, and is hidden, as if it were `lift` nearer than its centre.
    void ball(const Place& centre, double radius, double lift, const Colour& colour);

    /// The mean over a block of `side` x `side` pixels.
    Colour mean(int column, int row, int side) const;

private:
    void set(int column, int row, double depth, const Colour& colour);

    int columns_, rows_;
    std::vector<float> depths_;
    std::vector<std::array<float, 3>> colours_;
};

} // namespace Stratum::io
