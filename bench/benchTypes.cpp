// sample_volume kLinear for every value type, so that the cost of a byte that is read can be
// compared.
#include "sampling.h"

namespace Stratum::Bench {

namespace {

using namespace Vantor::Math;

constexpr std::size_t kTypePositions = kPositions / 4; // the widest type's values take 64 bytes

template <class Traits, class T>
void addType(const std::string& type, const std::string& shape) {
    for (const Scene scene : {Scene{Content::kBand}, Scene{Content::kDense, 96}})
        for (const Access access : {Access::kRandom, Access::kCoherent}) {
            const std::string row = join({"types", type, shape, nameOf(access), nameOf(scene)});
            addThreaded(row, [=](benchmark::State& state, int threads) {
                timeLinearCall<Traits, T>(state, row, threads, scene,
                                          benchPositions(scene, access, kTypePositions));
                state.counters["bytesRead"] = 8 * sizeof(T);
            });
        }
}

const bool registered = [] {
    forEachShape([]<class Traits>(const std::string& shape) {
#define STRATUM_VALUE_TYPE(T) addType<Traits, T>(#T, shape);
#include "common/rows.def"
    });
    return true;
}();

} // namespace

} // namespace Stratum::Bench
