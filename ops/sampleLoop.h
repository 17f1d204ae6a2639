// The parallel loop over an array of positions.
#pragma once

#include "common/Math.h"
#include "common/parallel.h"
#include "ops/frame.h"

#include <cstddef>

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

/// A world position in the precision that a sampler wants.
template <class PositionT>
PositionT toPosition(const Vantor::Math::float3& p) {
    return {p.x, p.y, p.z};
}

} // namespace Stratum
