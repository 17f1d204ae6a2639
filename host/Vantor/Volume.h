// Putting a volume together.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Container.h"
#include "KDX/VoxelTopology.h"
#include "Vantor/Geometry.h"
#include "Vantor/Object.h"

#include <utility>

namespace Vantor::Geometry {

/// Adds a tree to an object, which makes it a volume: its container and its topology. An object may
/// carry one tree of each shape.
template <class Traits>
void addTree(Object& object, const Ostrum::Ptr<const KDX::TileTree3D::TileTree<Traits>>& tree) {
    using namespace KDX::TileTree3D;
    object.addComponent(sVoxelTileTree, Ostrum::makePtr<Container<Traits>>(tree));
    object.addComponent(sVoxelComp, Ostrum::makePtr<VoxelTopology<Traits>>(tree));
}

/// Adds a channel under its own name, or under a second one.
template <class ChannelType>
void addChannel(Object& object, const Ostrum::Ptr<ChannelType>& channel) {
    object.addComponent(channel->name(), channel);
}
template <class ChannelType>
void addChannel(Object& object, const Ostrum::Ptr<ChannelType>& channel,
                const Ostrum::String& name) {
    object.addComponent(name, channel);
}

} // namespace Vantor::Geometry
