// What hides what.
#pragma once

#include "io/ColourMap.h"
#include "io/OrthographicView.h"

#include <array>
#include <vector>

namespace Stratum::io {

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
