// Where a cubic sample is taken.
#pragma once

#include "KDX/TreeIndex.h"

namespace KDX::TileTree3D {

/// A cell of a tile, and where in it a position lies.
template <class Traits, class PositionT>
struct CubicPlace {
    TreeIndex index;
    int3 tijk{0, 0, 0}; ///< the tile's origin
    int3 n{0, 0, 0};    ///< the cell's lower voxel in the tile
    PositionT f{};      ///< the fractions in the cell
    /// Whether the flag word that was read last had a bit of the mask.
    bool dofIsValid = false;

    /// The cell's lower voxel, in index units.
    WideIndex llc() const {
        const std::int64_t width = Traits::voxelWidth(index.depth);
        return {tijk.x + width * n.x, tijk.y + width * n.y, tijk.z + width * n.z};
    }
};

} // namespace KDX::TileTree3D
