// A plane through a volume, sampled for a picture.
#pragma once

#include "Plane.h"
#include "io/SlicePicture.h"
#include "io/Volume.h"
#include "ops/sample_volume.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Stratum::tools {

struct PlaneOptions {
    std::string channel;
    char axis = 'z';
    /// Where on the axis: in world units, or as a fraction of the channel's bounds.
    std::optional<double> at;
    double fraction = 0.5;
    /// A plane that may be tilted, in place of the one across an axis.
    std::optional<Plane> plane;
    /// Pixels along the plane's longer side.
    int size = 800;
    bool tiles = false, depth = false;
    std::optional<std::pair<double, double>> range;
    /// One picture each, side by side.
    std::vector<Geometry::Query::SamplerType> samplers{Geometry::Query::SamplerType::kLinear};
};

/// What is taken away from the values shown: a channel of the same volume or of another one.
struct Subtrahend {
    const io::Volume& volume;
    std::string channel;
};

/// The pictures of a plane, one a sampler, all with one range of values. Values with several
/// components are shown by their magnitude. Throws std::runtime_error when a volume has no such
/// channel, the channel no data, or when the plane passes them by.
std::vector<io::SlicePicture> slicePlane(const io::Volume& volume, const PlaneOptions& options,
                                         const std::optional<Subtrahend>& minus = {});

} // namespace Stratum::tools
