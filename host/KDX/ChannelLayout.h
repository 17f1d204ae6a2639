// Which tiles of a tree hold data for a channel, and where.
#pragma once

#include "KDX/TileTree.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace KDX::TileTree3D {

/// Per depth, the slot of every tile that holds data. Shared between a channel and the halo channel
/// that is built from it.
template <class Traits>
class OSTRUM_API ChannelLayout {
public:
    static constexpr std::uint32_t kNoSlot = std::numeric_limits<std::uint32_t>::max();

    struct Level {
        /// Slot by tile index; empty when tile i has slot i for all i.
        std::vector<std::uint32_t> slots;
        std::size_t tileCount = 0; ///< tiles at this depth, or 0 when none of them holds data
        std::size_t slotCount = 0; ///< tiles that hold data

        /// The slot of one of the depth's tiles, or kNoSlot.
        std::uint32_t slotOf(std::int64_t tile) const {
            return slots.empty() ? static_cast<std::uint32_t>(tile)
                                 : slots[static_cast<std::size_t>(tile)];
        }
    };

    /// No tile holds data.
    ChannelLayout() = default;

    /// `holdsData(tile, TreeIndex)` says which tiles of the depths `coarsest` .. `finest` hold
    /// data.
    template <class Predicate>
    ChannelLayout(const TileTree<Traits>& tree, int coarsest, int finest,
                  const Predicate& holdsData) {
        for (int depth = std::max(coarsest, 0); depth <= std::min(finest, Traits::kFinestDepth);
             ++depth) {
            const auto tiles = tree.tiles(depth);
            Level level;
            level.slots.assign(tiles.size(), kNoSlot);
            for (std::size_t i = 0; i < tiles.size(); ++i)
                if (holdsData(tiles[i], TreeIndex{static_cast<std::int64_t>(i), depth}))
                    level.slots[i] = static_cast<std::uint32_t>(level.slotCount++);
            if (level.slotCount == 0)
                continue;
            level.tileCount = tiles.size();
            if (level.slotCount == level.tileCount)
                std::vector<std::uint32_t>().swap(level.slots);
            minDepth_ = minDepth_ < 0 ? depth : minDepth_;
            depth_ = depth;
            levels_[depth] = std::move(level);
        }
    }

    const Level& level(int depth) const { return levels_[depth]; }

    /// The coarsest and the finest depth that hold data, -1 when none does.
    int minDepth() const { return minDepth_; }
    int depth() const { return depth_; }

    std::size_t memoryUsage() const {
        std::size_t bytes = 0;
        for (const Level& level : levels_)
            bytes += level.slots.capacity() * sizeof(std::uint32_t);
        return bytes;
    }

private:
    std::array<Level, Traits::kDepthCount> levels_;
    int minDepth_ = -1;
    int depth_ = -1;
};

} // namespace KDX::TileTree3D
