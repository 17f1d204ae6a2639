// Whether the parts of a volume belong together.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Container.h"
#include "KDX/VoxelTopology.h"

namespace KDX::TileTree3D {

/// Whether container, topology and channel are parts of one tree. A channel that was not laid out
/// yet fits any.
template <class Traits, class ChannelType>
bool partsFit(const Container<Traits>& container, const VoxelTopology<Traits>& topology,
              const ChannelType& channel) {
    return topology.tree() == container.tree() &&
           (!channel.tree() || channel.tree() == container.tree());
}

} // namespace KDX::TileTree3D
