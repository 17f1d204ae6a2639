// Building a channel on a tree.
#pragma once

#include "KDX/Channel.h"
#include "KDX/RestrictedTiles.h"
#include "common/parallel.h"

#include <algorithm>
#include <functional>
#include <span>
#include <stdexcept>

namespace KDX::TileTree3D {

using Vantor::Math::double3;

/// Makes one channel. All voxels start at the default; the fill functions may be called in any
/// order, as often as wanted, and finish() hands the channel over.
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

    ChannelBuilder(const Ostrum::Ptr<const Tree>& tree, const Ostrum::String& name,
                   const T& defaultValue, const Holds& holds = holdsWhereVoxelsAre)
        : channel_(
              Ostrum::makePtr<Plain>(name, defaultValue, false, true, 0, Traits::kFinestDepth)) {
        channel_->setLayout(
            tree,
            Ostrum::makePtr<const ChannelLayout<Traits>>(*tree, 0, Traits::kFinestDepth, holds),
            false);
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
    /// What lies in tiles without data is passed over. Throws std::invalid_argument when the block
    /// has not size.x * size.y * size.z values.
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
            channel_->setRestricted(std::make_unique<const RestrictedTiles<Traits, T>>(*channel_));
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
    template <class F>
    void fillTilesAt(int depth, const F& f) {
        const auto tiles = channel_->tree()->tiles(depth);
        Stratum::parallelFor(tiles.size(), 16, [&](const Stratum::IndexRange& range) {
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
    const auto extent = [](int n) { return static_cast<std::size_t>(std::max(n, 0)); };
    if (block.size() != extent(size.x) * extent(size.y) * extent(size.z))
        throw std::invalid_argument("the block's values do not match its size");
    fillTilesAt(depth, [&](const Tile& tile, const TreeIndex&, TileSpan values) {
        const int width = tile.voxelDataWidth();
        const int3 at{tile.tijk().x / width, tile.tijk().y / width, tile.tijk().z / width};
        const auto inBlock = [](int v, int lower, int n) {
            const std::int64_t offset = std::int64_t{v} - lower;
            return offset >= 0 && offset < n ? offset : -1;
        };
        for (std::size_t flat = 0; flat < values.size(); ++flat) {
            const int v = static_cast<int>(flat);
            const std::int64_t x = inBlock(at.x + v % W, first.x, size.x),
                               y = inBlock(at.y + v / W % W, first.y, size.y),
                               z = inBlock(at.z + v / (W * W), first.z, size.z);
            if (x >= 0 && y >= 0 && z >= 0)
                values[flat] = block[x + size.x * (y + size.y * z)];
        }
    });
}

template <class Traits, class T>
void ChannelBuilder<Traits, T>::restrictFrom(int depth) {
    for (int d = std::min(depth, channel_->depth() - 1); d >= 0; --d) {
        if (channel_->layout()->level(d).slotCount == 0)
            continue;
        // Children that are refined and hold no data themselves are restricted on the way.
        channel_->setRestricted(std::make_unique<const RestrictedTiles<Traits, T>>(*channel_));
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
