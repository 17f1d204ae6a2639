// The compile-time shape of a tile tree.
#pragma once

#include "common/Math.h"

#include <array>
#include <cstdint>

namespace KDX::TileTree3D {

using Vantor::Math::int3;

/// B children and W voxels per axis of a tile; H is the width of the halo layer. Depth 0 is the
/// coarsest. The index unit is one voxel at the finest depth; all extents are in that unit.
template <int B, int W, int H>
struct STRATUM_SHARED_TYPE Traits {
    static_assert((B == 2 && W == 4 && H == 1) || (B == 5 && W == 5 && H == 1), "known shapes");

    static constexpr int kChildrenPerAxis = B;
    static constexpr int kVoxelsPerAxis = W;
    static constexpr int kHaloWidth = H;
    static constexpr int kChildCount = B * B * B;
    static constexpr int kVoxelCount = W * W * W;
    static constexpr int kFinestDepth = B == 2 ? 28 : 12;
    static constexpr int kDepthCount = kFinestDepth + 1;

    static constexpr bool isDepth(int depth) { return depth >= 0 && depth <= kFinestDepth; }

    /// Edge of a data voxel of a tile at a depth of 0 to kFinestDepth: B^(kFinestDepth - depth).
    static constexpr int voxelWidth(int depth) { return kVoxelWidths[depth]; }

    /// Edge of a tile at a depth of 0 to kFinestDepth.
    static constexpr int tileExtent(int depth) { return W * voxelWidth(depth); }

private:
    static constexpr std::array<int, kDepthCount> kVoxelWidths = [] {
        std::array<int, kDepthCount> widths{};
        int width = 1;
        for (int depth = kFinestDepth; depth >= 0; --depth) {
            widths[depth] = width;
            if (depth > 0)
                width *= B;
        }
        return widths;
    }();
};

/// An index that may lie beyond `int`, as those beside the outermost tiles do.
struct STRATUM_SHARED_TYPE WideIndex {
    std::int64_t x, y, z;
};

/// a / b rounded down, for b > 0.
constexpr std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
    return a >= 0 ? a / b : -((-a - 1) / b) - 1;
}

} // namespace KDX::TileTree3D
