// How many data voxels of a depth fit into one index unit.
#pragma once

#include "KDX/Traits.h"

#include <array>
#include <cstddef>

namespace KDX::TileTree3D {

/// Data voxels of depth d per index unit, B^(d - finest depth), for d from 0 to the finest depth.
/// With two children an axis the table holds half of that and every use doubles it, which is exact;
/// with five, each entry is the nearest number to the quotient.
template <class Traits, class Scalar>
Scalar treeScale(int depth) {
    constexpr bool kHalved = Traits::kChildrenPerAxis == 2;
    static constexpr auto kTable = [] {
        std::array<Scalar, Traits::kDepthCount> table{};
        for (int d = 0; d < Traits::kDepthCount; ++d)
            table[d] = static_cast<Scalar>((kHalved ? 0.5 : 1.0) /
                                           static_cast<double>(Traits::voxelWidth(d)));
        return table;
    }();
    const Scalar entry = kTable[depth];
    return kHalved ? entry * 2 : entry;
}

} // namespace KDX::TileTree3D
