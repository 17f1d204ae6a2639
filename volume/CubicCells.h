// The cells that a block of positions lies in.
#pragma once

#include "common/Math.h"
#include "volume/PositionBlock.h"

#include <cstddef>
#include <cstdint>

namespace KDX::TileTree3D {

/// Consecutive positions of a block in one cell: up to `end`, from where the cell before ends.
template <class V>
struct CubicCell {
    /// The values of the 2 x 2 x 2 tiles that its stencil lies in, place (i, j, k) at
    /// (i * 2 + j) * 2 + k; null where nothing is interpolated.
    const V* const* tiles;
    Vantor::Math::int3 begin; ///< the stencil's first voxel in the first tile
    std::size_t end;
};

} // namespace KDX::TileTree3D
