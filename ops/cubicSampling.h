// Cubic sampling of a whole array of positions.
#pragma once

#include "ops/sampleLoop.h"
#include "ops/visitOrder.h"
#include "ops/volumeParts.h"
#include "volume/VoxelSamplerCubic.h"

namespace Stratum {

/// results[i] = the value at positions[i], in world units: clamped to the range of the cell, and
/// linear across changes of resolution.
template <class Traits, class T>
void sampleCubic(const VolumeParts<Traits, T>& volume,
                 const Ostrum::Array<Vantor::Math::float3>& positions, Ostrum::Array<T>& results,
                 KDX::TileTree3D::InterpolationMode mode) {
    using Sampler = KDX::TileTree3D::CubicSampler<Traits, T>;
    const Sampler sampler(*volume.container, *volume.topology, *volume.channel, mode, true, 1,
                          nullptr, 0, 0);
    sampleValues(sampler, positions, results,
                 visitOrder(volume, viewOf(positions), OrderFrom::kAlways));
}

} // namespace Stratum
