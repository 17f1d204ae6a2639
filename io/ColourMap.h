// Colours for values.
#pragma once

namespace Stratum::io {

/// Components from 0 to 1, sRGB.
struct Colour {
    double r, g, b;
};

enum class ColourMap {
    kSequential, ///< dark to bright, perceptually uniform
    kDiverging,  ///< blue over light grey to red
};

/// The colour for t from 0 to 1; values outside count as the nearer end, NaN is grey.
Colour colourOf(ColourMap map, double t);

/// A colour that tells small integers apart, for outlines and tints.
Colour categoryColour(int category);

} // namespace Stratum::io
