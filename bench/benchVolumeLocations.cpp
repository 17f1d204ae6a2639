// Scattering inside volumes and sampling at the locations, beside OpenVDB's point scatterers and
// its BoxSampler on the same voxels. The environment variable STRATUM_BENCH_VDB names a file whose
// first grid of floats is timed too.
#include "benchGeometry.h"
#include "sampling.h"

#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "Vantor/Volume.h"
#include "common/parallel.h"
#include "locations/collectCells.h"
#include "locations/extendedChannel.h"
#include "locations/generateSampleLocations.h"
#include "ops/sample_volume_property.h"

#include <openvdb/openvdb.h>
#include <openvdb/tools/Interpolation.h>
#include <openvdb/tools/LevelSetSphere.h>
#include <openvdb/tools/PointScatter.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <vector>

namespace Stratum::Bench {

namespace {

using namespace KDX::TileTree3D;
using Locations = Ostrum::Array<Vantor::Geometry::Common::GeoLocation>;
using Shape = Traits<2, 4, 1>;

// A ball of density, the inner half of a sphere's band in a cube of 512 voxels, or a file. Active
// are the voxels that ours scatters in.
openvdb::FloatGrid::Ptr makeGrid(const std::string& name) {
    if (name == "file") {
        openvdb::initialize();
        openvdb::io::File file(std::getenv("STRATUM_BENCH_VDB"));
        file.open(false); // all at once, since what is read later would be timed
        const auto grids = file.getGrids();
        for (const auto& grid : *grids)
            if (auto floats = openvdb::gridPtrCast<openvdb::FloatGrid>(grid))
                return floats;
        throw std::runtime_error("there is no grid of floats");
    }
    if (name == "fog") {
        auto grid = openvdb::tools::createLevelSetSphere<openvdb::FloatGrid>(75, {}, 1, 80);
        for (auto value = grid->beginValueOn(); value; ++value)
            value.setValue(std::max(0.0F, -*value));
        return grid;
    }
    return openvdb::tools::createLevelSetSphere<openvdb::FloatGrid>(250, {}, 1, 3);
}

struct Case {
    std::string name;
    openvdb::FloatGrid::Ptr grid;
    Vantor::Object object;
    Ostrum::Ptr<Container<Shape>> container;
    Ostrum::Ptr<VoxelTopology<Shape>> topology;
    Ostrum::Ptr<Channel<Shape, float, 4, 0, 0>> channel;
    std::size_t candidates = 0;
    VantorExp::Geometry::SampleType type{};
    Ostrum::String property;
    double offset = 0.5; ///< of samples in their voxels
};

// The tree that both libraries' active voxels need, with samples where the peer has them.
Ostrum::Ptr<const TileTree<Shape>> makeTree(const openvdb::FloatGrid& grid, VoxelOffsetType type) {
    TreeBuilder<Shape> tiles;
    for (auto value = grid.cbeginValueOn(); value; ++value) {
        const auto at = value.getCoord();
        tiles.addTile(28, {at.x(), at.y(), at.z()});
    }
    return tiles.build(static_cast<float>(grid.voxelSize()[0]), type);
}

Case makeCase(const std::string& name, VoxelOffsetType type) {
    Case made;
    made.name = name + (type == VoxelOffsetType::kCorner ? "/corners" : "/centres");
    made.grid = makeGrid(name);
    made.offset = double{voxelOffset(type).x};
    const bool distance = name == "level-set";
    made.type = VantorExp::Geometry::SampleType(distance ? 0 : 1);
    made.property =
        distance ? Vantor::Geometry::sVoxelSignedDistance : Vantor::Geometry::sVoxelFogDensity;
    const auto tree = makeTree(*made.grid, type);
    Vantor::Geometry::addTree<Shape>(made.object, tree);
    made.container = Ostrum::makePtr<Container<Shape>>(tree);
    made.topology = Ostrum::makePtr<VoxelTopology<Shape>>(tree);
    const float outside = distance ? made.grid->background() : 0;
    ChannelBuilder<Shape, float> builder(tree, made.property, outside);
    // Without an accessor, which may not be shared between threads.
    builder.fill([&peer = made.grid->tree(), outside](const double3& p, int) {
        const auto index = [](double v) { return static_cast<int>(std::floor(v)); };
        float value = 0;
        return peer.probeValue({index(p.x), index(p.y), index(p.z)}, value) ? value : outside;
    });
    made.channel = builder.finish();
    Vantor::Geometry::addChannel(made.object, made.channel);
    for (auto value = made.grid->beginValueOn(); value; ++value) {
        const bool inside = distance ? *value <= 0 : *value > 0;
        made.candidates += inside;
        value.setActiveState(inside);
    }
    return made;
}

const Case& benchCase(const std::string& name, VoxelOffsetType type) {
    static std::map<std::pair<std::string, VoxelOffsetType>, Case> cases;
    const auto key = std::pair(name, type);
    const auto found = cases.find(key);
    return found != cases.end() ? found->second
                                : cases.emplace(key, makeCase(name, type)).first->second;
}

Locations scattered(const Case& volume) {
    Vantor::Sample::GenerateLocationOptions options;
    options.sample_type = volume.type;
    options.amount = kLocations;
    options.amount_type = VantorExp::Geometry::AmountType::Count;
    options.seed = 1;
    Locations locations;
    Vantor::Sample::generateSampleLocations(volume.object, options, locations, nullptr);
    return locations;
}

void scatterOurs(benchmark::State& state, const Case& volume, int threads) {
    const Threads limit(threads);
    for (auto _ : state) {
        const Locations locations = scattered(volume);
        benchmark::DoNotOptimize(locations.data());
        if (locations.size() != kLocations)
            state.SkipWithError("locations are missing");
    }
    using namespace Vantor::Sample;
    const auto rule = volume.type == VantorExp::Geometry::SampleType::Surface ? CellRule::kDistance
                                                                              : CellRule::kDensity;
    const CandidateCells<Shape> cells(
        collectCells(*volume.container, *volume.channel,
                     static_cast<const Channel<Shape, float, 5, 0, 0>*>(nullptr), rule),
        volume.channel->depth());
    if (volume.offset > 0 && cells.total() != volume.candidates)
        state.SkipWithError("the libraries disagree on the cells");
    state.counters["bytesPerLeafVoxel"] =
        double(cells.memoryUsage()) / double(volume.container->voxelDataCount(-1));
}

struct Points {
    std::vector<Vantor::Math::float3> values;
    void add(const openvdb::Vec3R& p) {
        values.push_back({float(p.x()), float(p.y()), float(p.z())});
    }
};

template <class Scatter, class... Arguments>
void scatterPeer(benchmark::State& state, const Case& volume, const Arguments&... arguments) {
    for (auto _ : state) {
        Points points;
        points.values.reserve(kLocations);
        std::mt19937 random(1);
        Scatter scatter(points, arguments..., random);
        scatter(*volume.grid);
        benchmark::DoNotOptimize(points.values.data());
        if (points.values.size() < kLocations / 10 * 9)
            state.SkipWithError("points are missing");
    }
}

Positions positionsOf(const Locations& locations) {
    Positions positions(locations.size());
    for (std::size_t i = 0; i < positions.size(); ++i)
        positions[i] = {locations[i].weights[0], locations[i].weights[1], locations[i].weights[2]};
    return positions;
}

void propertyOurs(benchmark::State& state, const Case& volume, int threads) {
    const Locations locations = scattered(volume);
    Ostrum::Ptr<Ostrum::Array<float>> values;
    Ostrum::Ptr<Ostrum::Array<bool>> valid;
    timeChecked(
        state, "property/" + volume.name, threads,
        [&] {
            Geometry::Internal::sample_volume_property(volume.object, locations, volume.property,
                                                       volume.channel->defaultValue(), {}, values,
                                                       valid);
            return spanOf(*values);
        },
        [&](std::span<const float> found) {
            const LinearSampler<Shape, float> plain(*volume.container, *volume.topology,
                                                    *volume.channel);
            return sameAsSingles(found, positionsOf(locations), singleValue(plain));
        });
}

// A sample of ours is an index of the peer.
void propertyPeer(benchmark::State& state, const Case& volume, int threads) {
    const Locations locations = scattered(volume);
    const Threads limit(threads);
    const double toIndex = 1 / volume.grid->voxelSize()[0];
    for (auto _ : state) {
        std::vector<float> values(locations.size());
        parallelFor(locations.size(), 1000, [&](const IndexRange& range) {
            const auto accessor = volume.grid->getConstAccessor();
            for (std::size_t i = range.begin(); i < range.end(); ++i) {
                const auto& p = locations[i].weights;
                const openvdb::Vec3R index(p[0] * toIndex - volume.offset,
                                           p[1] * toIndex - volume.offset,
                                           p[2] * toIndex - volume.offset);
                openvdb::tools::BoxSampler::sample(accessor, index, values[i]);
            }
        });
        benchmark::DoNotOptimize(values.data());
    }
}

void addRow(const std::string& what, const std::string& volume, VoxelOffsetType type, int threads,
            const std::function<void(benchmark::State&, const Case&, int)>& run) {
    const std::string samples = type == VoxelOffsetType::kCorner ? "corners" : "centres";
    add(join({"volume-locations", what, volume, samples, "threads", std::to_string(threads)}),
        [=](benchmark::State& state) {
            run(state, benchCase(volume, type), threads);
            state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kLocations));
        });
}

const bool registered = [] {
    std::vector<std::string> volumes{"fog", "level-set"};
    if (std::getenv("STRATUM_BENCH_VDB"))
        volumes.emplace_back("file");
    for (const std::string& volume : volumes) {
        using Random = std::mt19937;
        constexpr auto kCentre = VoxelOffsetType::kCellCentre;
        addRow("uniform-scatter", volume, kCentre, 1, [](auto& state, const Case& c, int) {
            scatterPeer<openvdb::tools::UniformPointScatter<Points, Random>>(
                state, c, openvdb::Index64{kLocations});
        });
        addRow("dense-scatter", volume, kCentre, 1, [](auto& state, const Case& c, int) {
            scatterPeer<openvdb::tools::DenseUniformPointScatter<Points, Random>>(
                state, c, float(double{kLocations} / double(c.candidates)));
        });
        for (const auto type : {kCentre, VoxelOffsetType::kCorner})
            for (const int threads : {1, 2}) {
                addRow("scatter", volume, type, threads, scatterOurs);
                addRow("box-sampler", volume, type, threads, propertyPeer);
                addRow("property", volume, type, threads, propertyOurs);
            }
    }
    return true;
}();

} // namespace

} // namespace Stratum::Bench
