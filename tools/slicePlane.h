// A plane through a volume, sampled for a picture.
#pragma once

#include "io/SlicePicture.h"
#include "io/Volume.h"

#include <optional>
#include <string>
#include <utility>

namespace Stratum::tools {

struct PlaneOptions {
    std::string channel;
    char axis = 'z';
    /// Where on the axis: in world units, or as a fraction of the channel's bounds.
    std::optional<double> at;
    double fraction = 0.5;
    /// Pixels along the plane's longer side.
    int size = 800;
    bool tiles = false, depth = false;
    std::optional<std::pair<double, double>> range;
};

/// The picture of a plane; values with several components are shown by their magnitude. Throws
/// std::runtime_error when the volume has no such channel or the channel no data.
io::SlicePicture slicePlane(const io::Volume& volume, const PlaneOptions& options);

} // namespace Stratum::tools
