// sample_volume with the cubic samplers as a whole, and the loop with those modes of the samplers
// that it does not offer.
#include "sampling.h"

namespace Stratum::Bench {

namespace {

using KDX::TileTree3D::InterpolationMode;

std::string rowOf(InterpolationMode mode, const std::string& shape, const Scene& scene,
                  Access access) {
    return join({"cubic", modeName(mode), shape, nameOf(access), nameOf(scene)});
}

template <class Traits>
void addCall(const std::string& shape, const Scene& scene, Access access, SamplerType type,
             InterpolationMode mode) {
    const std::string row = rowOf(mode, shape, scene, access);
    addThreaded(row, [=](benchmark::State& state, int threads) {
        const auto& positions = benchPositions(scene, access);
        const auto& volume = benchVolume<Traits>(scene);
        timeCall<float>(
            state, row, threads, positions,
            [&](auto& out) {
                Geometry::Query::sample_volume(volume.object, positions, 0.0F, kChannel, type, out);
            },
            [&] { return singleValue(cubicSampler(volume, mode)); });
    });
}

template <class Traits>
void addLoop(const std::string& shape, const Scene& scene, Access access, InterpolationMode mode) {
    const std::string row = rowOf(mode, shape, scene, access);
    add(row + "/threads/1", [=](benchmark::State& state) {
        const auto& positions = benchPositions(scene, access);
        const auto& volume = benchVolume<Traits>(scene);
        const auto sampler = cubicSampler(volume, mode);
        timeLoop<float>(
            state, row, 1, positions,
            [&](auto& results) {
                valueLoop(volume, sampler, positions, OrderFrom::kAlways, results);
            },
            [&] { return singleValue(sampler); });
    });
}

template <class Traits>
void addShape(const std::string& shape, Access access) {
    for (const Scene scene : {Scene{Content::kDense}, Scene{Content::kBand}}) {
        addCall<Traits>(shape, scene, access, SamplerType::kCubicC0, InterpolationMode::kCubicC0);
        addCall<Traits>(shape, scene, access, SamplerType::kCubicC1, InterpolationMode::kCubicC1);
    }
    for (const auto mode :
         {InterpolationMode::kQuadraticC0Averaged, InterpolationMode::kCubicC1Monotonic})
        addLoop<Traits>(shape, {}, access, mode);
}

const bool registered = [] {
    for (const Access access : {Access::kRandom, Access::kCoherent})
        forEachShape(
            [&]<class Traits>(const std::string& shape) { addShape<Traits>(shape, access); });
    return true;
}();

} // namespace

} // namespace Stratum::Bench
