// The tiles that a four-point stencil reads from.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Container.h"

#include <array>
#include <cstdint>
#include <vector>

namespace KDX::TileTree3D {

/// Which axes a block of tiles extends along.
struct AxisSet {
    std::array<bool, 3> has{false, false, false};
    bool operator==(const AxisSet&) const = default;
};
inline constexpr AxisSet kAllAxes{{true, true, true}};

/// A block of 2 x 2 x 2 tiles around one cell of a tile, or of 1 where the block does not extend
/// along an axis: the tiles that hold the voxels one below the cell, and the next ones upward. They
/// are looked up at the cell's own depth and kept until others take their place: those of a few
/// blocks that lie side by side, between which positions near each other go to and fro.
///
/// A tile of another depth that holds data is a resolution jump, and so is one of the cell's depth
/// that holds none and is refined. What holds no data and has nothing finer is as good as no tile:
/// its voxels have the default value.
template <class Traits, class T>
class StencilTiles {
    static constexpr int W = Traits::kVoxelsPerAxis;

public:
    using Plain = Channel<Traits, T, W, 0, 0>;
    using Accessor = typename Container<Traits>::ConstTileAccessor;

    static constexpr int localTileIndex(int i, int j, int k) { return (i * 2 + j) * 2 + k; }

    StencilTiles() = default;
    // A copy belongs to another task, whose positions lie elsewhere.
    StencilTiles(const StencilTiles&) {}
    StencilTiles& operator=(const StencilTiles&) {
        for (Block& block : blocks_)
            block.depth = kNowhere;
        absent_.clear(); // the other channel's default may differ
        return *this;
    }

    /// Finds the block around the cell that begins at voxel n of a tile of the depth that holds
    /// data, whose origin is `tijk`. False when it is the one that was found last.
    [[gnu::always_inline]] bool fetch(int depth, const int3& tijk, const int3& n,
                                      const AxisSet& axes, const Container<Traits>& container,
                                      const Plain& channel, Accessor& accessor) {
        const std::int64_t extent = Traits::tileExtent(depth);
        const WideIndex origin{tijk.x + extent * firstTile(n.x, axes.has[0]),
                               tijk.y + extent * firstTile(n.y, axes.has[1]),
                               tijk.z + extent * firstTile(n.z, axes.has[2])};
        const std::size_t place = placeOf(origin, extent);
        Block& block = blocks_[place];
        const bool isHeld = block.depth == depth && block.origin.x == origin.x &&
                            block.origin.y == origin.y && block.origin.z == origin.z &&
                            block.axes == axes;
        if (isHeld && place == current_)
            return false;
        current_ = place;
        if (!isHeld)
            lookUp(block, depth, origin, axes, container, channel, accessor);
        return true;
    }

    bool atResolutionJump() const { return current().jump; }

    /// The tile at a place of the block; invalid where there is none.
    const TreeIndex& tile(int place) const { return current().found[place]; }

    /// The values of the block's tiles of the cell's own depth; for all others, default values.
    const std::array<const T*, 8>& data() const { return current().data; }

    /// Where the stencil of the cell begins, from the block's first voxel: the index of the voxel
    /// below the cell, 0 to W - 1. Only for axes that the block extends along.
    static int3 stencilBegin(const int3& n) {
        const auto along = [](int v) { return v < 1 ? v - 1 + W : v - 1; };
        return {along(n.x), along(n.y), along(n.z)};
    }

    /// The first tile's origin, in index units.
    const WideIndex& origin() const { return current().origin; }

    /// Whether a block is held at all.
    bool isFetched() const { return current().depth != kNowhere; }

private:
    static constexpr int kNowhere = -1;

    struct Block {
        int depth = kNowhere;
        WideIndex origin{0, 0, 0};
        AxisSet axes;
        bool jump = false;
        std::array<TreeIndex, 8> found;
        std::array<const T*, 8> data{};
    };

    const Block& current() const { return blocks_[current_]; }

    // Blocks that begin one tile apart go to different places.
    static std::size_t placeOf(const WideIndex& origin, std::int64_t extent) {
        const std::int64_t odd = extent & -extent; // set in odd multiples of the extent
        return ((origin.x & odd) ? 4U : 0U) | ((origin.y & odd) ? 2U : 0U) |
               ((origin.z & odd) ? 1U : 0U);
    }

    [[gnu::noinline]] void lookUp(Block& block, int depth, const WideIndex& origin,
                                  const AxisSet& axes, const Container<Traits>& container,
                                  const Plain& channel, Accessor& accessor) {
        block.depth = kNowhere;
        block.origin = origin;
        block.axes = axes;
        block.jump = false;
        const int3 count{axes.has[0] ? 2 : 1, axes.has[1] ? 2 : 1, axes.has[2] ? 2 : 1};
        accessor.tileBlock(origin, count, depth, block.found);
        if (!takeAll(block, depth, channel))
            for (std::size_t place = 0; place < block.found.size(); ++place)
                take(block, place, depth, container, channel);
        block.depth = depth;
    }

    // From the cell's tile to the block's first: -1 where the voxel below the cell (or, on an axis
    // that the block does not extend along, the cell itself) lies in the tile below.
    static int firstTile(int n, bool extended) { return (extended ? n - 1 : n) < 0 ? -1 : 0; }

    // The usual case, false where it is not: every tile is of the depth and holds data.
    static bool takeAll(Block& block, int depth, const Plain& channel) {
        bool all = true;
        for (std::size_t place = 0; place < block.found.size(); ++place) {
            block.data[place] = channel.tileData({block.found[place].index, depth}).data();
            all &= block.data[place] != nullptr && block.found[place].depth == depth;
        }
        return all;
    }

    void take(Block& block, std::size_t place, int depth, const Container<Traits>& container,
              const Plain& channel) {
        const TreeIndex& found = block.found[place];
        const T*& data = block.data[place];
        data = channel.tileData(found).data();
        if (data && found.depth == depth) [[likely]]
            return;
        if (found.depth == depth)
            block.jump |= isRefined(container.tile(found));
        else
            block.jump |= data != nullptr;
        data = absentValues(channel.defaultValue());
    }

    const T* absentValues(const T& defaultValue) {
        if (absent_.empty())
            absent_.assign(static_cast<std::size_t>(Traits::kVoxelCount), defaultValue);
        return absent_.data();
    }

    static bool isRefined(const typename Container<Traits>::Tile& tile) {
        constexpr int B = Traits::kChildrenPerAxis;
        for (int k = 0; k < B; ++k)
            for (int j = 0; j < B; ++j)
                for (int i = 0; i < B; ++i)
                    if (!tile.isLeaf({i, j, k}))
                        return true;
        return false;
    }

    std::array<Block, 8> blocks_;
    std::size_t current_ = 0;
    std::vector<T> absent_; // a tile's worth of default values, once asked for
};

} // namespace KDX::TileTree3D
