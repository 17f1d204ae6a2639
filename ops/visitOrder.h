// In which order an operator visits its positions.
#pragma once

#include "ops/volumeParts.h"
#include "volume/VisitOrder.h"

namespace Stratum {

/// The order in which to sample a channel at positions in world units: their own where processor
/// caches hold the channel.
template <class Traits, class T>
KDX::TileTree3D::VisitOrder visitOrder(const VolumeParts<Traits, T>& volume,
                                       const KDX::TileTree3D::PositionsView& positions) {
    constexpr std::size_t kCached = std::size_t{4} << 20;
    if (static_cast<std::size_t>(volume.channel->elementCount(-1)) * sizeof(T) < kCached)
        return {};
    const auto extent = static_cast<float>(Traits::tileExtent(volume.channel->depth()));
    return {positions, extent * volume.container->voxelSize()};
}

} // namespace Stratum
