// sample_volume_gradient as a whole, and its loop on a filled halo channel.
#include "sampling.h"

namespace Stratum::Bench {

namespace {

using Vantor::Math::float3;

template <class Traits>
void addShape(const std::string& shape, const Scene& scene, Access access) {
    const std::string row = join({shape, nameOf(access), nameOf(scene)});
    const std::string answer = "gradient/" + row;
    const auto single = [=] { return singleGradient(plainSampler(benchVolume<Traits>(scene))); };
    addThreaded("gradient/" + row, [=](benchmark::State& state, int threads) {
        const auto& positions = benchPositions(scene, access);
        const auto& volume = benchVolume<Traits>(scene);
        timeCall<float3>(
            state, answer, threads, positions,
            [&](auto& out) {
                Geometry::Query::sample_volume_gradient(volume.object, positions, 0.0F, kChannel,
                                                        SamplerType::kLinear, out);
            },
            single);
    });
    addThreaded("gradient-loop/" + row, [=](benchmark::State& state, int threads) {
        const auto& positions = benchPositions(scene, access);
        const auto sampler = haloSampler<Traits>(scene);
        timeLoop<float3>(
            state, answer, threads, positions,
            [&](auto& results) {
                gradientLoop(benchVolume<Traits>(scene), sampler, positions, results);
            },
            single);
    });
}

const bool registered = [] {
    for (const Scene scene : {Scene{Content::kDense}, Scene{Content::kBand}})
        for (const Access access : {Access::kRandom, Access::kCoherent})
            forEachShape([&]<class Traits>(const std::string& shape) {
                addShape<Traits>(shape, scene, access);
            });
    return true;
}();

} // namespace

} // namespace Stratum::Bench
