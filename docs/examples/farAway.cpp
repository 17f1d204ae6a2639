// How far samples are from the value at the place that was meant, where the volume lies far from
// the origin. The field is linear, so that interpolation adds nothing to the error.
#include "geometries.h"
#include "ops/sample_volume.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace Examples;
using namespace KDX::TileTree3D;
using Geometry::Query::SamplerType;

namespace {

constexpr int kEdge = 64, kPositions = 4096;

// A block whose lower corner is `distance` voxels from the origin along x; the value is the
// distance from that corner in voxels.
template <class T>
Vantor::Object block(int distance, float voxelSize) {
    TreeBuilder<VolumeShape> tiles;
    tiles.addBox(VolumeShape::kFinestDepth,
                 {{distance, 0, 0}, {distance + kEdge - 1, kEdge - 1, kEdge - 1}});
    const auto tree = tiles.build(voxelSize, VoxelOffsetType::kCorner);
    Vantor::Object volume;
    Vantor::Geometry::addTree<VolumeShape>(volume, tree);
    ChannelBuilder<VolumeShape, T> field(tree, "field", T{0});
    field.fill([distance](const double3& p, int) { return static_cast<T>(p.x - distance); });
    Vantor::Geometry::addChannel(volume, field.finish());
    return volume;
}

// The largest error, in voxels.
template <class T>
double largestError(int distance, float voxelSize, SamplerType sampler) {
    const Vantor::Object volume = block<T>(distance, voxelSize);
    std::vector<double> meant;
    Ostrum::Array<float3> positions;
    for (int i = 0; i < kPositions; ++i) {
        // Between the second voxel and the one before the last, where no default is near.
        meant.push_back(2 + (kEdge - 4) * std::fmod(0.6180339887498949 * i, 1));
        const double x = (distance + meant.back()) * static_cast<double>(voxelSize);
        positions.push_back({static_cast<float>(x), 20.5F * voxelSize, 20.5F * voxelSize});
    }
    Ostrum::Ptr<Ostrum::Array<T>> values;
    Geometry::Query::sample_volume(volume, positions, T{0}, "field", sampler, values);
    double error = 0;
    for (int i = 0; i < kPositions; ++i)
        error = std::max(error, std::abs(static_cast<double>((*values)[i]) - meant[i]));
    return error;
}

} // namespace

int main() {
    std::printf(
        "| voxels from the origin | `float`, voxels of 1 | of 0.1 | `double`, of 1 | of 0.1 "
        "| kCubicC1, of 0.1 |\n|---|---|---|---|---|---|\n");
    std::printf("| 0 |");
    const auto row = [](int distance) {
        for (const double error : {largestError<float>(distance, 1, SamplerType::kLinear),
                                   largestError<float>(distance, 0.1F, SamplerType::kLinear),
                                   largestError<double>(distance, 1, SamplerType::kLinear),
                                   largestError<double>(distance, 0.1F, SamplerType::kLinear),
                                   largestError<float>(distance, 0.1F, SamplerType::kCubicC1)})
            std::printf(" %.2g |", error);
        std::printf("\n");
    };
    row(0);
    for (const int power : {10, 16, 20, 22, 23, 24, 26, 30}) {
        std::printf("| 2^%d |", power);
        row(1 << power);
    }
}
