// Building a channel on a tree.
#pragma once

#include "KDX/Channel.h"
#include "KDX/RestrictedTiles.h"
#include "common/parallel.h"

#include <algorithm>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>

namespace KDX::TileTree3D {

using Vantor::Math::double3;

/// Makes one channel. All voxels start at the default unless told otherwise; the fill functions may
/// be called in any order, as often as wanted, and finish() hands the channel over.
///
///     ChannelBuilder<Traits<2, 4, 1>, float> builder(tree, "density", 0.0F);
///     builder.fill([](const double3& p, int) { return float(p.x); });
///     auto density = builder.finish();
template <class Traits, class T>
class ChannelBuilder {
    static constexpr int W = Traits::kVoxelsPerAxis;

public:
    using Plain = Channel<Traits, T, W, 0, 0>;
    using Tree = TileTree<Traits>;
    using Tile = typename Tree::Tile;
    using TileSpan = std::span<T, static_cast<std::size_t>(Traits::kVoxelCount)>;

    /// Which tiles hold data for this channel.
    using Holds = std::function<bool(const Tile& tile, const TreeIndex& index)>;
    static bool holdsWhereVoxelsAre(const Tile& tile, const TreeIndex&) {
        return tile.holdsVoxels();
    }

    using Initial = typename Plain::Values;

    /// With Initial::kUnset the caller promises to write every value before finish(), in
    /// fillTiles() for one: memory is then touched but once.
    ChannelBuilder(const Ostrum::Ptr<const Tree>& tree, const Ostrum::String& name,
                   const T& defaultValue, const Holds& holds = holdsWhereVoxelsAre,
                   Initial initial = Initial::kDefault)
        : channel_(
              Ostrum::makePtr<Plain>(name, defaultValue, false, true, 0, Traits::kFinestDepth)) {
        if (!tree)
            throw std::invalid_argument("a channel needs a tree");
        channel_->setLayout(
            tree,
            Ostrum::makePtr<const ChannelLayout<Traits>>(*tree, 0, Traits::kFinestDepth, holds),
            initial);
    }

    /// Calls `f(tile, index, values)` for every tile with data, in parallel; values are x fastest.
    template <class F>
    void fillTiles(const F& f) {
        for (int depth = 0; depth <= channel_->depth(); ++depth)
            fillTilesAt(depth, f);
    }

    /// Gives every voxel the value of `f(position, depth)` at its sample position, in index units
    /// (multiply by the tree's voxelSize() for world units). Runs in parallel.
    template <class F>
    void fill(const F& f) {
        fillTiles([&](const Tile& tile, const TreeIndex&, TileSpan values) {
            forEachSample(tile, [&](std::size_t flat, const double3& position) {
                values[flat] = f(position, tile.depth());
            });
        });
    }

    /// Copies a dense block, x fastest, whose first value belongs to the voxel at data coordinates
    /// `first` of a depth: the voxel that begins at index `first` times the depth's voxel width.
    /// What lies in tiles without data is passed over. Throws std::invalid_argument for what is no
    /// depth, for a negative size and when the block has not size.x * size.y * size.z values.
    void setBlock(int depth, const int3& first, const int3& size, std::span<const T> block);

    /// Sets one tile's values, x fastest. Throws std::out_of_range for a tile without data.
    void setTile(const TreeIndex& index, std::span<const T, TileSpan::extent> values) {
        T* target = channel_->writableTileData(index);
        if (!target)
            throw std::out_of_range("the tile holds no data for this channel");
        std::ranges::copy(values, target);
    }

    /// Sets the data of refined tiles at depths from `depth` upward from their children (see
    /// restrictTile); voxels without children keep their values.
    void restrictFrom(int depth);

    /// The finished channel; the builder must not be used afterwards.
    Ostrum::Ptr<Plain> finish() {
        if (channel_->minDepth() < channel_->depth())
            channel_->setRestricted(std::make_unique<const RestrictedTiles<Traits, T>>(
                *channel_, RestrictedTiles<Traits, T>::Keep::kNearOtherDepths));
        return std::move(channel_);
    }

    /// Calls `f(flatIndex, position)` for every voxel of a tile with its sample position, in index
    /// units.
    template <class F>
    void forEachSample(const Tile& tile, const F& f) const {
        const auto offset = voxelOffset(channel_->tree()->offsetType());
        const double width = tile.voxelDataWidth();
        const int3& origin = tile.tijk();
        std::size_t flat = 0;
        for (int k = 0; k < W; ++k)
            for (int j = 0; j < W; ++j)
                for (int i = 0; i < W; ++i)
                    f(flat++, double3{origin.x + (i + double{offset.x}) * width,
                                      origin.y + (j + double{offset.y}) * width,
                                      origin.z + (k + double{offset.z}) * width});
    }

private:
    static void checkBlock(int depth, const int3& size, std::size_t valueCount);
    static void copyFromBlock(const int3& tijk, int depth, const int3& first, const int3& size,
                              const T* block, T* values);

