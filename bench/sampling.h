// The operators' own loops and calls on the shared volumes, and the samplers that check them.
#pragma once

#include "benchVolumes.h"
#include "checkedTiming.h"
#include "haloFilling.h"

#include "ops/cubicSampling.h"
#include "ops/linearSampling.h"
#include "ops/sample_volume.h"

#include <map>
#include <span>
#include <string>
#include <type_traits>

namespace Stratum::Bench {

using Geometry::Query::SamplerType;

template <class T>
std::span<const T> spanOf(const Ostrum::Array<T>& values) {
    return {values.data(), values.size()};
}

template <class PositionT>
PositionT positionFor(const Vantor::Math::float3& p) {
    return {p.x, p.y, p.z};
}

/// A filled halo channel as the operators make it.
template <class Traits, class T>
auto makeHalo(const BenchVolume<Traits, T>& volume) {
    using namespace KDX::TileTree3D;
    const EagerHalos eager;
    auto halo = createHaloChannel<Traits, T>(*volume.topology, volume.channel->defaultValue(),
                                             {.finestDepth = Traits::kFinestDepth});
    computeHalo<Traits, T, 0, 0, 1, 0>(*volume.channel, *volume.container, *halo, -1, -1);
    return halo;
}

/// One kept for every volume.
template <class Traits>
const auto& keptHalo(const Scene& scene) {
    static std::map<Scene, decltype(makeHalo(benchVolume<Traits>(scene)))> halos;
    auto& halo = halos[scene];
    if (!halo)
        halo = makeHalo(benchVolume<Traits>(scene));
    return *halo;
}

template <class Traits>
KDX::TileTree3D::LinearSampler<Traits, float> haloSampler(const Scene& scene) {
    const auto& volume = benchVolume<Traits>(scene);
    return {*volume.container, *volume.topology, keptHalo<Traits>(scene)};
}

template <class Traits, class T>
KDX::TileTree3D::LinearSampler<Traits, T> plainSampler(const BenchVolume<Traits, T>& volume) {
    return {*volume.container, *volume.topology, *volume.channel};
}

template <class Traits, class T>
KDX::TileTree3D::CubicSampler<Traits, T> cubicSampler(const BenchVolume<Traits, T>& volume,
                                                      KDX::TileTree3D::InterpolationMode mode) {
    return {*volume.container, *volume.topology, *volume.channel, mode, true, 1, nullptr, 0, 0};
}

/// The value at one position.
template <class Sampler>
auto singleValue(const Sampler& sampler) {
    return [own = sampler](const Vantor::Math::float3& p) mutable {
        return own.sample(positionFor<typename Sampler::PositionType>(p), Sampler::kAnyDepth,
                          KDX::TileTree3D::kWorld);
    };
}

/// The gradient at one position.
template <class Sampler>
auto singleGradient(const Sampler& sampler) {
    return [own = sampler](const Vantor::Math::float3& p) mutable {
        typename Sampler::PositionType gradient;
        own.sampleGradient(p, Sampler::kAnyDepth, KDX::TileTree3D::kWorld, gradient);
        return gradient;
    };
}

/// The loop of sample_volume.
template <class Traits, class T, class Sampler>
void valueLoop(const BenchVolume<Traits, T>& volume, const Sampler& sampler,
               const Positions& positions, Ostrum::Array<T>& results) {
    sampleValues(sampler, positions, results, visitOrder(volume, viewOf(positions)));
}

/// The loop of sample_volume_gradient.
template <class Traits, class Sampler>
void gradientLoop(const BenchVolume<Traits, float>& volume, const Sampler& sampler,
                  const Positions& positions, Positions& results) {
    using Vantor::Math::float3;
    sampleAll<float3, float3>(
        sampler, viewOf(positions), 1, visitOrder(volume, viewOf(positions)),
        [](Sampler& own, const float3* chunk, std::size_t count, float3* gradients) {
            own.sampleGradient(chunk, count, Sampler::kAnyDepth, KDX::TileTree3D::kWorld,
                               gradients);
        },
        [&results](std::size_t i, const float3& gradient) { results[i] = gradient; });
}

/// Times a loop. It writes to memory that was touched before, and holds nothing that could pass for
/// its output.
template <class R, class Loop, class Single>
void timeLoop(benchmark::State& state, const std::string& answer, int threads,
              const Positions& positions, const Loop& loop, const Single& single) {
    Ostrum::Array<R> results(positions.size());
    const auto spoil = [&] {
        std::memset(static_cast<void*>(results.data()), 0xFF, results.size() * sizeof(R));
    };
    spoil();
    timeChecked(
        state, answer, threads,
        [&] {
            loop(results);
            return spanOf(results);
        },
        [&](std::span<const R> values) {
            const bool same = sameAsSingles(values, positions, single());
            spoil();
            return same;
        });
}

/// Times an operator as a host calls it: `call(out)` makes a new array.
template <class R, class Call, class Single>
void timeCall(benchmark::State& state, const std::string& answer, int threads,
              const Positions& positions, const Call& call, const Single& single) {
    Ostrum::Ptr<Ostrum::Array<R>> out;
    timeChecked(
        state, answer, threads,
        [&] {
            call(out);
            return spanOf(*out);
        },
        [&](std::span<const R> values) { return sameAsSingles(values, positions, single()); });
}

/// Times sample_volume with kLinear, checked against single samples of the plain channel.
template <class Traits, class T>
void timeLinearCall(benchmark::State& state, const std::string& answer, int threads,
                    const Scene& scene, const Positions& positions) {
    const auto& volume = benchVolume<Traits, T>(scene);
    timeCall<T>(
        state, answer, threads, positions,
        [&](auto& out) {
            Geometry::Query::sample_volume(volume.object, positions, T{}, kChannel,
                                           SamplerType::kLinear, out);
        },
        [&] { return singleValue(plainSampler(volume)); });
}

} // namespace Stratum::Bench
