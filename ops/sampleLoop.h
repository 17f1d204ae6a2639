// The parallel loop over an array of positions.
#pragma once

#include "common/Math.h"
#include "common/parallel.h"
#include "ops/frame.h"
#include "volume/VisitOrder.h"

#include <cstddef>

namespace Stratum {

/// The positions and outputs of one parallel loop, with the sampler of one task.
template <class Sampler, class R, class Evaluate>
struct SampleLoopBody {
    mutable Sampler sampler;
    const Ostrum::Array<Vantor::Math::float3>& positions;
    Ostrum::Array<R>& results;
    const KDX::TileTree3D::VisitOrder& order;
    const Evaluate& evaluate;

    void operator()(const IndexRange& range) const {
        for (std::size_t visit = range.begin(); visit < range.end(); ++visit) {
            const std::size_t i = order[visit];
            results[i] = evaluate(sampler, positions[i]);
        }
    }
};

/// results[i] = evaluate(sampler, positions[i]) for all positions in the order given, every task
/// with a sampler of its own; then lets a cancellation through.
template <class Sampler, class R, class Evaluate>
void sampleAll(const Sampler& sampler, const Ostrum::Array<Vantor::Math::float3>& positions,
               Ostrum::Array<R>& results, const KDX::TileTree3D::VisitOrder& order,
               const Evaluate& evaluate) {
    parallelFor(positions.size(), 1,
                SampleLoopBody<Sampler, R, Evaluate>{sampler, positions, results, order, evaluate});
    throwIfCancelled();
}

/// A world position in the precision that a sampler wants.
template <class PositionT>
PositionT toPosition(const Vantor::Math::float3& p) {
    return {p.x, p.y, p.z};
}

} // namespace Stratum
