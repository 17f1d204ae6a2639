#pragma once

#include "volume/HaloTileCache-inl.h"
#include "volume/PlainCells.h"

namespace KDX::TileTree3D {

template <class Traits, class ValueT>
const ValueT* PlainCells<Traits, ValueT>::haloTile(const TreeIndex& index) {
    return corner_ ? nodeCache.values(index, *container_, *channel_, haloAccessor, sampleCount)
                   : cellCache.values(index, *container_, *channel_, haloAccessor, sampleCount);
}

} // namespace KDX::TileTree3D
