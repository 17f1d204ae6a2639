// The cells of a volume that samples are drawn from.
#pragma once

#include "KDX/Traits.h"
#include "common/Math.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vantor::Sample {

using Math::float3;
using Math::int3;

/// A subset of a tile's voxels, in the order of their values (x fastest).
template <class Traits>
class VoxelSet {
    static constexpr std::size_t kWords = (Traits::kVoxelCount + 63) / 64;

public:
    void insert(int voxel) { words_[wordOf(voxel)] |= std::uint64_t{1} << (voxel % 64); }
    bool contains(int voxel) const { return words_[wordOf(voxel)] >> (voxel % 64) & 1U; }
    bool empty() const { return words_ == std::array<std::uint64_t, kWords>{}; }

    int count() const {
        int voxels = 0;
        for (const std::uint64_t word : words_)
            voxels += std::popcount(word);
        return voxels;
    }

    /// The voxel of a rank, which must be below count().
    int select(int rank) const {
        std::size_t word = 0;
        for (int voxels; word + 1 < kWords && rank >= (voxels = std::popcount(words_[word]));
             ++word)
            rank -= voxels;
        return static_cast<int>(word * 64) + selectBit(words_[word], rank);
    }

private:
    static constexpr std::size_t wordOf(int voxel) { return static_cast<std::size_t>(voxel / 64); }

    // By halves: is the bit among the lower ones?
    static int selectBit(std::uint64_t bits, int rank) {
        int place = 0;
        for (int half = 32; half > 0; half /= 2) {
            const int below = std::popcount(bits & ((std::uint64_t{1} << half) - 1));
            const bool above = rank >= below;
            rank -= above ? below : 0;
            place += above ? half : 0;
            bits = above ? bits >> half : bits;
        }
        return place;
    }

    std::array<std::uint64_t, kWords> words_{};
};

/// Those cells of one tile.
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

    /// The cell that a unit below total() lies in: the unit itself in a coarser voxel, or a voxel.
    CandidateCell operator[](std::uint64_t unit) const;

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
    void chooseUnit(int finestDepth);
    void sumUp();
    void makeGuide();

    std::vector<CandidateTile<Traits>> tiles_;
    int unitDepth_ = 0;
    std::array<std::uint64_t, Traits::kDepthCount> unitsPerVoxel_{};
    std::uint64_t total_ = 0;
    /// The tile that holds the first unit of each 2^shift_, and one past the last tile.
    std::vector<std::uint32_t> guide_;
    int shift_ = 0;
};

extern template class CandidateCells<KDX::TileTree3D::Traits<2, 4, 1>>;
extern template class CandidateCells<KDX::TileTree3D::Traits<5, 5, 1>>;

} // namespace Vantor::Sample
