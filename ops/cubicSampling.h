// Cubic sampling of a whole array of positions.
#pragma once

#include "ops/sampleLoop.h"
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

    void operator()(const IndexRange& range) const {
        using PositionT = typename Sampler::PositionType;
        constexpr std::size_t kMost = 64;
        std::array<PositionT, kMost> chunk;
        for (std::size_t begin = range.begin(); begin < range.end(); begin += kMost) {
            const std::size_t count = std::min(kMost, range.end() - begin);
            for (std::size_t i = 0; i < count; ++i)
                chunk[i] = toPosition<PositionT>(positions[begin + i]);
            sampler.sample(chunk.data(), count, Sampler::kAnyDepth, KDX::TileTree3D::kWorld,
                           &results[begin]);
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
    parallelFor(positions.size(), 1, CubicLoopBody<Sampler, T>{sampler, positions, results});
    throwIfCancelled();
}

} // namespace Stratum
