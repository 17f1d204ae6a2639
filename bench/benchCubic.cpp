// The loop of sample_volume with the cubic samplers: every mode, several value types.
#include "benchVolumes.h"

#include "KDX/ChannelBuilder.h"
#include "ops/cubicSampling.h"

#include <benchmark/benchmark.h>
#include <oneapi/tbb/global_control.h>

#include <map>

namespace Stratum::Bench {

namespace {

using namespace KDX::TileTree3D;
using namespace Vantor::Math;

// A channel of type T on the tree of a benchmark volume, built once and kept.
template <class Traits, class T>
const auto& channelOf(Content content) {
    using Plain = Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>;
    static std::map<Content, Ostrum::Ptr<Plain>> channels;
    auto& channel = channels[content];
    if (!channel) {
        ChannelBuilder<Traits, T> values(benchVolume<Traits>(content).container->tree(), kChannel,
                                         T{});
        values.fill([](const double3& p, int) {
            return splat<T>(static_cast<ScalarOf<T>>(fieldValue(p.x, p.y, p.z)));
        });
        channel = values.finish();
    }
    return channel;
}

template <class Traits, class T>
void cubicLoop(benchmark::State& state, InterpolationMode mode, Content content, Access access,
               int threads) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                                    static_cast<std::size_t>(threads));
    const auto& volume = benchVolume<Traits>(content);
    const auto& positions = benchPositions(content, access);
    const VolumeParts<Traits, T> parts{volume.container, volume.topology,
                                       channelOf<Traits, T>(content)};
    const CubicSampler<Traits, T> sampler(*parts.container, *parts.topology, *parts.channel, mode,
                                          true, 1, nullptr, 0, 0);
    Ostrum::Array<T> results(positions.size());
    for (auto _ : state)
        sampleValues(sampler, positions, results, visitOrder(parts, viewOf(positions)));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPositions));
}

template <class Traits, class T>
void add(const std::string& shape, const std::string& type, Content content) {
    for (std::uint32_t m = 0; m < 4; ++m)
        for (const Access access : {Access::kRandom, Access::kCoherent})
            for (const int threads : {1, 2}) {
                const auto mode = static_cast<InterpolationMode>(m);
                benchmark::RegisterBenchmark(
                    join({"cubic", modeName(mode), type, shape, nameOf(access), nameOf(content),
                          "threads", std::to_string(threads)})
                        .c_str(),
                    [=](benchmark::State& state) {
                        cubicLoop<Traits, T>(state, mode, content, access, threads);
                    })
                    ->Unit(benchmark::kMillisecond)
                    ->UseRealTime();
            }
}

const bool registered = [] {
    using Two = Traits<2, 4, 1>;
    using Five = Traits<5, 5, 1>;
    add<Two, float>("2-4", "float", Content::kDense);
    add<Five, float>("5-5", "float", Content::kDense);
    add<Two, float>("2-4", "float", Content::kBand);
    add<Two, double>("2-4", "double", Content::kBand);
    add<Two, float3>("2-4", "float3", Content::kBand);
    add<Two, float4x4>("2-4", "float4x4", Content::kBand);
    add<Two, double3>("2-4", "double3", Content::kBand);
    add<Two, float2>("2-4", "float2", Content::kBand);
    add<Two, float4>("2-4", "float4", Content::kBand);
    add<Two, float3x3>("2-4", "float3x3", Content::kBand);
    add<Two, float4x2>("2-4", "float4x2", Content::kBand);
    return true;
}();

} // namespace

} // namespace Stratum::Bench
