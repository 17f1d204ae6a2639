// What a channel's refined tiles without data would hold.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Restriction.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace KDX::TileTree3D {

/// The values of tiles that are refined and hold no data of their own, at depths where the channel
/// has data. Built with the channel, because a neighbour of another depth needs them and finding
/// one may mean to sum over all of its finer voxels.
template <class Traits, class T>
class OSTRUM_API RestrictedTiles {
public:
    using Plain = Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>;

    /// Which of them to keep.
    enum class Keep {
        kAll,
        /// Those that halo tiles can ask for: beside a tile with data of the same or a coarser
        /// depth, or beside such a tile again.
        kNearOtherDepths,
    };

    RestrictedTiles(const Plain& channel, Keep keep);

    /// None for a tile that is not kept.
    TileValues<Traits, T> tile(const TreeIndex& index) const;
    std::size_t memoryUsage() const;

private:
    using Present = typename TileValues<Traits, T>::Present;

    static constexpr auto kValuesPerTile = static_cast<std::size_t>(Traits::kVoxelCount);

    struct Level {
        std::vector<std::uint32_t> tiles; // ascending
        ChannelMemory memory;             // of values, which are written as soon as it is taken
        std::vector<Present> present;

        T* values(std::size_t slot) {
            return static_cast<T*>(memory.get()) + slot * kValuesPerTile;
        }
        const T* values(std::size_t slot) const {
            return static_cast<const T*>(memory.get()) + slot * kValuesPerTile;
        }
    };

    static Level restrictLevel(const Plain& channel, const RestrictedTiles& finer, int depth);
    static std::vector<std::uint8_t> wantedTiles(const Plain& channel, const Level& level,
                                                 int depth);
    static Level select(const Level& level, const std::vector<std::uint8_t>& wanted);

    std::array<Level, Traits::kDepthCount> levels_;
};

/// A tile's own data, else its restricted values, else none.
template <class Traits, class T>
TileValues<Traits, T> tileValues(const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& channel,
                                 const TreeIndex& index) {
    if (const auto own = channel.tileData(index))
        return {own.data(), nullptr};
    return channel.restricted() ? channel.restricted()->tile(index) : TileValues<Traits, T>{};
}

} // namespace KDX::TileTree3D
