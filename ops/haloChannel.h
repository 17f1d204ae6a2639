// Creating the halo channel that linear sampling reads.
#pragma once

#include "KDX/Channel.h"
#include "KDX/ChannelPool.h"
#include "KDX/VoxelTopology.h"
#include "Kelvane/Logger.h"

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

} // namespace Stratum
