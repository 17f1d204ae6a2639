// The peer of the cubic samplers: NanoVDB's tricubic sampler on the same values and positions.
#include "common/parallel.h"
#include "peerLoop.h"

#include <nanovdb/util/GridBuilder.h>
#include <nanovdb/util/SampleFromVoxels.h>

#include <vector>

namespace Stratum::Bench {

namespace {

const nanovdb::FloatGrid& peerGrid() {
    static const nanovdb::GridHandle<> handle = [] {
        nanovdb::GridBuilder<float> builder(0.0F);
        auto accessor = builder.getAccessor();
        for (int x = 0; x < kSize; ++x)
            for (int y = 0; y < kSize; ++y)
                for (int z = 0; z < kSize; ++z)
                    accessor.setValue({x, y, z}, fieldValue(x, y, z));
        return builder.getHandle<>();
    }();
    return *handle.grid<float>();
}

void samplePeer(const nanovdb::FloatGrid& grid,
                const Ostrum::Array<Vantor::Math::float3>& positions, std::vector<float>& results) {
    parallelFor(positions.size(), 1, [&](const IndexRange& range) {
        const auto accessor = grid.getAccessor();
        const auto sampler = nanovdb::createSampler<3>(accessor);
        for (std::size_t i = range.begin(); i < range.end(); ++i) {
            const auto& p = positions[i];
            results[i] = sampler(nanovdb::Vec3f(p.x, p.y, p.z));
        }
    });
}

// Both interpolate a smooth field with four points an axis: they differ by what their polynomials
// differ, far less than by a voxel.
void peerLoop(benchmark::State& state, Content content, Access access, int threads) {
    const auto& grid = peerGrid();
    timePeer(state, content, access, threads, Geometry::Query::SamplerType::kCubicC1, 0.01F,
             [&](const auto& positions, auto& results) { samplePeer(grid, positions, results); });
}

// On the dense volume only: the band ends where a stencil still reads, and both libraries end it
// differently, voxel by voxel and tile by tile.
const bool registered = [] {
    for (const Access access : {Access::kRandom, Access::kCoherent})
        for (const int threads : {1, 2})
            benchmark::RegisterBenchmark(
                join({"cubic-peer", nameOf(access), nameOf(Content::kDense), "threads",
                      std::to_string(threads)})
                    .c_str(),
                [=](benchmark::State& state) { peerLoop(state, Content::kDense, access, threads); })
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
    return true;
}();

} // namespace

} // namespace Stratum::Bench
