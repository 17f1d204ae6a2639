// Gradients of a scalar channel: in the middle, at the border and outside, and what the cubic
// samplers give.
#include "geometries.h"
#include "ops/sample_volume.h"

#include <cstdio>

using namespace Examples;
using Geometry::Query::SamplerType;
using namespace KDX::TileTree3D;

int main() {
    // Voxels of half a unit, so that 3x - y + 2z in index units has half those slopes for each.
    TreeBuilder<VolumeShape> tiles;
    tiles.addBox(VolumeShape::kFinestDepth, {{0, 0, 0}, {15, 15, 15}});
    const auto tree = tiles.build(0.5F, VoxelOffsetType::kCellCentre);
    Vantor::Object volume;
    Vantor::Geometry::addTree<VolumeShape>(volume, tree);
    addChannel(volume, tree, "height",
               [](const double3& p) { return 3 * p.x - p.y + 2 * p.z + 100; });

    const Ostrum::Array<float3> positions{{2.1F, 3.3F, 4.7F}, {7.9F, 4, 4}, {20, 4, 4}};
    Ostrum::Ptr<Ostrum::Array<float3>> gradients;
    for (const auto sampler : {SamplerType::kLinear, SamplerType::kCubicC1}) {
        Geometry::Query::sample_volume_gradient(volume, positions, -1.0F, "height", sampler,
                                                gradients);
        for (const float3& g : *gradients)
            std::printf("(%g %g %g) ", static_cast<double>(g.x), static_cast<double>(g.y),
                        static_cast<double>(g.z));
        std::printf("\n");
    }
}
