// Where a grid's voxels lie among ours.
#pragma once

#include "KDX/VoxelOffsetType.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>

namespace Stratum::io {

/// Voxel ijk of the grid is the voxel with index ijk + shift of a tree with this voxel size and
/// offset type.
struct GridPlacement {
    double voxelSize = 1;
    std::array<std::int64_t, 3> shift{};
    KDX::TileTree3D::VoxelOffsetType offsetType = KDX::TileTree3D::VoxelOffsetType::kCorner;

    bool operator==(const GridPlacement& other) const {
        return std::abs(voxelSize - other.voxelSize) <= 1e-9 * voxelSize && shift == other.shift &&
               offsetType == other.offsetType;
    }
};

/// From a grid's indices to world space: a matrix, and the place of voxel (0, 0, 0).
struct GridTransform {
    std::array<std::array<double, 3>, 3> matrix{};
    std::array<double, 3> translation{};
};

/// The placement of a transform, or why there is none.
struct GridPlacementResult {
    std::optional<GridPlacement> placement;
    std::string reason;
};

inline GridPlacementResult placementOf(const GridTransform& transform) {
    const auto& m = transform.matrix;
    const double s = m[0][0];
    const double tolerance = 1e-9 * std::abs(s);
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            if (row != column && !(std::abs(m[row][column]) <= tolerance))
                return {{}, "it has a rotation or a shear"};
    if (!(s > 0) || !(m[1][1] > 0) || !(m[2][2] > 0) || !std::isfinite(s))
        return {{}, "its scale is not positive"};
    if (!std::isnormal(static_cast<float>(s))) // as which volumes have it
        return {{}, "its scale is beyond single precision"};
    if (!(std::abs(m[1][1] - s) <= tolerance) || !(std::abs(m[2][2] - s) <= tolerance))
        return {{}, "its scale differs between the axes"};

    // Voxel ijk lies at s * ijk + t, ours with index i at (i + o) * s, so that i = ijk + t / s - o
    // with o = 0 where t is a whole number of voxels and o = 1/2 where half a voxel remains.
    GridPlacement placement{s, {}, {}};
    int type = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double halves = 2 * transform.translation[axis] / s;
        const double whole = std::round(halves);
        constexpr double kTolerance = 2e-5; // half voxels; finer than a sampler tells apart
        if (!(std::abs(whole) < 0x1p33) || !(std::abs(halves - whole) <= kTolerance))
            return {{},
                    std::string("its translation along ") + "xyz"[axis] +
                        " is no multiple of half a voxel"};
        const auto n = static_cast<std::int64_t>(whole);
        const bool even = n % 2 == 0;
        type |= even ? 1 << axis : 0;
        placement.shift[axis] = (even ? n : n - 1) / 2;
    }
    placement.offsetType = static_cast<KDX::TileTree3D::VoxelOffsetType>(type);
    return {placement, {}};
}

} // namespace Stratum::io
