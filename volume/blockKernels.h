// The arithmetic on blocks of positions, compiled for several widths of vector registers.
#pragma once

#include "volume/PositionBlock.h"

namespace KDX::TileTree3D {

/// All widths give the same bits.
template <class S>
struct BlockKernels {
    /// Bits of a vector register: 128, 256 or 512.
    int width;
    /// Sets `position` to `count` positions (x, y, z each) times `factor`, and with it all members
    /// from `cell` to `scale`, as if every position had a tile in its cell of the grid.
    void (*locate)(const S* positions, std::size_t count, S factor, const TileGrid<S>& grid,
                   PositionBlock<S>& block);
    /// Sets `voxel`, `value` and `fraction` from `position`, `origin` and `scale`.
    void (*place)(const SamplePlacement<S>& samples, std::size_t count, PositionBlock<S>& block);
};

/// The widest kernels that the processor can run, for `float` or `double`. The environment variable
/// STRATUM_KERNEL_WIDTH may lower the width (128, 256 or 512 bits); it is read once.
template <class S>
const BlockKernels<S>& blockKernels();

} // namespace KDX::TileTree3D
