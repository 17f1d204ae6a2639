// Creating the halo channel that linear sampling reads.
#pragma once

#include "KDX/Channel.h"
#include "KDX/ChannelPool.h"
#include "KDX/VoxelTopology.h"
#include "KDX/halo.h"
#include "Kelvane/Logger.h"
#include "ops/volumeParts.h"

#include <cstddef>
#include <iostream>

namespace Stratum {

/// How a halo channel is to be made.
struct HaloChannelSettings {
    bool useChannelPool = true;
    bool callElementConstructor = true;
    int coarsestDepth = 0;
    int finestDepth;
};

/// A new halo channel on a topology, from the host's pool when that is enabled; otherwise one made
/// directly, which gets its tiles when computeHalo() fills it.
template <class Traits, class T>
Ostrum::Ptr<KDX::TileTree3D::Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>>
createHaloChannel(const KDX::TileTree3D::VoxelTopology<Traits>& topology, const T& defaultValue,
                  const HaloChannelSettings& settings) {
    using namespace KDX::TileTree3D;
    if (!settings.callElementConstructor && Kelvane::Logger::verboseLevel() >= 3)
        std::cout << "Warning: in_callElementConstructor is false" << std::endl;
    const bool pooledMemory = ChannelMemoryPool::enabled();
    if (settings.useChannelPool && ChannelPool::enabled())
        return ChannelPool::allocate<Traits, T, Traits::kVoxelsPerAxis + 1, 0>(
            defaultValue, settings.callElementConstructor, pooledMemory, settings.coarsestDepth,
            settings.finestDepth, std::size_t{0}, &topology);
    return Ostrum::makePtr<Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>>(
        "", defaultValue, pooledMemory, settings.callElementConstructor, settings.coarsestDepth,
        settings.finestDepth);
}

/// The volume's channel with the values around its tiles, and `defaultValue` where there is no
/// data.
template <class Traits, class T>
auto buildHalo(const VolumeParts<Traits, T>& volume, const T& defaultValue) {
    auto halo = createHaloChannel<Traits, T>(*volume.topology, defaultValue,
                                             {.finestDepth = Traits::kFinestDepth});
    if (volume.channel->depth() >= 0) // one without data has nothing to copy
        KDX::TileTree3D::computeHalo<Traits, T, 0, 0, 1, 0>(*volume.channel, *volume.container,
                                                            *halo, -1, -1);
    return halo;
}

} // namespace Stratum
