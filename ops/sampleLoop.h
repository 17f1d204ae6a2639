// The parallel loop over an array of positions.
#pragma once

#include "common/Math.h"
#include "common/parallel.h"
#include "ops/frame.h"
#include "volume/VisitOrder.h"
#include "volume/VoxelSampler.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Stratum {

/// A world position in the precision that a sampler wants.
template <class PositionT>
PositionT toPosition(const Vantor::Math::float3& p) {
    return {p.x, p.y, p.z};
}

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

/// The same for the value alone, some positions at a time: the sampler asks for the values of those
/// ahead.
template <class Sampler, class T>
struct BlockLoopBody {
    mutable Sampler sampler;
    const Ostrum::Array<Vantor::Math::float3>& positions;
    Ostrum::Array<T>& results;
    const KDX::TileTree3D::VisitOrder& order;

    void operator()(const IndexRange& range) const {
        using PositionT = typename Sampler::PositionType;
        constexpr std::size_t kMost = 64;
        std::array<PositionT, kMost> chunk;
        std::array<T, kMost> values;
        for (std::size_t begin = range.begin(); begin < range.end(); begin += kMost) {
            const std::size_t count = std::min(kMost, range.end() - begin);
            for (std::size_t i = 0; i < count; ++i)
                chunk[i] = toPosition<PositionT>(positions[order[begin + i]]);
            sampler.sample(chunk.data(), count, Sampler::kAnyDepth, KDX::TileTree3D::kWorld,
                           values.data());
            for (std::size_t i = 0; i < count; ++i)
                results[order[begin + i]] = values[i];
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

/// results[i] = the value at positions[i], as sampleAll() does it.
template <class Sampler, class T>
void sampleBlocks(const Sampler& sampler, const Ostrum::Array<Vantor::Math::float3>& positions,
                  Ostrum::Array<T>& results, const KDX::TileTree3D::VisitOrder& order) {
    parallelFor(positions.size(), 1, BlockLoopBody<Sampler, T>{sampler, positions, results, order});
    throwIfCancelled();
}

} // namespace Stratum
