#pragma once

#include "KDX/RestrictedTiles.h"
#include "common/parallel.h"

namespace KDX::TileTree3D {

template <class Traits, class T>
RestrictedTiles<Traits, T>::RestrictedTiles(const Plain& channel) {
    const auto& tree = *channel.tree();
    constexpr auto kNoSlot = ChannelLayout<Traits>::kNoSlot;
    for (int depth = channel.depth() - 1; depth >= channel.minDepth() && depth >= 0; --depth) {
        Level& level = levels_[depth];
        const auto tiles = tree.tiles(depth);
        std::vector<std::uint32_t> tileOfSlot;
        level.slots.assign(tiles.size(), kNoSlot);
        for (std::size_t i = 0; i < tiles.size(); ++i)
            if (tiles[i].hasChildren() &&
                !channel.tileData({static_cast<std::int64_t>(i), depth})) {
                level.slots[i] = static_cast<std::uint32_t>(tileOfSlot.size());
                tileOfSlot.push_back(static_cast<std::uint32_t>(i));
            }
        level.values.resize(tileOfSlot.size() * static_cast<std::size_t>(Traits::kVoxelCount));
        level.present.resize(tileOfSlot.size());
        const auto restrictRange = [&](const Stratum::IndexRange& range) {
            for (std::size_t s = range.begin(); s < range.end(); ++s) {
                const auto& tile = tiles[tileOfSlot[s]];
                const auto childAt = [&](const int3& cell) -> TileValues<Traits, T> {
                    const TreeIndex child = tile.childTreeIndex(cell);
                    if (const auto own = channel.tileData(child))
                        return {own.data(), nullptr};
                    return this->tile(child);
                };
                restrictTile<Traits, T>(tree.offsetType(), channel.defaultValue(), childAt,
                                        level.values.data() +
                                            s * static_cast<std::size_t>(Traits::kVoxelCount),
                                        level.present[s]);
            }
        };
        Stratum::parallelFor(tileOfSlot.size(), 64, restrictRange);
    }
}

template <class Traits, class T>
TileValues<Traits, T> RestrictedTiles<Traits, T>::tile(const TreeIndex& index) const {
    if (!Traits::isDepth(index.depth))
        return {};
    const Level& level = levels_[index.depth];
    const auto i = static_cast<std::size_t>(index.index);
    if (i >= level.slots.size() || level.slots[i] == ChannelLayout<Traits>::kNoSlot)
        return {};
    const std::size_t slot = level.slots[i];
    return {level.values.data() + slot * static_cast<std::size_t>(Traits::kVoxelCount),
            &level.present[slot]};
}

template <class Traits, class T>
std::size_t RestrictedTiles<Traits, T>::memoryUsage() const {
    std::size_t bytes = 0;
    for (const Level& level : levels_)
        bytes += level.slots.capacity() * sizeof(std::uint32_t) +
                 level.values.capacity() * sizeof(T) +
                 level.present.capacity() * sizeof(typename TileValues<Traits, T>::Present);
    return bytes;
}

} // namespace KDX::TileTree3D
