// The samplers in a program with a host of its own.
#include "tinyHost/volume.h"
#include "volume/VoxelSamplerCubic-inl.h"
#include "volume/VoxelSamplerCubicBlock-inl.h"
#include "volume/VoxelSamplerLinear-inl.h"

using namespace KDX::TileTree3D;
using Shape = Traits<5, 5, 1>;

// The program instantiates what it uses.
template class KDX::TileTree3D::VoxelSampler<Shape, float3>;

int main() {
    const auto block = Ostrum::makePtr<const Block<Shape>>(
        Block<Shape>{Shape::kFinestDepth, {0, 0, 0}, {1, 1, 1}, 1, VoxelOffsetType::kCorner});
    const Container<Shape> container(block);
    const VoxelTopology<Shape> topology(block);
    Channel<Shape, float, 5, 0, 0> channel("x", 0, false, true, 0, Shape::kFinestDepth);
    channel.update(topology);
    for (int i = 0; i < Shape::kVoxelCount; ++i)
        channel.tiles[0][static_cast<std::size_t>(i)] = static_cast<float>(i % 5);
    LinearSampler<Shape, float> linear(container, topology, channel);
    CubicSampler<Shape, float> cubic(container, topology, channel, InterpolationMode::kCubicC1,
                                     true, 1, nullptr, 0, 0);
    const float3 positions[] = {{1.25F, 2, 2}, {2.5F, 1.5F, 2}};
    float values[4];
    linear.sample(positions, 2, Shape::kFinestDepth, kWorld, values);
    cubic.sample(positions, 2, Shape::kFinestDepth, kWorld, values + 2);
    for (int i = 0; i < 4; ++i)
        if (values[i] != positions[i % 2].x)
            return 1;
    return 0;
}
