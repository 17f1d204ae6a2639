// sample_volume kLinear as a whole, and its parts: building the halo, the loop alone.
#include "benchVolumes.h"

#include "ops/linearSampling.h"
#include "ops/sample_volume.h"

#include <benchmark/benchmark.h>
#include <oneapi/tbb/global_control.h>

namespace Stratum::Bench {

namespace {

using namespace KDX::TileTree3D;

/// The number of threads for the time of one benchmark.
class Threads {
public:
    explicit Threads(int count)
        : control_(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(count)) {}

private:
    tbb::global_control control_;
};

void countSamples(benchmark::State& state) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPositions));
}

template <class Traits>
auto makeHalo(const BenchVolume<Traits>& volume) {
    auto halo = createHaloChannel<Traits, float>(*volume.topology, 0.0F,
                                                 {.finestDepth = Traits::kFinestDepth});
    computeHalo<Traits, float, 0, 0, 1, 0>(*volume.channel, *volume.container, *halo, -1, -1);
    return halo;
}

template <class Traits>
void operatorWithHalo(benchmark::State& state, Content content, Access access, int threads) {
    const Threads limit(threads);
    const auto& volume = benchVolume<Traits>(content);
    const auto& positions = benchPositions(content, access);
    Ostrum::Ptr<Ostrum::Array<float>> out;
    for (auto _ : state)
        Geometry::Query::sample_volume(volume.object, positions, 0.0F, kChannel,
                                       Geometry::Query::SamplerType::kLinear, out);
    countSamples(state);
}

template <class Traits, class Sampler>
void loopAlone(benchmark::State& state, const Sampler& sampler, Content content, Access access,
               int threads) {
    const Threads limit(threads);
    const auto& volume = benchVolume<Traits>(content);
    const VolumeParts<Traits, float> parts{volume.container, volume.topology, volume.channel};
    const auto& positions = benchPositions(content, access);
    Ostrum::Array<float> results(positions.size());
    for (auto _ : state)
        sampleValues(sampler, positions, results, visitOrder(parts, viewOf(positions)));
    countSamples(state);
}

template <class Traits>
void registerShape(const std::string& shape, Content content, int threads) {
    const std::string end = join({nameOf(content), "threads", std::to_string(threads)});
    benchmark::RegisterBenchmark(join({"halo", shape, end}).c_str(),
                                 [=](benchmark::State& state) {
                                     const Threads limit(threads);
                                     const auto& volume = benchVolume<Traits>(content);
                                     for (auto _ : state)
                                         benchmark::DoNotOptimize(makeHalo(volume));
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();

    for (const Access access : {Access::kRandom, Access::kCoherent}) {
        const std::string row = join({shape, nameOf(access), end});
        const auto add = [&](const std::string& name, auto run) {
            benchmark::RegisterBenchmark(join({name, row}).c_str(), run)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        };
        add("operator", [=](benchmark::State& state) {
            operatorWithHalo<Traits>(state, content, access, threads);
        });
        add("loop-halo", [=](benchmark::State& state) {
            const auto& volume = benchVolume<Traits>(content);
            const auto halo = makeHalo(volume);
            const LinearSampler<Traits, float> sampler(*volume.container, *volume.topology, *halo);
            loopAlone<Traits>(state, sampler, content, access, threads);
        });
        add("loop-plain", [=](benchmark::State& state) {
            const auto& volume = benchVolume<Traits>(content);
            const LinearSampler<Traits, float> sampler(*volume.container, *volume.topology,
                                                       *volume.channel);
            loopAlone<Traits>(state, sampler, content, access, threads);
        });
    }
}

const bool registered = [] {
    for (const Content content : {Content::kDense, Content::kBand})
        for (const int threads : {1, 2}) {
            registerShape<Traits<2, 4, 1>>("2-4", content, threads);
            registerShape<Traits<5, 5, 1>>("5-5", content, threads);
        }
    return true;
}();

} // namespace

} // namespace Stratum::Bench
