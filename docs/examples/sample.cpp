// Builds a small volume in the in-memory host and samples it.
#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "Vantor/Volume.h"
#include "ops/sample_volume.h"

#include <cstdio>

using namespace KDX::TileTree3D;
using Vantor::Math::float3;

int main() {
    using Shape = Traits<2, 4, 1>;
    TreeBuilder<Shape> tiles;
    tiles.addBox(Shape::kFinestDepth, {{0, 0, 0}, {31, 31, 31}});
    const auto tree = tiles.build(0.1F, VoxelOffsetType::kCellCentre);

    ChannelBuilder<Shape, float> density(tree, "density", 0.0F);
    density.fill([](const double3& p, int) { return static_cast<float>(p.x + 10 * p.y); });

    Vantor::Object volume;
    Vantor::Geometry::addTree<Shape>(volume, tree);
    Vantor::Geometry::addChannel(volume, density.finish());

    const Ostrum::Array<float3> positions{{0.5F, 1.0F, 1.5F}, {1.25F, 2.0F, 0.3F}};
    Ostrum::Ptr<Ostrum::Array<float>> values;
    Geometry::Query::sample_volume(volume, positions, 0.0F, "density",
                                   Geometry::Query::SamplerType::kLinear, values);
    for (const float value : *values)
        std::printf("%g\n", static_cast<double>(value)); // 105, 212.5
}
