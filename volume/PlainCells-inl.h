#pragma once

#include "volume/HaloTileCache-inl.h"
#include "volume/PlainCells.h"

namespace KDX::TileTree3D {

template <class Traits, class ValueT>
const ValueT* PlainCells<Traits, ValueT>::haloTile(const TreeIndex& index) {
    return corner_ ? nodeCache.values(index, *container_, *channel_, haloAccessor, sampleCount)
                   : cellCache.values(index, *container_, *channel_, haloAccessor, sampleCount);
}

// Copies a cell's corners together from the tiles of one depth that hold them; false where not all
// of them exist.
template <class Traits, class ValueT>
bool PlainCells<Traits, ValueT>::gatherCorners(const TreeIndex& index, const int3& n) {
    const auto& tile = container_->tile(index);
    const std::int64_t extent = tile.tileVoxelWidth();
    const auto isOutside = [](int v) { return v < 0 || v + 1 >= W; };
    const auto begin = [extent](int origin, int v) { return origin - (v < 0 ? extent : 0); };
    const int3 tiles{isOutside(n.x) + 1, isOutside(n.y) + 1, isOutside(n.z) + 1};
    std::array<TreeIndex, 8> found;
    haloAccessor.tileBlock(
        WideIndex{begin(tile.tijk().x, n.x), begin(tile.tijk().y, n.y), begin(tile.tijk().z, n.z)},
        tiles, index.depth, found);
    const auto wrap = [](int v) { return (v + W) % W; };
    for (int corner = 0; corner < 8; ++corner) {
        const int3 c{corner & 1, corner >> 1 & 1, corner >> 2};
        const int place =
            ((c.x & (tiles.x - 1)) * 2 + (c.y & (tiles.y - 1))) * 2 + (c.z & (tiles.z - 1));
        const TreeIndex& holder = found[static_cast<std::size_t>(place)];
        const auto values =
            holder.depth == index.depth ? channel_->tileData(holder) : typename Plain::View();
        if (!values)
            return false;
        outside_.corners[static_cast<std::size_t>(corner)] =
            values(int3{wrap(n.x + c.x), wrap(n.y + c.y), wrap(n.z + c.z)});
    }
    return true;
}

} // namespace KDX::TileTree3D
