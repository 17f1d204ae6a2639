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
        depth_ = kNowhere;
        absent_.clear(); // the other channel's default may differ
        return *this;
    }

    /// Finds the block around the cell that begins at voxel n of a tile of the depth that holds
    /// data, whose origin is `tijk`. False when it is the block that was held already.
    [[gnu::always_inline]] bool fetch(int depth, const int3& tijk, const int3& n,
                                      const AxisSet& axes, const Container<Traits>& container,
                                      const Plain& channel, Accessor& accessor) {
        const std::int64_t extent = Traits::tileExtent(depth);
        const WideIndex origin{tijk.x + extent * firstTile(n.x, axes.has[0]),
                               tijk.y + extent * firstTile(n.y, axes.has[1]),
                               tijk.z + extent * firstTile(n.z, axes.has[2])};
        if (depth == depth_ && origin.x == origin_.x && origin.y == origin_.y &&
            origin.z == origin_.z && axes == axes_)
            return false;
        lookUp(depth, origin, axes, container, channel, accessor);
        return true;
    }

    bool atResolutionJump() const { return jump_; }

    /// The tile at a place of the block; invalid where there is none.
    const TreeIndex& tile(int place) const { return found_[place]; }

    /// The values of the block's tiles of the cell's own depth; for all others, default values.
    const std::array<const T*, 8>& data() const { return data_; }

    /// Where the stencil of the cell begins, from the block's first voxel: the index of the voxel
    /// below the cell, 0 to W - 1. Only for axes that the block extends along.
    static int3 stencilBegin(const int3& n) {
        const auto along = [](int v) { return v < 1 ? v - 1 + W : v - 1; };
        return {along(n.x), along(n.y), along(n.z)};
    }

    /// The first tile's origin, in index units.
    const WideIndex& origin() const { return origin_; }

    /// Whether a block is held at all.
    bool isFetched() const { return depth_ != kNowhere; }

private:
    [[gnu::noinline]] void lookUp(int depth, const WideIndex& origin, const AxisSet& axes,
                                  const Container<Traits>& container, const Plain& channel,
                                  Accessor& accessor) {
        depth_ = kNowhere;
        origin_ = origin;
        axes_ = axes;
        jump_ = false;
        const int3 count{axes.has[0] ? 2 : 1, axes.has[1] ? 2 : 1, axes.has[2] ? 2 : 1};
        accessor.tileBlock(origin, count, depth, found_);
        if (!takeAll(depth, channel))
            for (std::size_t place = 0; place < found_.size(); ++place)
                take(place, depth, container, channel);
        depth_ = depth;
    }

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

    static constexpr int kNowhere = -1;

    int depth_ = kNowhere;
    WideIndex origin_{0, 0, 0};
    AxisSet axes_;
    bool jump_ = false;
    std::array<TreeIndex, 8> found_;
    std::array<const T*, 8> data_{};
    std::vector<T> absent_; // a tile's worth of default values, once asked for
};

} // namespace KDX::TileTree3D
