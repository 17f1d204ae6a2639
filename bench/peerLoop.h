// Timing a peer on the volumes and positions that ours are timed on.
#pragma once

#include "benchVolumes.h"

#include "ops/sample_volume.h"

#include <benchmark/benchmark.h>
#include <oneapi/tbb/global_control.h>

#include <cmath>
#include <vector>

namespace Stratum::Bench {

/// A peer's benchmark: `sample(positions, results)` is timed once its values are within `tolerance`
/// of what sample_volume gives with `sampler`.
template <class Sample>
void timePeer(benchmark::State& state, Content content, Access access, int threads,
              Geometry::Query::SamplerType sampler, float tolerance, const Sample& sample) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                                    static_cast<std::size_t>(threads));
    const auto& positions = benchPositions(content, access);
    std::vector<float> results(positions.size());
    sample(positions, results);
    Ostrum::Ptr<Ostrum::Array<float>> ours;
    Geometry::Query::sample_volume(benchVolume<KDX::TileTree3D::Traits<2, 4, 1>>(content).object,
                                   positions, 0.0F, kChannel, sampler, ours);
    for (std::size_t i = 0; i < results.size(); ++i)
        if (!(std::abs(results[i] - (*ours)[i]) < tolerance))
            return state.SkipWithError("the libraries disagree");
    for (auto _ : state)
        sample(positions, results);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPositions));
}

} // namespace Stratum::Bench
