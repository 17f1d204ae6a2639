#include "locations/VolumeMask.h"

namespace Vantor::Sample {

using namespace Vantor::Math;

template <class Traits>
std::unique_ptr<const VolumeMask<Traits>>
makeVolumeMask(const KDX::Object& volume, const KDX::TileTree3D::Container<Traits>& container,
               const KDX::TileTree3D::VoxelTopology<Traits>& topology,
               const GenerateLocationOptions& options) {
#define STRATUM_VALUE_TYPE(T)                                                                      \
    if (auto mask = makeVolumeMaskOf<Traits, T>(volume, container, topology, options))             \
        return mask;
#include "common/rows.def"
    return nullptr;
}

#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    template std::unique_ptr<const VolumeMask<KDX::TileTree3D::Traits<B, W, 1>>> makeVolumeMask(   \
        const KDX::Object&, const KDX::TileTree3D::Container<KDX::TileTree3D::Traits<B, W, 1>>&,   \
        const KDX::TileTree3D::VoxelTopology<KDX::TileTree3D::Traits<B, W, 1>>&,                   \
        const GenerateLocationOptions&);
#include "common/rows.def"

} // namespace Vantor::Sample
