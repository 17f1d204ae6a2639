// The base of all voxel samplers: from a position to a tile and a place inside it.
#pragma once

#include "KDX/Container.h"
#include "KDX/VoxelTopology.h"
#include "Ostrum/String.h"
#include "volume/blockKernels.h"
#include "volume/placeAlong.h"
#include "volume/treeScale.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace KDX::TileTree3D {

using Vantor::Math::double3;
using Vantor::Math::float3;

/// The space a position is given in. Every value other than kWorld means index units.
enum PositionSpace : int { kIndex = 0, kWorld = 2 };

/// Where a position lies: the tile found, the data voxel below it and the fractions beyond that
/// voxel's sample. Local indices run from -1 (from 0 for offset type 7) to W - 1. A fraction lies
/// in [0, 1), or is 1 or more where rounding at a tile's upper face put the position at W.
template <class PositionT>
struct VoxelLocation {
    TreeIndex treeIndex;  ///< of the tile
    int3 n{0, 0, 0};      ///< the voxel, by local indices
    PositionT f{0, 0, 0}; ///< the fractions
};

/// Finds tiles. A sampler is a value object for one thread: copy it for every task. It holds
/// pointers to the volume's parts, which must outlive it. `PositionT` is `float3`, or `double3` for
/// values of double precision; positions are computed in its precision.
template <class Traits, class PositionT>
class VoxelSampler {
public:
    /// The precision that positions are computed in.
    using ScalarT = std::conditional_t<std::is_same_v<PositionT, double3>, double, float>;
    using ContainerT = Container<Traits>; ///< whose tiles are searched

    /// The parts must outlive the sampler and its copies.
    VoxelSampler(const ContainerT& container, const VoxelTopology<Traits>& topology);
    /// A copy starts without a tile of its own.
    VoxelSampler(const VoxelSampler& other);
    /// Forgets the tile, as a copy does.
    VoxelSampler& operator=(const VoxelSampler& other);
    virtual ~VoxelSampler();

    /// The method's name: "kNone" for the base.
    virtual Ostrum::String name() const;

    /// Finds the deepest tile of depth at most `depthLimit` that holds the position, whether it
    /// holds data or not, and the place inside it. Positions that are NaN or outside the range of
    /// an `int` index, and depth limits below 0, find no tile: `location.treeIndex` is then
    /// invalid and the result false.
    bool locate(const PositionT& position, int depthLimit, int space,
                VoxelLocation<PositionT>& location) {
        location.treeIndex = {};
        const PositionT p = space == kWorld ? position * worldToVoxel : position;
        if (!isIndexAlong(p.x) || !isIndexAlong(p.y) || !isIndexAlong(p.z))
            return false;
        const auto below = [](ScalarT v) { return static_cast<int>(roundDown(v)); };
        if (!findTile({below(p.x), below(p.y), below(p.z)}, depthLimit))
            return false;
        const auto& tile = *currentTilePtr;
        const ScalarT scale = treeScale<Traits, ScalarT>(tile.depth());
        location.treeIndex = tile.treeIndex();
        place(p.x, tile.tijk().x, scale, offset.x, location.n.x, location.f.x);
        place(p.y, tile.tijk().y, scale, offset.y, location.n.y, location.f.y);
        place(p.z, tile.tijk().z, scale, offset.z, location.n.z, location.f.z);
        return true;
    }

    using Block = PositionBlock<ScalarT>; ///< positions that are located together

    /// A block of positions and their tiles. A run of consecutive positions lies in one tile, or in
    /// none: invalid then. Run r ends where run r + 1 begins; one more begins at the block's end.
    struct Located {
        Block block;                                      ///< cells and fractions
        std::size_t runCount = 0;                         ///< how many runs there are
        std::array<TreeIndex, Block::kSize> tiles;        ///< of each run
        std::array<std::size_t, Block::kSize + 1> begins; ///< of each run
    };

