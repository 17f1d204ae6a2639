// The tiles in and around a block of tiles, found together.
#pragma once

#include "KDX/Channel.h"
#include "KDX/TileTree.h"
#include "KDX/lowestIndex.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace KDX::TileTree3D {

/// Where a channel holds the values of a block of tiles of one depth and of a layer of tiles around
/// it. Tiles that follow each other in a tree mostly lie in one block: finding a block at a time
/// costs a fraction of finding every tile's neighbours.
template <class Traits, class T>
class HaloBlock {
public:
    using Plain = Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>;
    using Tile = TileTree3D::Tile<Traits, Traits::kChildCount>;
    /// By direction, see place().
    using Values = std::array<const T*, 27>;

    static constexpr std::size_t place(int dx, int dy, int dz) {
        return static_cast<std::size_t>((dx + 1) + 3 * ((dy + 1) + 3 * (dz + 1)));
    }

    /// With `lower` 0 only neighbours in positive directions count.
    HaloBlock(const Plain& channel, int lower) : channel_(channel), lower_(lower) {}

    /// The values of the tile and its neighbours; false unless all of them lie at the tile's depth
    /// and hold data.
    bool values(const Tile& tile, Values& values) {
        if (tile.depth() != depth_ || !covers(tile.tijk()))
            load(tile);
        if (!isLoaded_)
            return false;
        const int3 at = inBlock(tile.tijk());
        const T* const* const own = &grid_[index(at.x, at.y, at.z)];
        bool all = true;
        for (int dz = -lower_; dz <= 1; ++dz)
            for (int dy = -lower_; dy <= 1; ++dy)
                for (int dx = -lower_; dx <= 1; ++dx) {
                    const T* found = own[dx + kWidth * (dy + kWidth * dz)];
                    values[place(dx, dy, dz)] = found;
                    all = all && found;
                }
        return all;
    }

private:
    static constexpr int kMostTiles = Traits::kChildrenPerAxis == 2 ? 4 : 5;
    static constexpr int kWidth = kMostTiles + 2;

    // The grid's entry for a tile of the block or, at -1 and tiles_, beside it.
    static std::size_t index(int x, int y, int z) {
        return static_cast<std::size_t>((x + 1) + kWidth * ((y + 1) + kWidth * (z + 1)));
    }

    bool covers(const int3& tijk) const {
        const std::int64_t size = static_cast<std::int64_t>(tiles_) * extent_;
        const auto inside = [size](std::int64_t v, std::int64_t begin) {
            return static_cast<std::uint64_t>(v - begin) < static_cast<std::uint64_t>(size);
        };
        return inside(tijk.x, begin_.x) && inside(tijk.y, begin_.y) && inside(tijk.z, begin_.z);
    }
    int3 inBlock(const int3& tijk) const {
        const auto along = [this](std::int64_t v, std::int64_t begin) {
            int tile = 0; // of so few that comparing is quicker than dividing
            for (int t = 1; t < kMostTiles; ++t)
                tile += v - begin >= t * extent_;
            return tile;
        };
        return {along(tijk.x, begin_.x), along(tijk.y, begin_.y), along(tijk.z, begin_.z)};
    }

    // A block lies within one page, and so does each of the six parts of the layer's faces, its
    // edges and its corners.
    void load(const Tile& tile) {
        const auto& tree = *channel_.tree();
        depth_ = tile.depth();
        extent_ = tile.tileVoxelWidth();
        tiles_ = std::min(kMostTiles, tree.tilesPerPage(depth_));
        const std::int64_t size = extent_ * tiles_;
        const auto begin = [size](std::int64_t v) {
            const std::int64_t fromLowest = v - kLowestIndex<Traits>;
            return v - fromLowest % size;
        };
        begin_ = {begin(tile.tijk().x), begin(tile.tijk().y), begin(tile.tijk().z)};
        grid_.fill(nullptr);
        isLoaded_ = true;
        for (int z = -lower_; z <= 1; ++z)
            for (int y = -lower_; y <= 1; ++y)
                for (int x = -lower_; x <= 1; ++x)
                    isLoaded_ = isLoaded_ && loadPart({x, y, z});
    }

    bool loadPart(const int3& d) {
        const auto first = [this](int along) { return along < 0 ? -1 : along * tiles_; };
        const auto count = [this](int along) { return along == 0 ? tiles_ : 1; };
        const int3 at{first(d.x), first(d.y), first(d.z)};
        return channel_.tree()->forEachInBox(
            WideIndex{begin_.x + at.x * extent_, begin_.y + at.y * extent_,
                      begin_.z + at.z * extent_},
            {count(d.x), count(d.y), count(d.z)}, depth_, cursor_,
            [&](int x, int y, int z, const TreeIndex& found) {
                grid_[index(at.x + x, at.y + y, at.z + z)] = channel_.tileData(found).data();
            });
    }

    const Plain& channel_;
    int lower_;
    typename TileTree<Traits>::Cursor cursor_;
    int depth_ = -1;
    bool isLoaded_ = false;
    int tiles_ = 0;
    std::int64_t extent_ = 0;
    WideIndex begin_{0, 0, 0};
    std::array<const T*, static_cast<std::size_t>(kWidth* kWidth* kWidth)> grid_;
};

} // namespace KDX::TileTree3D
