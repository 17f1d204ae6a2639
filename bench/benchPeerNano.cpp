// A peer: NanoVDB's samplers of order 1 (trilinear, with its gradient) and 3 (tricubic).
#include "curves.h"
#include "peerGrids.h"
#include "peerTiming.h"

#include <nanovdb/util/OpenToNanoVDB.h>
#include <nanovdb/util/SampleFromVoxels.h>

#include <map>

namespace Stratum::Bench {

namespace {

using Vantor::Math::float3;

const nanovdb::FloatGrid& nanoGrid(const Scene& scene) {
    static std::map<Scene, nanovdb::GridHandle<>> handles;
    auto& handle = handles[scene];
    if (!handle)
        handle = nanovdb::openToNanoVDB(openGrid(scene));
    return *handle.grid<float>();
}

template <int order>
void timeValues(benchmark::State& state, const std::string& answer, int threads,
                const PeerTask& task, SamplerType ours) {
    const auto& grid = nanoGrid(task.scene);
    timePeer<float>(
        state, answer, threads, task,
        [&grid](const IndexRange& range, const Positions& positions, std::vector<float>& results) {
            const auto accessor = grid.getAccessor();
            const auto sampler = nanovdb::createSampler<order>(accessor);
            for (std::size_t i = range.begin(); i < range.end(); ++i) {
                const float3& p = positions[i];
                results[i] = sampler(nanovdb::Vec3f(p.x, p.y, p.z));
            }
        },
        [&] { return ourValues(task, ours); });
}

void timeGradients(benchmark::State& state, const std::string& answer, int threads,
                   const PeerTask& task) {
    const auto& grid = nanoGrid(task.scene);
    timePeer<float3>(
        state, answer, threads, task,
        [&grid](const IndexRange& range, const Positions& positions, std::vector<float3>& results) {
            const auto accessor = grid.getAccessor();
            const auto sampler = nanovdb::createSampler<1>(accessor);
            for (std::size_t i = range.begin(); i < range.end(); ++i) {
                const float3& p = positions[i];
                const auto gradient = sampler.gradient(nanovdb::Vec3f(p.x, p.y, p.z));
                results[i] = {gradient[0], gradient[1], gradient[2]};
            }
        },
        [&] { return ourGradients(task); });
}

void addLinear(const Scene& scene, Access access) {
    const std::string row = join({nameOf(access), nameOf(scene)});
    const std::string values = "peer/nano-1/" + row, gradients = "peer/nano-gradient/" + row;
    const PeerTask task{scene, access};
    addThreaded(values, [=](auto& state, int threads) {
        timeValues<1>(state, values, threads, task, SamplerType::kLinear);
    });
    addThreaded(gradients,
                [=](auto& state, int threads) { timeGradients(state, gradients, threads, task); });
}

// Tricubic on the dense volume only: the band ends where a stencil still reads, and both libraries
// end it differently, voxel by voxel and tile by tile. Both interpolate a smooth field with four
// points an axis: they differ by what their polynomials differ, far less than by a voxel. A quarter
// of the positions will do, at some thousand nanoseconds each.
void addCubic(Access access) {
    const std::string row = join({"peer/nano-3", nameOf(access), nameOf(Scene{})});
    const PeerTask task{{}, access, kPositions / 4, 0.01F};
    addThreaded(row, [=](auto& state, int threads) {
        timeValues<3>(state, row, threads, task, SamplerType::kCubicC1);
    });
}

const bool registered = [] {
    for (const Access access : {Access::kRandom, Access::kCoherent}) {
        addLinear({Content::kDense}, access);
        addLinear({Content::kBand}, access);
        addCubic(access);
    }
    if (areCurvesWanted())
        forEachCurvePoint([](const Scene& scene, Access access, std::size_t count) {
            const std::string row = join({"curve/nano-1", nameOf(access),
                                          std::to_string(scene.size), std::to_string(count)});
            add(row, [=](auto& state) {
                timeValues<1>(state, row, 1, {scene, access, count}, SamplerType::kLinear);
            });
        });
    return true;
}();

} // namespace

} // namespace Stratum::Bench
