// Linear sampling of a whole array of positions.
#pragma once

#include "KDX/halo.h"
#include "ops/haloChannel.h"
#include "ops/sampleLoop.h"
#include "ops/visitOrder.h"
#include "ops/volumeParts.h"
#include "volume/VoxelSamplerLinear.h"

namespace Stratum {

/// Calls `loop(sampler)` with a linear sampler on a halo channel that is built first and released
/// afterwards. The halo's default is the channel's.
template <class Traits, class T, class Loop>
void sampleLinear(const VolumeParts<Traits, T>& volume, const Loop& loop) {
    using namespace KDX::TileTree3D;
    const auto halo = createHaloChannel<Traits, T>(*volume.topology, volume.channel->defaultValue(),
                                                   {.finestDepth = Traits::kFinestDepth});
    computeHalo<Traits, T, 0, 0, 1, 0>(*volume.channel, *volume.container, *halo, -1, -1);
    loop(LinearSampler<Traits, T>(*volume.container, *volume.topology, *halo));
}

} // namespace Stratum
