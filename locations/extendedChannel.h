// A copy of a channel that also holds the values around its tiles.
#pragma once

#include "KDX/halo.h"

#include <string>

namespace Vantor::Sample {

/// The halo channel of a channel, of the same name with "Extended" behind it, with `defaultValue`
/// where there is no data. Throws std::invalid_argument when the parts are of two trees.
template <class Traits, class T>
Ostrum::Ptr<KDX::TileTree3D::Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>>
extendedChannel(const KDX::TileTree3D::Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& channel,
                const KDX::TileTree3D::Container<Traits>& container,
                const KDX::TileTree3D::VoxelTopology<Traits>& topology, const T& defaultValue) {
    using namespace KDX::TileTree3D;
    auto extended = Ostrum::makePtr<Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>>(
        Ostrum::String(std::string(channel.name().c_str()) + "Extended"), defaultValue, false, true,
        0, Traits::kFinestDepth);
    if (channel.depth() < 0) // without data there is nothing around it
        return extended;
    extended->update(topology);
    computeHalo<Traits, T, 0, 0, 1, 0>(channel, container, *extended, -1, -1);
    return extended;
}

} // namespace Vantor::Sample
