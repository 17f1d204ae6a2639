// Channels of 16-bit flag words, one for each tree shape.
#include "KDX/Channel-inl.h"
#include "KDX/RestrictedTiles-inl.h"

#include <cstdint>

namespace KDX::TileTree3D {

#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    template class OSTRUM_API Channel<Traits<B, W, 1>, std::uint16_t, W, 0, 0>;
#include "common/rows.def"

} // namespace KDX::TileTree3D
