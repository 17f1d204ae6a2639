// The parallel loop over positions.
#pragma once

#include "Ostrum/Array.h"
#include "common/Math.h"
#include "common/parallel.h"
#include "ops/frame.h"
#include "volume/PositionsView.h"
#include "volume/VisitOrder.h"
#include "volume/VoxelSampler.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <type_traits>

namespace Stratum {

inline KDX::TileTree3D::PositionsView viewOf(const Ostrum::Array<Vantor::Math::float3>& positions) {
    return std::span(positions.data(), positions.size());
}

/// A part of the loop, with the sampler of one task. `evaluate(sampler, positions, count, results)`
/// takes some positions at a time, of the type `PositionT`, so that a sampler can ask for the
/// values of those ahead; `store(i, result)` keeps the result of the i-th position.
template <class PositionT, class R, class Sampler, class Evaluate, class Store>
struct SampleLoopBody {
    mutable Sampler sampler;
    const KDX::TileTree3D::PositionsView positions;
    const KDX::TileTree3D::VisitOrder& order;
    const Evaluate& evaluate;
    const Store& store;

    static constexpr std::size_t kMost = 64;

    void operator()(const IndexRange& range) const {
        std::array<PositionT, kMost> chunk;
        std::array<R, kMost> results;
        for (std::size_t begin = range.begin(); begin < range.end(); begin += kMost) {
            const std::size_t count = std::min(kMost, range.end() - begin);
            expect(begin + kMost, range.end());
            for (std::size_t i = 0; i < count; ++i) {
                const auto p = positions[order[begin + i]];
                chunk[i] = {p.x, p.y, p.z};
            }
            evaluate(sampler, chunk.data(), count, results.data());
            for (std::size_t i = 0; i < count; ++i)
                store(order[begin + i], results[i]);
        }
    }

private:
    // Asks for the positions of the next chunk, where they do not follow each other in memory.
    void expect(std::size_t begin, std::size_t end) const {
        if (!order.isIdentity())
            for (std::size_t i = begin; i < std::min(begin + kMost, end); ++i)
                positions.expect(order[i]);
    }
};

/// Visits all positions in the order given, every task with a sampler of its own; then lets a
/// cancellation through.
template <class PositionT, class R, class Sampler, class Evaluate, class Store>
void sampleAll(const Sampler& sampler, const KDX::TileTree3D::PositionsView& positions,
               std::size_t grain, const KDX::TileTree3D::VisitOrder& order,
               const Evaluate& evaluate, const Store& store) {
    parallelFor(positions.size(), grain,
                SampleLoopBody<PositionT, R, Sampler, Evaluate, Store>{sampler, positions, order,
                                                                       evaluate, store});
    throwIfCancelled();
}

/// A part of the loop over positions that the sampler can read, and results that it can write,
/// where they are.
template <class PositionT, class R, class Sampler, class Evaluate>
struct InPlaceLoopBody {
    mutable Sampler sampler;
    const PositionT* positions;
    R* results;
    const Evaluate& evaluate;

    void operator()(const IndexRange& range) const {
        evaluate(sampler, positions + range.begin(), range.end() - range.begin(),
                 results + range.begin());
    }
};

/// As sampleAll() in the positions' own order.
template <class PositionT, class R, class Sampler, class Evaluate>
void sampleInPlace(const Sampler& sampler, const PositionT* positions, std::size_t count,
                   const Evaluate& evaluate, R* results) {
    parallelFor(
        count, 1,
        InPlaceLoopBody<PositionT, R, Sampler, Evaluate>{sampler, positions, results, evaluate});
    throwIfCancelled();
}

/// results[i] = the value at positions[i], in world units, at any depth.
template <class Sampler, class T>
void sampleValues(const Sampler& sampler, const Ostrum::Array<Vantor::Math::float3>& positions,
                  Ostrum::Array<T>& results, const KDX::TileTree3D::VisitOrder& order) {
    using PositionT = typename Sampler::PositionType;
    const auto evaluate = [](Sampler& own, const PositionT* chunk, std::size_t count, T* values) {
        own.sample(chunk, count, Sampler::kAnyDepth, KDX::TileTree3D::kWorld, values);
    };
    if constexpr (std::is_same_v<PositionT, Vantor::Math::float3>)
        if (order.isIdentity())
            return sampleInPlace(sampler, positions.data(), positions.size(), evaluate,
                                 results.data());
    sampleAll<PositionT, T>(sampler, viewOf(positions), 1, order, evaluate,
                            [&results](std::size_t i, const T& value) { results[i] = value; });
}

} // namespace Stratum
