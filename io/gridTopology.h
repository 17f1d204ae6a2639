// The tiles for a set of grids.
#pragma once

#include "KDX/TreeBuilder.h"
#include "KDX/lowestIndex.h"
#include "common/parallel.h"
#include "io/MemoryBudget.h"
#include "io/gridVolume.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

namespace Stratum::io {

/// Makes the tiles that a set of grids with one placement needs. The tiles without children fill
/// the space that any grid needs, each without overlap, and every channel holds data on exactly
/// those of them that it needs. A tile is coarse only where that changes no sample: where, in the
/// tile and as far around it as one of its own voxels reaches, every grid has but one value.
template <class Shape>
class GridTopology {
    using Tile = typename TileTree<Shape>::Tile;
    using Corner = std::array<std::int64_t, 3>;

public:
    GridTopology(const std::vector<FileGrid>& grids, double mostBytes)
        : grids_(grids), budget_(mostBytes) {}

    /// Throws std::runtime_error when the voxels lie beyond what tiles can hold, or the tiles and
    /// their values would take more memory than allowed; on the way it is exceeded by some 16 MB at
    /// most, which threads have counted and not yet announced.
    Ostrum::Ptr<const TileTree<Shape>> build() const {
        using Builder = KDX::TileTree3D::TreeBuilder<Shape>;
        using Wish = typename Builder::Wish;
        Builder builder;
        if (const auto box = bounds(); box.min.x <= box.max.x)
            builder.addRefined(box, [this](const int3& tijk, int depth) {
                if (Ostrum::isJobCancelled() || budget_.isExceeded())
                    return Wish{};
                const Content content = mostMixed(tijk, depth);
                const bool finest = depth == Shape::kFinestDepth;
                const Wish wish{content == Content::kConstant ||
                                    (finest && content == Content::kMixed),
                                content == Content::kMixed && !finest};
                budget_.add(kTileBytes + (wish.holdsVoxels ? valueBytes(tijk, depth) : 0));
                return wish;
            });
        throwIfInterrupted();
        budget_.check();
        const auto& placement = grids_.front().grid->placement;
        return builder.build(static_cast<float>(placement.voxelSize), placement.offsetType);
    }

    /// The tiles on which one of the grids needs data; with but one grid, all that hold voxels.
    TileFlags flags(const TileTree<Shape>& tree, const SourceGrid& grid) const {
        const bool isAlone = grids_.size() == 1;
        TileFlags flags(Shape::kDepthCount);
        for (int depth = 0; depth <= Shape::kFinestDepth; ++depth) {
            const auto tiles = tree.tiles(depth);
            auto& ofDepth = flags[static_cast<std::size_t>(depth)];
            ofDepth.resize(tiles.size());
            parallelFor(tiles.size(), 64, [&](const IndexRange& range) {
                for (std::size_t i = range.begin(); i < range.end(); ++i)
                    ofDepth[i] = tiles[i].holdsVoxels() &&
                                 (isAlone || contentAround(grid, tiles[i].tijk(), depth) !=
                                                 Content::kBackground);
            });
        }
        return flags;
    }

private:
    // Of a tile while the tree is built: twice in the builder, which sorts, and once in the tree.
    static constexpr std::size_t kTileBytes = 3 * sizeof(Tile);

    // Of the values of all grids that have some in a tile.
    std::size_t valueBytes(const int3& tijk, int depth) const {
        std::size_t bytes = 0;
        for (const auto& source : grids_)
            if (grids_.size() == 1 ||
                contentAround(*source.grid, tijk, depth) != Content::kBackground)
                bytes += source.grid->valueBytes * Shape::kVoxelCount;
        return bytes;
    }

    // What a grid holds in a tile and as far around it as one of the tile's voxels reaches: all
    // that samples inside the tile can look at.
    static Content contentAround(const SourceGrid& grid, const int3& tijk, int depth) {
        const std::int64_t width = Shape::voxelWidth(depth), edge = Shape::tileExtent(depth);
        return grid.content({tijk.x - width, tijk.y - width, tijk.z - width}, edge + 2 * width);
    }

    Content mostMixed(const int3& tijk, int depth) const {
        Content most = Content::kBackground;
        for (const auto& source : grids_) {
            most = std::max(most, contentAround(*source.grid, tijk, depth));
            if (most == Content::kMixed)
                break;
        }
        return most;
    }

    // All voxels that are not background and those next to them; min exceeds max for none.
    Vantor::Math::bbox<int3, int> bounds() const {
        constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
        Corner lower{kMax, kMax, kMax}, upper{-kMax, -kMax, -kMax};
        for (const auto& source : grids_) {
            Corner gridLower, gridUpper;
            if (!source.grid->bounds(gridLower, gridUpper))
                continue;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                lower[axis] = std::min(lower[axis], gridLower[axis] - 1);
                upper[axis] = std::max(upper[axis], gridUpper[axis] + 1);
            }
        }
        if (lower[0] > upper[0])
            return {{0, 0, 0}, {-1, -1, -1}};
        constexpr std::int64_t kLowest = KDX::TileTree3D::kLowestIndex<Shape>;
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (lower[axis] < kLowest || upper[axis] > std::numeric_limits<int>::max())
                throw std::runtime_error("voxels from " + std::to_string(lower[axis]) + " to " +
                                         std::to_string(upper[axis]) +
                                         " are beyond the indices of a tree, which begin at " +
                                         std::to_string(kLowest) + " and end at 2147483647");
        const auto at = [](const Corner& c) {
            return int3{static_cast<int>(c[0]), static_cast<int>(c[1]), static_cast<int>(c[2])};
        };
        return {at(lower), at(upper)};
    }

    const std::vector<FileGrid>& grids_;
    mutable MemoryBudget budget_;
};

} // namespace Stratum::io
