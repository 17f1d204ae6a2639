// Cubic sampling with settings of one's own: what no operator selects.
#include "KDX/ChannelBuilder.h"
#include "KDX/Container.h"
#include "KDX/TreeBuilder.h"
#include "volume/VoxelSamplerCubic.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

using namespace KDX::TileTree3D;
using Shape = Traits<2, 4, 1>;
using Cubic = CubicSampler<Shape, double>;

int main() {
    // A coarse volume, refined in one corner; samples on voxel corners, x cubed everywhere.
    TreeBuilder<Shape> tiles;
    tiles.addBox(27, {{-32, -32, -32}, {31, 31, 31}});
    tiles.addBox(28, {{8, 0, 0}, {15, 7, 7}});
    const auto tree = tiles.build(1, VoxelOffsetType::kCorner);
    ChannelBuilder<Shape, double> builder(tree, "field", 0);
    builder.fill([](const double3& p, int) { return p.x * p.x * p.x; });
    const auto field = builder.finish();
    const Container<Shape> container(tree);
    const VoxelTopology<Shape> topology(tree);

    // As the operators have it: clamped, and linear where the stencil meets other depths.
    Cubic asOperators(container, topology, *field, InterpolationMode::kCubicC0, true, 1, nullptr, 0,
                      0);
    std::printf("%g %g\n", asOperators.sample({-9, 3, 3}, kWorld), // -729, exact
                asOperators.sample({15.5, 4, 4}, kWorld));         // 3735.5, linear

    // The general path goes on across the change of depth.
    Cubic general(container, topology, *field, InterpolationMode::kCubicC0, false, 0, nullptr, 0,
                  0);
    std::printf("%g\n", general.sample({15.5, 4, 4}, kWorld)); // 3723.88, exact

    // A mask may say that coarse voxels count as they are, although there are finer ones below.
    Cubic::MaskChannel mask("", 0, false, true, 0, Shape::kFinestDepth);
    mask.update(topology);
    for (std::int64_t i = 0; i < std::ssize(tree->tiles(27)); ++i)
        std::fill_n(mask.writableTileData({i, 27}), Shape::kVoxelCount, std::uint16_t{1});
    Cubic masked(container, topology, *field, InterpolationMode::kCubicC1, false, 0, &mask, 1, 0);
    std::printf("%g\n", masked.sample({7, 4, 4}, kWorld)); // 343, from coarse voxels alone

    // Many positions at once, and up to 100 halo tiles kept for positions that come back.
    Cubic cached(container, topology, *field, InterpolationMode::kCubicC1, true, 1, nullptr, 0,
                 100);
    const Cubic::PositionType positions[] = {{-9, 3, 3}, {-8.5, 3, 3}};
    double values[2];
    cached.sample(positions, 2, Cubic::kAnyDepth, kWorld, values);
    std::printf("%g %g\n", values[0], values[1]); // -729, -614.875
}