    /// The same for 1 to Block::kSize positions.
    void locate(const PositionT* positions, std::size_t count, int depthLimit, int space,
                Located& located) {
        static_assert(sizeof(PositionT) == 3 * sizeof(ScalarT));
        const int depth = std::clamp(depthLimit, 0, Traits::kFinestDepth);
        Block& block = located.block;
        kernels->locate(&positions->x, count, space == kWorld ? worldToVoxel : ScalarT{1},
                        tileGrid(depth), block);
        findRuns(count, located);
        findTiles(depthLimit, located);
        for (std::size_t r = 0; r < located.runCount; ++r) {
            const std::size_t first = located.begins[r];
            if (!block.isIndex[first]) [[unlikely]]
                located.tiles[r] = {};
            if (located.tiles[r].depth != depth) [[unlikely]]
                placeInCoarserTile(located.tiles[r].depth, first, located.begins[r + 1], block);
        }
        kernels->place(placement, count, block);
    }

protected:
    using Record = typename ContainerT::Record; ///< a tile as a search finds it

    typename ContainerT::ConstTileAccessor accessor; ///< remembers where it searched
    /// 1 / voxelSize(), 0 for a voxel size of 0.
    ScalarT worldToVoxel;
    PositionT offset;                     ///< of samples in their voxels
    VoxelOffsetType offsetType;           ///< what kind of offset that is
    SamplePlacement<ScalarT> placement;   ///< the same, for blocks
    const BlockKernels<ScalarT>* kernels; ///< for this processor
    Record currentTile;                   ///< the last one found
    /// Points to `currentTile`, in every copy to its own.
    const Record* currentTilePtr = &currentTile;

private:
    // Makes `currentTile` the deepest tile of depth at most `depthLimit` that holds the index.
    bool findTile(const int3& ijk, int depthLimit) {
        if (depthLimit < 0)
            return false;
        if (currentTilePtr->depth() == depthLimit &&
            currentTilePtr->contains(ijk, Traits::tileExtent(depthLimit)))
            return true;
        currentTile = accessor.tileImpl(ijk, depthLimit);
        return static_cast<bool>(currentTile);
    }

    // All positions in one cell of the finest grid that counts have the same tile.
    static void findRuns(std::size_t count, Located& located) {
        std::size_t runs = 0;
        for (std::size_t i = 0; i < count; ++i) {
            located.begins[runs] = i;
            runs += located.block.beginsRun[i];
        }
        located.begins[runs] = count;
        located.runCount = runs;
    }

    void findTiles(int depthLimit, Located& located) {
        const Block& block = located.block;
        std::array<int3, Block::kSize> cells;
        for (std::size_t r = 0; r < located.runCount; ++r) {
            const std::size_t first = located.begins[r];
            cells[r] = {block.cell[0][first], block.cell[1][first], block.cell[2][first]};
        }
        accessor.tilesAt(cells.data(), located.runCount, depthLimit, located.tiles.data());
    }

    // Corrects the block for positions of a cell whose tile, if any, is of this coarser depth.
    static void placeInCoarserTile(int depth, std::size_t begin, std::size_t end, Block& block) {
        const bool isTile = depth >= 0;
        const TileGrid<ScalarT> grid = tileGrid(isTile ? depth : 0);
        const ScalarT scale = isTile ? grid.scale : 0;
        const auto lowest = static_cast<std::uint32_t>(grid.lowest);
        for (int axis = 0; axis < 3; ++axis) {
            const std::uint32_t distance =
                static_cast<std::uint32_t>(block.cell[axis][begin]) - lowest;
            const std::uint32_t origin = distance / grid.extent * grid.extent + lowest;
            std::fill(block.origin[axis] + begin, block.origin[axis] + end,
                      isTile ? static_cast<std::int32_t>(origin) : 0);
        }
        std::fill(block.scale + begin, block.scale + end, scale);
    }

    static TileGrid<ScalarT> tileGrid(int depth) {
        const auto extent = static_cast<std::uint32_t>(Traits::tileExtent(depth));
        const bool isPowerOfTwo = std::has_single_bit(extent);
        // Tiles of other extents begin at multiples of the largest, of which one lies below 0.
        return {isPowerOfTwo ? std::numeric_limits<std::int32_t>::min() : -Traits::tileExtent(0),
                extent, isPowerOfTwo ? std::countr_zero(extent) : -1,
                treeScale<Traits, ScalarT>(depth)};
    }

    void place(ScalarT p, int origin, ScalarT scale, ScalarT voxelOffset, int& n,
               ScalarT& f) const {
        placeAlong(p, origin, scale, voxelOffset, placement.lowest, placement.highest, n, f);
    }
};

#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    extern template class VoxelSampler<Traits<B, W, 1>, float3>;                                   \
    extern template class VoxelSampler<Traits<B, W, 1>, double3>;
#include "common/rows.def"

} // namespace KDX::TileTree3D
