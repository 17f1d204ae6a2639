// The part of a volume that locations are scattered in.
#pragma once

#include "channels.h"

#include <cstdint>

namespace Stratum::tools {

/// The cells of a float channel that hold density (above 0) or lie inside of a surface (distance at
/// or below 0), among those that no finer tile covers, down to the channel's own depth. A cell is a
/// voxel; where samples lie on voxel corners it is the cube between eight neighbouring samples,
/// which counts by their mean.
struct CandidateSpace {
    std::uint64_t cells = 0; ///< of whatever depth
    double volume = 0;       ///< of all of them, in world units
    WorldBounds box;         ///< around all of them

    double boxVolume() const;
};

/// Throws std::runtime_error when there is no float channel of that name.
CandidateSpace candidateSpace(const Vantor::Object& object, const std::string& channel, bool isFog);

} // namespace Stratum::tools
