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
/// are looked up at the cell's own depth and kept until another block is asked for.
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
        index_ = {};
        absent_.clear(); // the other channel's default may differ
        return *this;
    }

    /// Finds the block around the cell that begins at voxel n of a tile that holds data, whose
    /// origin is `tijk`.
    void fetch(const TreeIndex& index, const int3& tijk, const int3& n, const AxisSet& axes,
               const Container<Traits>& container, const Plain& channel, Accessor& accessor) {
        const int3 first{firstTile(n.x, axes.has[0]), firstTile(n.y, axes.has[1]),
                         firstTile(n.z, axes.has[2])};
        if (index == index_ && first == first_ && axes == axes_)
            return;
        index_ = {};
        tijk_ = tijk;
        first_ = first;
        axes_ = axes;
        jump_ = false;
        const int3 count{axes.has[0] ? 2 : 1, axes.has[1] ? 2 : 1, axes.has[2] ? 2 : 1};
        const std::int64_t extent = Traits::tileExtent(index.depth);
        accessor.tileBlock(WideIndex{tijk.x + extent * first.x, tijk.y + extent * first.y,
                                     tijk.z + extent * first.z},
                           count, index.depth, found_);
        if (!takeAll(index.depth, channel))
            for (std::size_t place = 0; place < found_.size(); ++place)
                take(place, index.depth, container, channel);
        index_ = index;
    }

    bool atResolutionJump() const { return jump_; }

    /// The tile at a place of the block; invalid where there is none.
    const TreeIndex& tile(int place) const { return found_[place]; }

    /// The values of the block's tiles of the cell's own depth; for all others, default values.
    const std::array<const T*, 8>& data() const { return data_; }

    /// Where the cell lies from the block's first voxel: the index of the voxel below it, 0 to
    /// W - 1. Only for axes that the block extends along.
    int3 stencilBegin(const int3& n) const {
        return {n.x - 1 - W * first_.x, n.y - 1 - W * first_.y, n.z - 1 - W * first_.z};
    }

    /// The first tile's origin, in index units.
    WideIndex origin() const {
        const std::int64_t extent = Traits::tileExtent(index_.depth);
        return {tijk_.x + extent * first_.x, tijk_.y + extent * first_.y,
                tijk_.z + extent * first_.z};
    }

    /// Whether a block is held at all.
    bool isFetched() const { return index_.isValid(); }

private:
    // From the cell's tile to the block's first: -1 where the voxel below the cell (or, on an axis
    // that the block does not extend along, the cell itself) lies in the tile below.
    static int firstTile(int n, bool extended) { return (extended ? n - 1 : n) < 0 ? -1 : 0; }

    // The usual case, false where it is not: every tile is of the depth and holds data.
    bool takeAll(int depth, const Plain& channel) {
        bool all = true;
        for (std::size_t place = 0; place < found_.size(); ++place) {
            data_[place] = channel.tileData({found_[place].index, depth}).data();
            all &= data_[place] != nullptr && found_[place].depth == depth;
        }
        return all;
    }

    void take(std::size_t place, int depth, const Container<Traits>& container,
              const Plain& channel) {
        const TreeIndex& found = found_[place];
        data_[place] = channel.tileData(found).data();
        if (data_[place] && found.depth == depth) [[likely]]
            return;
        if (found.depth == depth)
            jump_ |= isRefined(container.tile(found));
        else
            jump_ |= data_[place] != nullptr;
        data_[place] = absentValues(channel.defaultValue());
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

    TreeIndex index_;
    int3 tijk_{0, 0, 0}, first_{0, 0, 0};
    AxisSet axes_;
    bool jump_ = false;
    std::array<TreeIndex, 8> found_;
    std::array<const T*, 8> data_{};
    std::vector<T> absent_; // a tile's worth of default values, once asked for
};

} // namespace KDX::TileTree3D
