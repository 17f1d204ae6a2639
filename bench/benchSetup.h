// What every benchmark needs: its name, its number of threads, its place in the list.
#pragma once

#include "KDX/Traits.h"

#include <benchmark/benchmark.h>
#include <oneapi/tbb/global_control.h>

#include <functional>
#include <initializer_list>
#include <string>

namespace Stratum::Bench {

/// The number of threads for the time of one benchmark.
class Threads {
public:
    explicit Threads(int count)
        : control_(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(count)) {}

private:
    tbb::global_control control_;
};

/// The parts of a benchmark's name, joined by slashes.
inline std::string join(std::initializer_list<std::string> parts) {
    std::string joined;
    for (const std::string& part : parts)
        joined.append(joined.empty() ? 0 : 1, '/').append(part);
    return joined;
}

inline void add(const std::string& name, const std::function<void(benchmark::State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond)->UseRealTime();
}

/// The same for one and for two threads; `run(state, threads)`.
inline void addThreaded(const std::string& name,
                        const std::function<void(benchmark::State&, int)>& run) {
    for (const int threads : {1, 2})
        add(join({name, "threads", std::to_string(threads)}),
            [=](benchmark::State& state) { run(state, threads); });
}

/// Calls `work.operator()<Traits>(name)` for each tree shape.
template <class Work>
void forEachShape(const Work& work) {
#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    work.template operator()<KDX::TileTree3D::Traits<B, W, 1>>(#B "-" #W);
#include "common/rows.def"
}

} // namespace Stratum::Bench
