// What a channel's refined tiles without data would hold.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Restriction.h"

#include <array>
#include <cstdint>
#include <vector>

namespace KDX::TileTree3D {

/// The values of all tiles that are refined, hold no data of their own and lie at a depth where the
/// channel has data. Built with the channel, because a neighbour of another depth needs them and
/// finding one may mean to sum over all of its finer voxels.
template <class Traits, class T>
class OSTRUM_API RestrictedTiles {
public:
    using Plain = Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>;

    explicit RestrictedTiles(const Plain& channel);

    TileValues<Traits, T> tile(const TreeIndex& index) const;
    std::size_t memoryUsage() const;

private:
    struct Level {
        std::vector<std::uint32_t> slots; // by tile index
        std::vector<T, Ostrum::Allocator<T>> values;
        std::vector<typename TileValues<Traits, T>::Present> present;
    };
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
