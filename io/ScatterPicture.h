// A picture of scattered points over the geometry that they are on.
#pragma once

#include "io/OrthographicView.h"
#include "io/OutputFile.h"

#include <span>
#include <string>
#include <vector>

namespace Stratum::io {

/// What a picture shows: the geometry in grey, and balls in the colours of their values.
struct ScatterPicture {
    std::vector<Vantor::Math::float3> vertices;
    std::vector<std::array<std::uint32_t, 3>> triangles; ///< of existing vertices
    std::vector<std::array<std::uint32_t, 2>> segments;  ///< the same

    std::span<const Vantor::Math::float3> points;
    /// One a point, NaN shown in grey; none: the depth from the nearest vertex on.
    std::vector<float> values;

    ViewDirection view;
    int size = 800;       ///< pixels of the longer side, without the margins for letters
    double pointSize = 0; ///< diameter in pixels; 0: as suits their number
    std::string title, subtitle, valueLabel = "depth";
};

/// Draws a picture as PNG. Throws std::runtime_error when there is nothing to draw or it cannot be
/// made or written, Cancelled when the job is cancelled meanwhile.
void writePng(const ScatterPicture& picture, OutputFile& out);

} // namespace Stratum::io
