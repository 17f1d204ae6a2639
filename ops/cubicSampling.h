// Cubic sampling of a whole array of positions.
#pragma once

#include "ops/sampleLoop.h"
#include "ops/visitOrder.h"
#include "ops/volumeParts.h"
#include "volume/VoxelSamplerCubic.h"

#include <algorithm>
#include <array>

namespace Stratum {

/// As SampleLoopBody, a range at a time: the sampler asks for the values of positions ahead.
template <class Sampler, class T>
struct CubicLoopBody {
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

/// results[i] = the value at positions[i], in world units: clamped to the range of the cell, and
/// linear across changes of resolution.
template <class Traits, class T>
void sampleCubic(const VolumeParts<Traits, T>& volume,
                 const Ostrum::Array<Vantor::Math::float3>& positions, Ostrum::Array<T>& results,
                 KDX::TileTree3D::InterpolationMode mode) {
    using Sampler = KDX::TileTree3D::CubicSampler<Traits, T>;
    const Sampler sampler(*volume.container, *volume.topology, *volume.channel, mode, true, 1,
                          nullptr, 0, 0);
    const auto order = visitOrder(volume, positions);
    parallelFor(positions.size(), 1, CubicLoopBody<Sampler, T>{sampler, positions, results, order});
    throwIfCancelled();
}

} // namespace Stratum
