// The peer: OpenVDB's trilinear BoxSampler on the same values and positions.
#include "common/parallel.h"
#include "peerLoop.h"

#include <openvdb/openvdb.h>
#include <openvdb/tools/Interpolation.h>

#include <map>

namespace Stratum::Bench {

namespace {

const openvdb::FloatGrid& peerGrid(Content content) {
    static std::map<Content, openvdb::FloatGrid::Ptr> grids;
    openvdb::FloatGrid::Ptr& grid = grids[content];
    if (!grid) {
        grid = openvdb::FloatGrid::create(0.0F);
        auto accessor = grid->getAccessor();
        for (int x = 0; x < kSize; ++x)
            for (int y = 0; y < kSize; ++y)
                for (int z = 0; z < kSize; ++z)
                    if (content == Content::kDense || isInBand(x, y, z))
                        accessor.setValue({x, y, z}, fieldValue(x, y, z));
    }
    return *grid;
}

void samplePeer(const openvdb::FloatGrid& grid,
                const Ostrum::Array<Vantor::Math::float3>& positions, std::vector<float>& results) {
    const double worldToIndex = 1.0;
    parallelFor(positions.size(), 1, [&](const IndexRange& range) {
        const auto accessor = grid.getConstAccessor();
        for (std::size_t i = range.begin(); i < range.end(); ++i) {
            const auto& p = positions[i];
            const openvdb::Vec3R index(p.x * worldToIndex, p.y * worldToIndex, p.z * worldToIndex);
            openvdb::tools::BoxSampler::sample(accessor, index, results[i]);
        }
    });
}

// To the rounding of a few float operations.
void peerLoop(benchmark::State& state, Content content, Access access, int threads) {
    const auto& grid = peerGrid(content);
    timePeer(state, content, access, threads, Geometry::Query::SamplerType::kLinear, 1e-4F,
             [&](const auto& positions, auto& results) { samplePeer(grid, positions, results); });
}

const bool registered = [] {
    for (const Content content : {Content::kDense, Content::kBand})
        for (const Access access : {Access::kRandom, Access::kCoherent})
            for (const int threads : {1, 2})
                benchmark::RegisterBenchmark(
                    join({"peer", nameOf(access), nameOf(content), "threads",
                          std::to_string(threads)})
                        .c_str(),
                    [=](benchmark::State& state) { peerLoop(state, content, access, threads); })
                    ->Unit(benchmark::kMillisecond)
                    ->UseRealTime();
    return true;
}();

} // namespace

} // namespace Stratum::Bench
