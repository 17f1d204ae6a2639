// In which order an operator visits its positions.
#pragma once

#include "ops/volumeParts.h"
#include "volume/VisitOrder.h"

namespace Stratum {

/// From how many bytes of values on another order than the positions' own pays for finding it:
/// where every sample reads in one place, and waits for many at a time, only once a processor's
/// table of page addresses no longer covers them; otherwise as soon as its caches do not; and at
/// once where samples in one tile share a search for the tiles around it.
enum class OrderFrom : std::size_t {
    kAlways = 0,
    kOnePlaceEach = std::size_t{128} << 20,
    kManyPlacesEach = std::size_t{4} << 20,
};

/// The order in which to sample a channel at positions in world units.
template <class Traits, class T>
KDX::TileTree3D::VisitOrder visitOrder(const VolumeParts<Traits, T>& volume,
                                       const KDX::TileTree3D::PositionsView& positions,
                                       OrderFrom from) {
    const auto bytes = static_cast<std::size_t>(volume.channel->elementCount(-1)) * sizeof(T);
    if (bytes == 0 || bytes < static_cast<std::size_t>(from))
        return {};
    const auto extent = static_cast<float>(Traits::tileExtent(volume.channel->depth()));
    return {positions, extent * volume.container->voxelSize()};
}

} // namespace Stratum
