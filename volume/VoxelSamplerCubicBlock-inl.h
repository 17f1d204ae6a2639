// Cubic sampling of blocks of positions.
#pragma once

#include "volume/CubicCells.h"
#include "volume/StencilGather.h"
#include "volume/VoxelSamplerCubic.h"
#include "volume/cubicBlockKernels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>

namespace KDX::TileTree3D {

/// The cells of a block of positions, and the tiles around each. Values are asked for as soon as
/// their place is known, for the processor to fetch while those of the cells behind are found.
template <class Traits, class ValueT, class ScalarT, class PositionT, int A, int B>
class VoxelSamplerCubic<Traits, ValueT, ScalarT, PositionT, A, B>::CellsOfBlock {
    static constexpr std::size_t kSize = Base::Block::kSize;

public:
    using Cell = CubicCell<ValueT>;

    CellsOfBlock(VoxelSamplerCubic& sampler, const Located& located, std::size_t positionCount)
        : sampler_(sampler), located_(located) {
        findEnds(positionCount);
        std::size_t run = 0;
        for (std::size_t c = 0; c < count_; ++c) {
            if (beginOf(c) == located.begins[run + 1])
                ++run;
            runs_[c] = run;
            findTiles(c);
        }
    }

    std::size_t count() const { return count_; }
    const Cell* cells() const { return cells_.data(); }
    std::size_t beginOf(std::size_t cell) const { return cell == 0 ? 0 : cells_[cell - 1].end; }
    /// Whether some cell has no stencil.
    bool hasOthers() const { return hasOthers_; }

    /// The sample at a position of a cell; false where its value is the default.
    bool open(std::size_t cell, std::size_t position, Ahead& ahead) const {
        const auto& f = located_.block.fraction;
        return sampler_.open(located_.tiles[runs_[cell]], voxel(position),
                             {f[0][position], f[1][position], f[2][position]}, ahead);
    }

private:
    void findEnds(std::size_t positionCount) {
        const auto& block = located_.block;
        for (std::size_t i = 0; i + 1 < positionCount; ++i) {
            cells_[count_].end = i + 1;
            count_ += static_cast<std::size_t>((block.value[i + 1] != block.value[i]) |
                                               block.beginsRun[i + 1]);
        }
        cells_[count_++].end = positionCount;
    }

    int3 voxel(std::size_t position) const {
        const auto& n = located_.block.voxel;
        return {n[0][position], n[1][position], n[2][position]};
    }

    void findTiles(std::size_t c) {
        const std::size_t position = beginOf(c);
        const TreeIndex& index = located_.tiles[runs_[c]];
        Cell& cell = cells_[c];
        cell.tiles = nullptr;
        if (position == located_.begins[runs_[c]]) {
            isRunEmpty_ = !sampler_.valuesOf(index);
            sides_ = -1;
        }
        if (isRunEmpty_) {
            hasOthers_ = true;
            return;
        }
        // On which sides of the tile the block of tiles begins below it.
        const int3 n = voxel(position);
        const int sides = (n.x < 1) | (n.y < 1) << 1 | (n.z < 1) << 2;
        const bool isNew = sides != sides_ && fetchTiles(index.depth, position, n);
        sides_ = sides;
        if (sampler_.stencilTiles.atResolutionJump()) {
            hasOthers_ = true;
            return;
        }
        cell.tiles = tiles_[tileCount_ - 1].data();
        cell.begin = sampler_.stencilTiles.stencilBegin(n);
        // Cells that follow each other along x lie in the same rows.
        if (isNew || cell.begin.y != rows_.y || cell.begin.z != rows_.z)
            detail::prefetchStencil<W>(cell.tiles, cell.begin);
        rows_ = cell.begin;
    }

    // False where the tiles are those of the cell before.
    bool fetchTiles(int depth, std::size_t position, const int3& n) {
        const auto& origin = located_.block.origin;
        const bool isNew = sampler_.stencilTiles.fetch(
            depth, {origin[0][position], origin[1][position], origin[2][position]}, n, kAllAxes,
            *sampler_.container, *sampler_.channel, sampler_.accessor);
        if (isNew || tileCount_ == 0)
            tiles_[tileCount_++] = sampler_.stencilTiles.data();
        return isNew;
    }

    VoxelSamplerCubic& sampler_;
    const Located& located_;
    std::size_t count_ = 0, tileCount_ = 0;
    bool isRunEmpty_ = false, hasOthers_ = false;
    int sides_ = -1;
    int3 rows_{-1, -1, -1};
    std::array<Cell, kSize> cells_;
    std::array<std::size_t, kSize> runs_;
    std::array<std::array<const ValueT*, 8>, kSize> tiles_;
};

template <class Tr, class V, class S, class P, int A, int B>
void VoxelSamplerCubic<Tr, V, S, P, A, B>::sampleBlock(const P* positions, std::size_t count,
                                                       int depth, int space, V* values) {
    Located located;
    this->locate(positions, count, std::min(maxDepth, depth), space, located);
    const CellsOfBlock cells(*this, located, count);
    const bool hasNan = interpolateCells(cells, located.block, values);
    if (cells.hasOthers() || (hasNan && !isNanReported())) [[unlikely]]
        completeCells(cells, values);
}

// Sets the values of cells that have a stencil; whether any is NaN.
template <class Tr, class V, class S, class P, int A, int B>
bool VoxelSamplerCubic<Tr, V, S, P, A, B>::interpolateCells(const CellsOfBlock& cells,
                                                            const typename Base::Block& block,
                                                            V* values) {
    if constexpr (std::is_arithmetic_v<V>) {
        const auto& scalarKernels = cubicBlockKernels<S, W>();
        return scalarKernels.interpolate[static_cast<std::size_t>(mode)](
            cells.cells(), cells.count(), block, clampToCellRange, values);
    } else {
        bool hasNan = false;
        lastCell.index = {};
        for (std::size_t c = 0; c < cells.count(); ++c) {
            const CubicCell<V>& cell = cells.cells()[c];
            if (!cell.tiles)
                continue;
            detail::gatherStencil<W>(cell.tiles, cell.begin, lastCell.stencil);
            for (std::size_t i = cells.beginOf(c); i < cell.end; ++i) {
                const P f{detail::toFraction(block.fraction[0][i]),
                          detail::toFraction(block.fraction[1][i]),
                          detail::toFraction(block.fraction[2][i])};
                values[i] = lastCell.stencil.interpolate(mode, f, clampToCellRange);
                hasNan |= detail::hasNan(values[i]);
            }
        }
        return hasNan;
    }
}

// Sets the values of all other cells, and reports a NaN.
template <class Tr, class V, class S, class P, int A, int B>
void VoxelSamplerCubic<Tr, V, S, P, A, B>::completeCells(const CellsOfBlock& cells, V* values) {
    Ahead ahead;
    for (std::size_t c = 0; c < cells.count(); ++c)
        for (std::size_t i = cells.beginOf(c); i < cells.cells()[c].end; ++i)
            if (!cells.open(c, i, ahead))
                values[i] = defaultValue;
            else
                values[i] =
                    checked(cells.cells()[c].tiles ? values[i] : linear(ahead), ahead.place);
}

} // namespace KDX::TileTree3D
