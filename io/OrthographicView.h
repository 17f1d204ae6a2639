// Looking at a scene from a direction.
#pragma once

#include "common/Math.h"

#include <array>
#include <span>

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

} // namespace Stratum::io
