// Some positions at a time, coordinate by coordinate, so that one instruction serves several.
#pragma once

#include <cstddef>
#include <cstdint>

namespace KDX::TileTree3D {

/// Where up to kSize positions lie. Every array runs over the positions; those of three parts have
/// one part an axis. `S` is the scalar that positions are computed in.
template <class S>
struct PositionBlock {
    static constexpr std::size_t kSize = 64;

    alignas(64) S position[3][kSize];        ///< in index units
    alignas(64) std::int32_t cell[3][kSize]; ///< the index below; 0 where no tile can be
    /// Whether a tile can be there: false for NaN and what no index reaches.
    alignas(64) std::uint8_t isIndex[kSize];
    /// Whether a position lies in another grid cell than the one before it; set for the first.
    alignas(64) std::uint8_t beginsRun[kSize];

    alignas(64) std::int32_t origin[3][kSize]; ///< of the tile
    alignas(64) S scale[kSize];                ///< of its depth: data voxels an index unit

    alignas(64) std::int32_t voxel[3][kSize]; ///< the data voxel below, from the tile's origin
    /// Where that voxel lies among the values of the tile's halo tile.
    alignas(64) std::int32_t value[kSize];
    alignas(64) S fraction[3][kSize]; ///< beyond the voxel's sample
};

/// The grid of all places where a tile of one depth can be.
template <class S>
struct TileGrid {
    std::int32_t lowest;  ///< index where the first cell begins, on every axis
    std::uint32_t extent; ///< edge of a cell, in index units
    int shift;            ///< binary logarithm of the extent, or -1 when it is no power of two
    S scale;              ///< data voxels of the depth an index unit
};

/// Where samples lie in the tiles of a volume.
template <class S>
struct SamplePlacement {
    S offset[3]; ///< of a tile's first sample, in its data voxels
    S lowest;    ///< local index of the lowest voxel that interpolates: 0 or -1
    S highest;   ///< and of the highest
    /// Local voxel (i, j, k) is value base + i + stride * (j + stride * k) of a halo tile.
    std::int32_t base, stride;
};

} // namespace KDX::TileTree3D
