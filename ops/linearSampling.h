// Linear sampling of a whole array of positions.
#pragma once

#include "KDX/halo.h"
#include "common/parallel.h"
#include "ops/frame.h"
#include "ops/haloChannel.h"
#include "ops/volumeParts.h"
#include "volume/VoxelSamplerLinear.h"

namespace Stratum {

/// The positions and outputs of one parallel loop, with the sampler of one task.
template <class Sampler, class R, class Evaluate>
struct SampleLoopBody {
    mutable Sampler sampler;
    const Ostrum::Array<Vantor::Math::float3>& positions;
    Ostrum::Array<R>& results;
    const Evaluate& evaluate;

    void operator()(const IndexRange& range) const {
        for (std::size_t i = range.begin(); i < range.end(); ++i)
            results[i] = evaluate(sampler, positions[i]);
    }
};

/// results[i] = evaluate(sampler, positions[i]) for all positions, every task with a sampler of its
/// own; then lets a cancellation through.
template <class Sampler, class R, class Evaluate>
void sampleAll(const Sampler& sampler, const Ostrum::Array<Vantor::Math::float3>& positions,
               Ostrum::Array<R>& results, const Evaluate& evaluate) {
    parallelFor(positions.size(), 1,
                SampleLoopBody<Sampler, R, Evaluate>{sampler, positions, results, evaluate});
    throwIfCancelled();
}

/// The same with a linear sampler on a halo channel that is built first and released afterwards.
/// The halo's default is the channel's.
template <class Traits, class T, class R, class Evaluate>
void sampleLinear(const VolumeParts<Traits, T>& volume,
                  const Ostrum::Array<Vantor::Math::float3>& positions, Ostrum::Array<R>& results,
                  const Evaluate& evaluate) {
    using namespace KDX::TileTree3D;
    const auto halo = createHaloChannel<Traits, T>(*volume.topology, volume.channel->defaultValue(),
                                                   {.finestDepth = Traits::kFinestDepth});
    computeHalo<Traits, T, 0, 0, 1, 0>(*volume.channel, *volume.container, *halo, -1, -1);
    sampleAll(LinearSampler<Traits, T>(*volume.container, *volume.topology, *halo), positions,
              results, evaluate);
}

/// A world position in the precision that a sampler wants.
template <class PositionT>
PositionT toPosition(const Vantor::Math::float3& p) {
    return {p.x, p.y, p.z};
}

} // namespace Stratum
