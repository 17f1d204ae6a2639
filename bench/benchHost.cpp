// The in-memory host: finding tiles at various depths, and building a volume.
#include "benchSetup.h"
#include "benchVolumes.h"

#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "common/randomUnit.h"

namespace Stratum::Bench {

namespace {

using namespace KDX::TileTree3D;

// A cube of 64^3 tiles that ends at the given depth, searched at random with the finest limit.
template <class Traits>
void findTile(benchmark::State& state, int depth) {
    const int extent = Traits::tileExtent(depth), tiles = 64;
    TreeBuilder<Traits> builder;
    const int last = extent * tiles - 1;
    builder.addBox(depth, {{0, 0, 0}, {last, last, last}});
    const auto tree = builder.build(1.0F, VoxelOffsetType::kCorner);
    const Container<Traits> container(tree);
    std::vector<int3> places(1 << 16);
    for (std::size_t i = 0; i < places.size(); ++i) {
        const auto draw = [i, last](std::uint64_t axis) {
            return static_cast<int>(Vantor::Sample::randomUnit<double>(3 * i + axis, 3) * last);
        };
        places[i] = {draw(0), draw(1), draw(2)};
    }
    auto accessor = container.tileAccessor();
    std::size_t next = 0;
    int carry = 0; // makes each search wait for the one before it
    for (auto _ : state) {
        const int3& p = places[next++ & (places.size() - 1)];
        const auto found = accessor.tileImpl({p.x + carry, p.y, p.z}, Traits::kFinestDepth);
        carry = found.depth() == depth ? 0 : 1;
    }
    benchmark::DoNotOptimize(carry);
}

template <class Traits>
void buildVolume(benchmark::State& state) {
    for (auto _ : state) {
        TreeBuilder<Traits> tiles;
        tiles.addBox(Traits::kFinestDepth, {{0, 0, 0}, {kSize - 1, kSize - 1, kSize - 1}});
        const auto tree = tiles.build(1.0F, VoxelOffsetType::kCorner);
        ChannelBuilder<Traits, float> values(tree, kChannel, 0.0F);
        values.fill([](const double3& p, int) { return static_cast<float>(p.x + p.y * p.z); });
        const auto channel = values.finish();
        state.counters["MiB"] =
            static_cast<double>(tree->memoryUsage() + channel->memoryUsage()) / (1 << 20);
    }
}

const bool registered = [] {
    using Two = Traits<2, 4, 1>;
    using Five = Traits<5, 5, 1>;
    const auto addDepth = [](const char* shape, int depth, auto find) {
        benchmark::RegisterBenchmark(join({"find-tile", shape, std::to_string(depth)}).c_str(),
                                     [=](benchmark::State& state) { find(state, depth); });
    };
    for (const int depth : {28, 20, 10})
        addDepth("2-4", depth, findTile<Two>);
    for (const int depth : {12, 6})
        addDepth("5-5", depth, findTile<Five>);
    add("build/2-4", buildVolume<Two>);
    add("build/5-5", buildVolume<Five>);
    return true;
}();

} // namespace

} // namespace Stratum::Bench
