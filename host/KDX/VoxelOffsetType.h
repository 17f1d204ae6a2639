// Where a voxel's sample lies within its cell.
#pragma once

#include "common/Math.h"

namespace KDX::TileTree3D {

/// One bit per axis (bit 0: x, 1: y, 2: z): clear is an offset of half a voxel on that axis, set is
/// none. So 0 is cell-centred and 7 lies on the cell's lower corner.
enum class VoxelOffsetType : int {
    kCellCentre = 0,
    kCornerX = 1,
    kCornerY = 2,
    kCornerXY = 3,
    kCornerZ = 4,
    kCornerXZ = 5,
    kCornerYZ = 6,
    kCorner = 7,
};

/// The offset of a type, in voxels; only the three low bits of the type count.
constexpr Vantor::Math::float3 voxelOffset(VoxelOffsetType type) {
    const int bits = static_cast<int>(type);
    return {(bits & 1) ? 0.0F : 0.5F, (bits & 2) ? 0.0F : 0.5F, (bits & 4) ? 0.0F : 0.5F};
}

} // namespace KDX::TileTree3D
