// A picture of a plane through a volume.
#pragma once

#include "io/ColourMap.h"
#include "io/OutputFile.h"

#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Stratum::io {

/// What a picture shows. The raster's rows run from the top down, its columns from left to right;
/// `left` .. `top` are the
/// coordinates of its edges: world coordinates, or distances from a point of the plane.
struct SlicePicture {
    struct Outline {
        std::vector<std::pair<double, double>> corners; ///< in the coordinates of the edges
    };

    int columns = 0, rows = 0;
    std::vector<float> values;
    double left = 0, right = 1, bottom = 0, top = 1;

    double lowest = 0, highest = 1; ///< values at the ends of the colour map
    ColourMap map = ColourMap::kSequential;

    std::string title, subtitle, valueLabel;
    std::string horizontalAxis = "x", verticalAxis = "y";

    std::vector<Outline> tiles; ///< outlined, when there are any
    std::vector<int> depths;    ///< per pixel, tinted when given; -1 for no tile
};

/// Throws std::runtime_error when so many panels of so many pixels each cannot be drawn.
void requireDrawable(int columns, int rows, std::size_t panels);

/// Draws pictures side by side as one PNG. Throws std::runtime_error when it cannot be made or
/// written.
void writePng(std::span<const SlicePicture> pictures, OutputFile& out);

} // namespace Stratum::io
