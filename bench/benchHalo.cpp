// Building a whole halo channel, beside copying as many bytes to memory that was touched before, as
// the pool's is.
#include "sampling.h"

#include "common/parallel.h"

#include <vector>

namespace Stratum::Bench {

namespace {

template <class Traits>
void timeHalo(benchmark::State& state, const Scene& scene, int threads) {
    const auto& volume = benchVolume<Traits>(scene);
    const Threads limit(threads);
    makeHalo(volume); // so that the pool holds the memory, which the copy's was touched before too
    for (auto _ : state)
        benchmark::DoNotOptimize(makeHalo(volume));
}

// Copies in pieces that stay within a processor's second-level cache, as a parallel loop would.
void timeCopy(benchmark::State& state, std::size_t bytes, int threads) {
    constexpr std::size_t kPiece = 1 << 16;
    const std::vector<std::byte> from(bytes, std::byte{1});
    std::vector<std::byte> to(bytes);
    const Threads limit(threads);
    for (auto _ : state) {
        parallelFor((bytes + kPiece - 1) / kPiece, 1, [&](const IndexRange& range) {
            const std::size_t begin = range.begin() * kPiece;
            std::memcpy(to.data() + begin, from.data() + begin,
                        std::min(bytes, range.end() * kPiece) - begin);
        });
        benchmark::ClobberMemory();
    }
    if (to != from)
        state.SkipWithError("the copy differs");
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

template <class Traits>
std::size_t haloBytes(const Scene& scene) {
    return static_cast<std::size_t>(keptHalo<Traits>(scene).elementCount(-1)) * sizeof(float);
}

const bool registered = [] {
    for (const Scene scene : {Scene{Content::kDense}, Scene{Content::kBand}})
        forEachShape([&]<class Traits>(const std::string& shape) {
            const std::string row = join({shape, nameOf(scene)});
            addThreaded("halo/" + row, [=](benchmark::State& state, int threads) {
                timeHalo<Traits>(state, scene, threads);
            });
            addThreaded("halo-copy/" + row, [=](benchmark::State& state, int threads) {
                timeCopy(state, haloBytes<Traits>(scene), threads);
            });
        });
    addThreaded("copy", [](benchmark::State& state, int threads) {
        timeCopy(state, std::size_t{256} << 20, threads);
    });
    return true;
}();

} // namespace

} // namespace Stratum::Bench
