// Cubic sampling of a whole array of positions.
#pragma once

#include "ops/sampleLoop.h"
#include "ops/volumeParts.h"
#include "volume/VisitOrder.h"
#include "volume/VoxelSamplerCubic.h"

namespace Stratum {

/// The order in which to sample at positions in world units. Unlike linear sampling, that of small
/// volumes gains by it as well: positions in one tile share the search for the tiles around it.
template <class Traits, class T>
KDX::TileTree3D::VisitOrder cubicOrder(const VolumeParts<Traits, T>& volume,
                                       const KDX::TileTree3D::PositionsView& positions) {
    const int depth = volume.channel->depth();
    if (depth < 0) // no data at all
        return {};
    const auto extent = static_cast<float>(Traits::tileExtent(depth));
    return {positions, extent * volume.container->voxelSize()};
}

/// results[i] = the value at positions[i], in world units: clamped to the range of the cell, and
/// linear across changes of resolution.
template <class Traits, class T>
void sampleCubic(const VolumeParts<Traits, T>& volume,
                 const Ostrum::Array<Vantor::Math::float3>& positions, Ostrum::Array<T>& results,
                 KDX::TileTree3D::InterpolationMode mode) {
    using Sampler = KDX::TileTree3D::CubicSampler<Traits, T>;
    const Sampler sampler(*volume.container, *volume.topology, *volume.channel, mode, true, 1,
                          nullptr, 0, 0);
    sampleValues(sampler, positions, results, cubicOrder(volume, viewOf(positions)));
}

} // namespace Stratum
