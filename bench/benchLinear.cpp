// sample_volume kLinear as a whole, and its loop alone: on a filled halo channel and without one.
#include "curves.h"
#include "sampling.h"

namespace Stratum::Bench {

namespace {

template <class Traits>
void timeLinearLoop(benchmark::State& state, const std::string& answer, int threads,
                    const Scene& scene, const Positions& positions, bool onHalo) {
    const auto& volume = benchVolume<Traits>(scene);
    const auto plain = plainSampler(volume);
    const auto sampler = onHalo ? haloSampler<Traits>(scene) : plain;
    timeLoop<float>(
        state, answer, threads, positions,
        [&](auto& results) { valueLoop(volume, sampler, positions, results); },
        [&] { return singleValue(plain); });
}

template <class Traits>
void addShape(const std::string& shape, const Scene& scene, Access access) {
    const std::string row = join({shape, nameOf(access), nameOf(scene)});
    const std::string answer = "linear/" + row;
    addThreaded("operator/" + row, [=](benchmark::State& state, int threads) {
        timeLinearCall<Traits, float>(state, answer, threads, scene, benchPositions(scene, access));
    });
    addThreaded("loop-halo/" + row, [=](benchmark::State& state, int threads) {
        timeLinearLoop<Traits>(state, answer, threads, scene, benchPositions(scene, access), true);
    });
    add(join({"loop-plain", row, "threads/1"}), [=](benchmark::State& state) {
        timeLinearLoop<Traits>(state, answer, 1, scene, benchPositions(scene, access), false);
    });
}

void addCurves() {
    using Traits = KDX::TileTree3D::Traits<2, 4, 1>;
    forEachCurvePoint([](const Scene& scene, Access access, std::size_t count) {
        const std::string row =
            join({nameOf(access), std::to_string(scene.size), std::to_string(count)});
        const std::string answer = "curve/" + row;
        add("curve/operator/" + row, [=](benchmark::State& state) {
            timeLinearCall<Traits, float>(state, answer, 1, scene,
                                          benchPositions(scene, access, count));
        });
        add("curve/loop-halo/" + row, [=](benchmark::State& state) {
            timeLinearLoop<Traits>(state, answer, 1, scene, benchPositions(scene, access, count),
                                   true);
        });
    });
}

const bool registered = [] {
    for (const Scene scene : {Scene{Content::kDense}, Scene{Content::kBand}})
        for (const Access access : {Access::kRandom, Access::kCoherent})
            forEachShape([&]<class Traits>(const std::string& shape) {
                addShape<Traits>(shape, scene, access);
            });
    if (areCurvesWanted())
        addCurves();
    return true;
}();

} // namespace

} // namespace Stratum::Bench
