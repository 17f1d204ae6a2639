// A peer: OpenVDB's BoxSampler, trilinear as ours, and the gradient of its box stencil.
#include "curves.h"
#include "peerGrids.h"
#include "peerTiming.h"

#include <openvdb/math/Stencils.h>
#include <openvdb/tools/Interpolation.h>

namespace Stratum::Bench {

namespace {

using Vantor::Math::float3;

void timeBox(benchmark::State& state, const std::string& answer, int threads,
             const PeerTask& task) {
    const auto& grid = openGrid(task.scene);
    timePeer<float>(
        state, answer, threads, task,
        [&grid](const IndexRange& range, const Positions& positions, std::vector<float>& results) {
            const auto accessor = grid.getConstAccessor();
            for (std::size_t i = range.begin(); i < range.end(); ++i) {
                const float3& p = positions[i];
                const openvdb::Vec3R index(p.x, p.y, p.z);
                openvdb::tools::BoxSampler::sample(accessor, index, results[i]);
            }
        },
        [&] { return ourValues(task, SamplerType::kLinear); });
}

void timeStencil(benchmark::State& state, const std::string& answer, int threads,
                 const PeerTask& task) {
    const auto& grid = openGrid(task.scene);
    timePeer<float3>(
        state, answer, threads, task,
        [&grid](const IndexRange& range, const Positions& positions, std::vector<float3>& results) {
            openvdb::math::BoxStencil<openvdb::FloatGrid> stencil(grid);
            for (std::size_t i = range.begin(); i < range.end(); ++i) {
                const float3& p = positions[i];
                const openvdb::Vec3f index(p.x, p.y, p.z);
                stencil.moveTo(index);
                const auto gradient = stencil.gradient(index);
                results[i] = {gradient.x(), gradient.y(), gradient.z()};
            }
        },
        [&] { return ourGradients(task); });
}

const bool registered = [] {
    for (const Scene scene : {Scene{Content::kDense}, Scene{Content::kBand}})
        for (const Access access : {Access::kRandom, Access::kCoherent}) {
            const std::string row = join({nameOf(access), nameOf(scene)});
            const std::string box = "peer/box/" + row, stencil = "peer/stencil/" + row;
            const PeerTask task{scene, access};
            addThreaded(box, [=](auto& state, int threads) { timeBox(state, box, threads, task); });
            addThreaded(stencil, [=](auto& state, int threads) {
                timeStencil(state, stencil, threads, task);
            });
        }
    if (areCurvesWanted())
        forEachCurvePoint([](const Scene& scene, Access access, std::size_t count) {
            const std::string row = join(
                {"curve/box", nameOf(access), std::to_string(scene.size), std::to_string(count)});
            add(row, [=](auto& state) { timeBox(state, row, 1, {scene, access, count}); });
        });
    return true;
}();

} // namespace

} // namespace Stratum::Bench
