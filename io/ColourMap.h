// Colours for values.
#pragma once

#include <optional>

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

/// The colour for t from 0 (dark) to 1 (bright) in a hue that tells small integers apart, or in
/// grey without a category; NaN is grey.
Colour tintedColour(std::optional<int> category, double t);

} // namespace Stratum::io
