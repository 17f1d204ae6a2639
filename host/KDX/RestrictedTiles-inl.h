#pragma once

#include "KDX/RestrictedTiles.h"
#include "common/parallel.h"

#include <algorithm>

namespace KDX::TileTree3D {

template <class Traits, class T>
RestrictedTiles<Traits, T>::RestrictedTiles(const Plain& channel, Keep keep) {
    const auto prune = [&](int depth) {
        Level& level = levels_[depth];
        if (keep == Keep::kNearOtherDepths && !level.tiles.empty())
            level = select(level, wantedTiles(channel, level, depth));
    };
    const int coarsest = std::max(channel.minDepth(), 0);
    for (int depth = channel.depth() - 1; depth >= coarsest; --depth) {
        levels_[depth] = restrictLevel(channel, *this, depth);
        prune(depth + 1);
    }
    prune(coarsest);
}

// All refined tiles of a depth without data, from data and from what `finer` has a depth below.
template <class Traits, class T>
auto RestrictedTiles<Traits, T>::restrictLevel(const Plain& channel, const RestrictedTiles& finer,
                                               int depth) -> Level {
    const auto& tree = *channel.tree();
    const auto tiles = tree.tiles(depth);
    Level level;
    for (std::size_t i = 0; i < tiles.size(); ++i)
        if (tiles[i].hasChildren() && !channel.tileData({static_cast<std::int64_t>(i), depth}))
            level.tiles.push_back(static_cast<std::uint32_t>(i));
    level.memory = ChannelMemory(level.tiles.size() * kValuesPerTile * sizeof(T), false);
    level.present.resize(level.tiles.size());
    Stratum::parallelForIsolated(level.tiles.size(), 64, [&](const Stratum::IndexRange& range) {
        for (std::size_t s = range.begin(); s < range.end(); ++s) {
            const auto& tile = tiles[level.tiles[s]];
            const auto childAt = [&](const int3& cell) -> TileValues<Traits, T> {
                const TreeIndex child = tile.childTreeIndex(cell);
                if (const auto own = channel.tileData(child))
                    return {own.data(), nullptr};
                return finer.tile(child);
            };
            restrictTile<Traits, T>(tree.offsetType(), channel.defaultValue(), childAt,
                                    level.values(s), level.present[s]);
        }
    });
    return level;
}

// A flag for each tile of a level that halo tiles can ask for.
template <class Traits, class T>
std::vector<std::uint8_t> RestrictedTiles<Traits, T>::wantedTiles(const Plain& channel,
                                                                  const Level& level, int depth) {
    const auto& tree = *channel.tree();
    const auto tiles = tree.tiles(depth);
    const std::int64_t edge = Traits::tileExtent(depth);
    const auto anyAround = [&](std::uint32_t index, auto& cursor, const auto& isWanted) {
        const int3& at = tiles[index].tijk();
        for (int n = 0; n < 27; ++n) {
            const WideIndex beside{at.x + (n % 3 - 1) * edge, at.y + (n / 3 % 3 - 1) * edge,
                                   at.z + (n / 9 - 1) * edge};
            if (const auto found = tree.find(beside, depth, cursor);
                found && isWanted(found.treeIndex()))
                return true;
        }
        return false;
    };
    const auto flagAll = [&](const auto& isWanted) {
        std::vector<std::uint8_t> flags(level.tiles.size());
        Stratum::parallelForIsolated(flags.size(), 64, [&](const Stratum::IndexRange& range) {
            typename TileTree<Traits>::Cursor cursor;
            for (std::size_t s = range.begin(); s < range.end(); ++s)
                flags[s] = anyAround(level.tiles[s], cursor, isWanted);
        });
        return flags;
    };
    const auto besideData =
        flagAll([&](const TreeIndex& index) { return static_cast<bool>(channel.tileData(index)); });
    return flagAll([&](const TreeIndex& index) {
        if (index.depth != depth)
            return false;
        const auto found = std::ranges::lower_bound(level.tiles, index.index);
        return found != level.tiles.end() && *found == index.index &&
               besideData[static_cast<std::size_t>(found - level.tiles.begin())] != 0;
    });
}

// The wanted tiles of a level, as far as any of their voxels exists.
template <class Traits, class T>
auto RestrictedTiles<Traits, T>::select(const Level& level, const std::vector<std::uint8_t>& wanted)
    -> Level {
    std::vector<std::size_t> slots;
    for (std::size_t s = 0; s < level.tiles.size(); ++s)
        if (wanted[s] && level.present[s].any())
            slots.push_back(s);
    Level kept{std::vector<std::uint32_t>(slots.size()),
               ChannelMemory(slots.size() * kValuesPerTile * sizeof(T), false),
               std::vector<Present>(slots.size())};
    Stratum::parallelForIsolated(slots.size(), 256, [&](const Stratum::IndexRange& range) {
        for (std::size_t s = range.begin(); s < range.end(); ++s) {
            kept.tiles[s] = level.tiles[slots[s]];
            kept.present[s] = level.present[slots[s]];
            std::copy_n(level.values(slots[s]), kValuesPerTile, kept.values(s));
        }
    });
    return kept;
}

template <class Traits, class T>
TileValues<Traits, T> RestrictedTiles<Traits, T>::tile(const TreeIndex& index) const {
    if (!Traits::isDepth(index.depth))
        return {};
    const Level& level = levels_[index.depth];
    const auto found = std::ranges::lower_bound(level.tiles, index.index);
    if (found == level.tiles.end() || *found != index.index)
        return {};
    const auto slot = static_cast<std::size_t>(found - level.tiles.begin());
    return {level.values(slot), &level.present[slot]};
}

template <class Traits, class T>
std::size_t RestrictedTiles<Traits, T>::memoryUsage() const {
    std::size_t bytes = 0;
    for (const Level& level : levels_)
        bytes += level.tiles.capacity() * sizeof(std::uint32_t) + level.memory.size() +
                 level.present.capacity() * sizeof(Present);
    return bytes;
}

} // namespace KDX::TileTree3D
