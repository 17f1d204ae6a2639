// Where a halo tile keeps its values: the one place to change for a host with another layout.
#pragma once

#include "KDX/Traits.h"
#include "KDX/VoxelOffsetType.h"

namespace KDX::TileTree3D {

/// Local voxel (i, j, k) of a halo tile sits at flat index base + i + stride * (j + stride * k).
struct HaloLayout {
    int stride;
    int base;
};

/// With samples on voxel corners a halo tile holds local indices 0 .. W. All other offset types
/// also interpolate below a tile's first sample, and their halo tiles hold -1 .. W.
template <class Traits>
constexpr HaloLayout haloLayout(VoxelOffsetType type) {
    constexpr int W = Traits::kVoxelsPerAxis;
    if (type == VoxelOffsetType::kCorner)
        return {W + 1, 0};
    constexpr int stride = W + 2;
    return {stride, 1 + stride * (1 + stride)};
}

} // namespace KDX::TileTree3D
