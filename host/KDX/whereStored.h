// Whether a channel holds data at a place, and how fine.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Container.h"

#include <cmath>

namespace KDX::TileTree3D {

/// What answers at a place: the deepest tile that holds it and is no finer than the channel's data,
/// which values are interpolated in.
struct StoredPlace {
    int depth = -1;        ///< of that tile; -1 where there is none
    bool isStored = false; ///< whether the tile holds data of the channel

    bool operator==(const StoredPlace&) const = default;
};

/// Where a sample at a world position comes from; without a stored tile it is the channel's
/// default. Rounded as the samplers of the channel's values do, in double precision for such
/// values, so that both agree on which side of a tile's face a position lies. Places that are no
/// index (NaN, infinite, beyond `int`) are in no tile. Many places are faster with one accessor.
template <class Traits, class T>
StoredPlace whereStored(typename Container<Traits>::ConstTileAccessor& accessor,
                        const Container<Traits>& container,
                        const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& channel,
                        const float3& world) {
    using Scalar = Vantor::Math::ScalarOf<T>;
    const auto voxelSize = static_cast<Scalar>(container.voxelSize());
    const Scalar worldToVoxel = voxelSize == 0 ? Scalar{0} : Scalar{1} / voxelSize;
    constexpr auto kEnd = static_cast<Scalar>(0x1p31);
    const auto toIndex = [&](float coordinate, int& index) {
        const Scalar voxel = static_cast<Scalar>(coordinate) * worldToVoxel;
        const bool is = voxel >= -kEnd && voxel < kEnd;
        index = is ? static_cast<int>(std::floor(voxel)) : 0;
        return is;
    };
    int3 ijk;
    if (!toIndex(world.x, ijk.x) || !toIndex(world.y, ijk.y) || !toIndex(world.z, ijk.z))
        return {};
    const auto tile = accessor.tileImpl(ijk, channel.depth());
    if (!tile)
        return {};
    return {tile.depth(), static_cast<bool>(channel.tileData(tile.treeIndex()))};
}

template <class Traits, class T>
StoredPlace whereStored(const Container<Traits>& container,
                        const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& channel,
                        const float3& world) {
    auto accessor = container.tileAccessor();
    return whereStored(accessor, container, channel, world);
}

} // namespace KDX::TileTree3D