    template <class F>
    void fillTilesAt(int depth, const F& f) {
        const auto tiles = channel_->tree()->tiles(depth);
        Stratum::parallelForIsolated(tiles.size(), 16, [&](const Stratum::IndexRange& range) {
            for (std::size_t i = range.begin(); i < range.end(); ++i) {
                const TreeIndex index{static_cast<std::int64_t>(i), depth};
                if (T* values = channel_->writableTileData(index))
                    f(tiles[i], index, TileSpan(values, TileSpan::extent));
            }
        });
    }

    Ostrum::Ptr<Plain> channel_;
};

template <class Traits, class T>
void ChannelBuilder<Traits, T>::setBlock(int depth, const int3& first, const int3& size,
                                         std::span<const T> block) {
    checkBlock(depth, size, block.size());
    if (block.empty())
        return;
    // Tiles of the depth that the block touches, in units of that depth's tiles.
    const auto lowest = [](int v) { return floorDiv(v, W); };
    const auto count = [&](int v, int n) {
        return static_cast<std::size_t>(floorDiv(std::int64_t{v} + n - 1, W) - lowest(v) + 1);
    };
    const std::size_t nx = count(first.x, size.x), ny = count(first.y, size.y),
                      nz = count(first.z, size.z);
    Stratum::parallelForIsolated(nx * ny * nz, 16, [&](const Stratum::IndexRange& range) {
        typename Tree::Cursor cursor;
        const std::int64_t edge = Traits::tileExtent(depth);
        for (std::size_t i = range.begin(); i < range.end(); ++i) {
            const WideIndex origin{
                (lowest(first.x) + static_cast<std::int64_t>(i % nx)) * edge,
                (lowest(first.y) + static_cast<std::int64_t>(i / nx % ny)) * edge,
                (lowest(first.z) + static_cast<std::int64_t>(i / nx / ny)) * edge};
            const auto found = channel_->tree()->find(origin, depth, cursor);
            if (found.depth() != depth)
                continue;
            if (T* values = channel_->writableTileData(found.treeIndex()))
                copyFromBlock(found.tijk(), depth, first, size, block.data(), values);
        }
    });
}

template <class Traits, class T>
void ChannelBuilder<Traits, T>::checkBlock(int depth, const int3& size, std::size_t valueCount) {
    if (!Traits::isDepth(depth))
        throw std::invalid_argument("there is no depth " + std::to_string(depth));
    if (std::min({size.x, size.y, size.z}) < 0)
        throw std::invalid_argument("a block's size must not be negative");
    __extension__ using Wide = unsigned __int128;
    const Wide wanted =
        static_cast<Wide>(size.x) * static_cast<Wide>(size.y) * static_cast<Wide>(size.z);
    if (wanted != valueCount)
        throw std::invalid_argument("the block's values do not match its size");
}

// Copies the part of a block that lies in a tile.
template <class Traits, class T>
void ChannelBuilder<Traits, T>::copyFromBlock(const int3& tijk, int depth, const int3& first,
                                              const int3& size, const T* block, T* values) {
    const std::int64_t width = Traits::voxelWidth(depth);
    const auto offset = [width](int origin, int lower) { return origin / width - lower; };
    const std::int64_t x0 = offset(tijk.x, first.x), y0 = offset(tijk.y, first.y),
                       z0 = offset(tijk.z, first.z);
    const auto inside = [](std::int64_t v, int n) { return v >= 0 && v < n; };
    for (int v = 0; v < Traits::kVoxelCount; ++v) {
        const std::int64_t x = x0 + v % W, y = y0 + v / W % W, z = z0 + v / (W * W);
        if (inside(x, size.x) && inside(y, size.y) && inside(z, size.z))
            values[v] = block[x + size.x * (y + size.y * z)];
    }
}

template <class Traits, class T>
void ChannelBuilder<Traits, T>::restrictFrom(int depth) {
    for (int d = std::min(depth, channel_->depth() - 1); d >= 0; --d) {
        if (channel_->layout()->level(d).slotCount == 0)
            continue;
        // Children that are refined and hold no data themselves are restricted on the way.
        channel_->setRestricted(std::make_unique<const RestrictedTiles<Traits, T>>(
            *channel_, RestrictedTiles<Traits, T>::Keep::kAll));
        fillTilesAt(d, [&](const Tile& tile, const TreeIndex&, TileSpan values) {
            if (!tile.hasChildren())
                return;
            const auto childAt = [&](const int3& cell) {
                return tileValues<Traits, T>(*channel_, tile.childTreeIndex(cell));
            };
            std::array<T, TileSpan::extent> restricted;
            typename TileValues<Traits, T>::Present present;
            restrictTile<Traits, T>(channel_->tree()->offsetType(), channel_->defaultValue(),
                                    childAt, restricted.data(), present);
            for (std::size_t flat = 0; flat < values.size(); ++flat)
                if (present[flat])
                    values[flat] = restricted[flat];
        });
    }
}

} // namespace KDX::TileTree3D
