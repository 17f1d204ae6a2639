// A picture of a plane through a volume.
#pragma once

#include "io/ColourMap.h"
#include "io/OutputFile.h"

#include <string>
#include <vector>

namespace Stratum::io {

/// What a picture shows. The raster's rows run from the top down, its columns from left to right;
/// `left` .. `top` are the world coordinates of its edges.
struct SlicePicture {
    struct Rectangle {
        double left, bottom, right, top; ///< world coordinates
        int depth;
    };

    int columns = 0, rows = 0;
    std::vector<float> values;
    double left = 0, right = 1, bottom = 0, top = 1;

    double lowest = 0, highest = 1; ///< values at the ends of the colour map
    ColourMap map = ColourMap::kSequential;

    std::string title, subtitle, valueLabel;
    std::string horizontalAxis = "x", verticalAxis = "y";

    std::vector<Rectangle> tiles; ///< outlined, when there are any
    std::vector<int> depths;      ///< per pixel, tinted when given; -1 for no tile
};

/// Draws the picture as a PNG. Throws std::runtime_error when it cannot be made or written.
void writePng(const SlicePicture& picture, OutputFile& out);

} // namespace Stratum::io
