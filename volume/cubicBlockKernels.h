// Cubic interpolation of blocks of positions, compiled for several widths of vector registers.
#pragma once

#include "volume/CubicCells.h"
#include "volume/PositionBlock.h"
#include "volume/cubicKernels.h"

#include <cstddef>

namespace KDX::TileTree3D {

/// For a tree with tiles of W^3 values. All widths give the bits that CubicStencil gives.
template <class S, int W>
struct CubicBlockKernels {
    /// Sets `values`, one a position, from the cells, of which there must be some, and from the
    /// block's fractions, which become the nearest in [0, 1); 0 in cells that have no tiles.
    /// Returns whether any value is NaN.
    using Interpolate = bool (*)(const CubicCell<S>* cells, std::size_t cellCount,
                                 const PositionBlock<S>& block, bool clampToCellRange, S* values);
    Interpolate interpolate[4]; ///< by mode
};

/// Those of the width that blockKernels() picks. For `float` and `double`, W 4 and 5.
template <class S, int W>
const CubicBlockKernels<S, W>& cubicBlockKernels();

/// Those of one width; the processor must have its instructions.
template <class S, int W, int kWidth>
const CubicBlockKernels<S, W>& cubicBlockKernelsOf();

} // namespace KDX::TileTree3D
