// The cells of a volume that samples are drawn from.
#pragma once

#include "KDX/Traits.h"
#include "common/Math.h"
#include "locations/VoxelSet.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vantor::Sample {

using Math::float3;
using Math::int3;

/// The cells of one tile.
template <class Traits>
struct CandidateTile {
    std::uint64_t begin = 0; ///< units in the tiles before
    int3 tijk{};             ///< the tile's lower corner, in index units
    int depth = 0;
    VoxelSet<Traits> voxels;
};

/// A cell that a sample is placed in: a cube in index units.
struct CandidateCell {
    float3 corner;
    float width;
};

/// Candidate cells in the order of their tiles, counted in units of equal size, so that a unit
/// drawn uniformly is a place drawn uniformly, whatever the depths. The unit is a cell of the
/// finest depth of the channel or, should more than 2^56 of them be needed, of the finest depth for
/// which they are not; cells finer than the unit then count as one each and get more than their
/// share.
///
/// Kept as tiles with the sum of what went before, so that memory follows the number of tiles and
/// not the volume that they cover.
template <class Traits>
class CandidateCells {
public:
    /// Tiles without voxels, and what their `begin` says, are of no account.
    CandidateCells(std::vector<CandidateTile<Traits>> tiles, int finestDepth);

    std::uint64_t total() const { return total_; }
    const std::vector<CandidateTile<Traits>>& tiles() const { return tiles_; }
    std::size_t memoryUsage() const {
        return tiles_.capacity() * sizeof(CandidateTile<Traits>) +
               guide_.capacity() * sizeof(std::uint32_t);
    }

    /// The cell that a unit below total() lies in: the unit itself in a coarser voxel, or a voxel.
    CandidateCell operator[](std::uint64_t unit) const {
        const auto& tile = tileOf(unit);
        const std::uint64_t rank = unit - tile.begin,
                            perVoxel = unitsPerVoxel_[static_cast<std::size_t>(tile.depth)];
        if (perVoxel > 1) [[unlikely]]
            return partOf(voxelCell(tile, rank / perVoxel), rank % perVoxel,
                          Traits::voxelWidth(unitDepth_));
        return voxelCell(tile, rank).rounded();
    }

    /// Searches wait for memory. Who has several to make calls these for each of them first, in
    /// this order.
    void expectGuide(std::uint64_t unit) const { __builtin_prefetch(&guide_[unit >> shift_]); }
    void expectTile(std::uint64_t unit) const {
        __builtin_prefetch(tiles_.data() + guide_[unit >> shift_]);
    }

    struct Box {
        std::array<std::int64_t, 3> min, max; ///< in index units
    };
    /// The box around all cells; there must be some.
    Box bounds() const;

private:
    // A cell before it is rounded to float.
    struct WholeCell {
        std::int64_t x, y, z, width;

        CandidateCell rounded() const {
            return {{static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)},
                    static_cast<float>(width)};
        }
    };

    const CandidateTile<Traits>& tileOf(std::uint64_t unit) const {
        const std::uint64_t entry = unit >> shift_;
        const auto* const first = tiles_.data() + guide_[entry];
        const auto* const last = tiles_.data() + guide_[entry + 1];
        // Most often it is the first; its own size says so without a look at the next.
        if (unit - first->begin < unitsOf(*first))
            return *first;
        return *(std::partition_point(first + 1, last + 1,
                                      [unit](const auto& tile) { return tile.begin <= unit; }) -
                 1);
    }

    std::uint64_t unitsOf(const CandidateTile<Traits>& tile) const {
        return static_cast<std::uint64_t>(tile.voxels.count()) *
               unitsPerVoxel_[static_cast<std::size_t>(tile.depth)];
    }

    static WholeCell voxelCell(const CandidateTile<Traits>& tile, std::uint64_t rank) {
        const int3 n = localVoxel<Traits>(tile.voxels.select(static_cast<int>(rank)));
        const std::int64_t width = Traits::voxelWidth(tile.depth);
        return {tile.tijk.x + n.x * width, tile.tijk.y + n.y * width, tile.tijk.z + n.z * width,
                width};
    }

    // The part-th of the cells of that width in a cell, x fastest.
    static CandidateCell partOf(const WholeCell& cell, std::uint64_t part, std::int64_t width);

    void chooseUnit(int finestDepth);
    void sumUp();
    void makeGuide();

    std::vector<CandidateTile<Traits>> tiles_;
    int unitDepth_ = 0;
    std::array<std::uint64_t, Traits::kDepthCount> unitsPerVoxel_{};
    std::uint64_t total_ = 0;
    /// The tile that holds the first unit of each 2^shift_, and the last tile.
    std::vector<std::uint32_t> guide_;
    int shift_ = 0;
};

extern template class CandidateCells<KDX::TileTree3D::Traits<2, 4, 1>>;
extern template class CandidateCells<KDX::TileTree3D::Traits<5, 5, 1>>;

} // namespace Vantor::Sample
