// A tree that is finer near a point, two channels on it, and an object that carries them.
#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "Vantor/Volume.h"
#include "ops/sample_volume.h"

#include <cmath>
#include <cstdio>

using namespace KDX::TileTree3D;
using Vantor::Math::bbox;
using Vantor::Math::float3;

using Shape = Traits<2, 4, 1>;

int main() {
    const bbox<int3, int> box{{-64, -64, -64}, {63, 63, 63}};
    TreeBuilder<Shape> tiles;
    tiles.addRefined(box, [](const int3& tijk, int depth) -> TreeBuilder<Shape>::Wish {
        const int coarsest = Shape::kFinestDepth - 2, extent = Shape::tileExtent(depth);
        if (depth < coarsest)
            return {.holdsVoxels = false, .refine = true};
        const bool isNear = std::abs(tijk.x) <= extent && std::abs(tijk.y) <= extent;
        const bool refine = isNear && depth < Shape::kFinestDepth;
        return {.holdsVoxels = !refine, .refine = refine};
    });
    const auto tree = tiles.build(0.1F, VoxelOffsetType::kCellCentre);

    ChannelBuilder<Shape, float> density(tree, "density", 0.0F);
    density.fill([](const double3& p, int) { return static_cast<float>(p.x - p.y); });
    const auto channel = density.finish();

    Vantor::Object volume;
    Vantor::Geometry::addTree<Shape>(volume, tree);
    Vantor::Geometry::addChannel(volume, channel);

    for (int depth = channel->minDepth(); depth <= channel->depth(); ++depth)
        std::printf("%zu tiles at depth %d\n", tree->tiles(depth).size(), depth);
    const Ostrum::Array<float3> positions{{0.05F, 0.25F, 0.0F}, {4.0F, -3.0F, 1.0F}};
    Ostrum::Ptr<Ostrum::Array<float>> values;
    Geometry::Query::sample_volume(volume, positions, 0.0F, "density",
                                   Geometry::Query::SamplerType::kLinear, values);
    for (const float value : *values)
        std::printf("%g\n", static_cast<double>(value)); // -2 and 70: the field is linear
}
