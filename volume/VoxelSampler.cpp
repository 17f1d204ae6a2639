// The searching part of all samplers, for the rows of common/rows.def.
#include "volume/VoxelSampler-inl.h"

namespace KDX::TileTree3D {

#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    template class VoxelSampler<Traits<B, W, 1>, float3>;                                          \
    template class VoxelSampler<Traits<B, W, 1>, double3>;
#include "common/rows.def"

} // namespace KDX::TileTree3D
