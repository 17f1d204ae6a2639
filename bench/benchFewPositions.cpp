// What a call with few positions in a large volume costs, and one with many, beside the same calls
// with a whole halo channel filled.
#include "peakMemory.h"
#include "sampling.h"

#include <optional>

namespace Stratum::Bench {

namespace {

template <class Traits>
void timeFew(benchmark::State& state, std::size_t count, int threads, const std::string& answer,
             bool fillWhole) {
    std::optional<EagerHalos> eager;
    if (fillWhole)
        eager.emplace();
    const auto& positions = benchPositions({}, Access::kRandom, count);
    const auto& volume = benchVolume<Traits>({});
    const double extra = extraMemory([&] {
        Ostrum::Ptr<Ostrum::Array<float>> out;
        Geometry::Query::sample_volume(volume.object, positions, 0.0F, kChannel,
                                       SamplerType::kLinear, out);
    });
    if (extra >= 0)
        state.counters["extraBytes"] = extra;
    timeLinearCall<Traits, float>(state, answer, threads, {}, positions);
}

const bool registered = [] {
    forEachShape([]<class Traits>(const std::string& shape) {
        for (const std::size_t count : {std::size_t{1'000}, std::size_t{10'000'000}})
            for (const bool fillWhole : {false, true}) {
                const std::string answer = join({"few", shape, std::to_string(count)});
                addThreaded(join({answer, fillWhole ? "filled" : "as-is"}),
                            [=](benchmark::State& state, int threads) {
                                timeFew<Traits>(state, count, threads, answer, fillWhole);
                            });
            }
    });
    return true;
}();

} // namespace

} // namespace Stratum::Bench
