// Linear sampling of a whole array of positions.
#pragma once

#include "ops/haloChannel.h"
#include "ops/sampleLoop.h"
#include "ops/visitOrder.h"
#include "volume/VoxelSamplerLinear.h"

namespace Stratum {

/// Calls `loop(sampler)` with a linear sampler on a halo channel that is built first and released
/// afterwards. The halo's default is the channel's.
template <class Traits, class T, class Loop>
void sampleLinear(const VolumeParts<Traits, T>& volume, const Loop& loop) {
    using namespace KDX::TileTree3D;
    const auto halo = buildHalo(volume, volume.channel->defaultValue());
    loop(LinearSampler<Traits, T>(*volume.container, *volume.topology, *halo));
}

} // namespace Stratum
