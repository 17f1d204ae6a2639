// The volume sizes and numbers of positions that are drawn as curves.
#pragma once

#include "benchVolumes.h"

#include <cstdlib>

namespace Stratum::Bench {

/// Whether the environment asks for the curves' benchmarks: volumes of 512^3 and their halos take
/// gigabytes.
inline bool areCurvesWanted() {
    return std::getenv("STRATUM_BENCH_CURVES") != nullptr;
}

/// Calls `work(scene, access, count)` for each point of both curves: one over volume sizes, one
/// over numbers of positions.
template <class Work>
void forEachCurvePoint(const Work& work) {
    for (const Access access : {Access::kRandom, Access::kCoherent}) {
        for (std::size_t count = 1'000; count <= 10'000'000; count *= 10)
            work(Scene{}, access, count);
        for (const int size : {64, 128, 256, 512})
            work(Scene{Content::kDense, size}, access, kPositions);
    }
}

} // namespace Stratum::Bench
