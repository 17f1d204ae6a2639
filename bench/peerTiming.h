// Timing a peer on the volumes and positions that ours are timed on.
#pragma once

#include "checkedTiming.h"
#include "sampling.h"

#include <vector>

namespace Stratum::Bench {

/// What a peer is to compute where, and how far its numbers may lie from ours.
struct PeerTask {
    Scene scene;
    Access access = Access::kRandom;
    std::size_t count = kPositions;
    float tolerance = 1e-4F; ///< the rounding of a few operations
};

/// What sample_volume gives.
inline std::vector<float> ourValues(const PeerTask& task, SamplerType sampler) {
    Ostrum::Ptr<Ostrum::Array<float>> out;
    const auto& volume = benchVolume<KDX::TileTree3D::Traits<2, 4, 1>>(task.scene);
    Geometry::Query::sample_volume(volume.object,
                                   benchPositions(task.scene, task.access, task.count), 0.0F,
                                   kChannel, sampler, out);
    return {out->data(), out->data() + out->size()};
}

inline std::vector<Vantor::Math::float3> ourGradients(const PeerTask& task) {
    Ostrum::Ptr<Positions> out;
    const auto& volume = benchVolume<KDX::TileTree3D::Traits<2, 4, 1>>(task.scene);
    Geometry::Query::sample_volume_gradient(volume.object,
                                            benchPositions(task.scene, task.access, task.count),
                                            0.0F, kChannel, SamplerType::kLinear, out);
    return {out->data(), out->data() + out->size()};
}

/// Times `sample(range, positions, results)` of a peer, called by parallel tasks; first its numbers
/// must come close to `ours()`.
template <class R, class Sample, class Ours>
void timePeer(benchmark::State& state, const std::string& answer, int threads, const PeerTask& task,
              const Sample& sample, const Ours& ours) {
    const Positions& positions = benchPositions(task.scene, task.access, task.count);
    std::vector<R> results(positions.size());
    const auto spoil = [&] {
        std::memset(static_cast<void*>(results.data()), 0xFF, results.size() * sizeof(R));
    };
    spoil();
    timeChecked(
        state, answer, threads,
        [&] {
            parallelFor(positions.size(), 1,
                        [&](const IndexRange& range) { sample(range, positions, results); });
            return std::span<const R>(results);
        },
        [&](std::span<const R> values) {
            const std::vector<R> expected = ours();
            const bool near = isNear(values, std::span<const R>(expected), task.tolerance);
            spoil();
            return near;
        });
}

} // namespace Stratum::Bench
