// Scattering locations, beside what it costs to write the records once and beside the loop
// that anybody would write first.
#include "benchGeometry.h"
#include "benchSetup.h"

#include "common/parallel.h"
#include "locations/generateSampleLocations.h"

#include <random>
#include <vector>

namespace Stratum::Bench {

namespace {

using Vantor::Geometry::Common::GeoLocation;
using Vantor::Sample::GenerateLocationOptions;
using namespace VantorExp::Geometry;
using Locations = Ostrum::Array<GeoLocation>;

void count(benchmark::State& state) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kLocations));
}

GenerateLocationOptions byCount(std::size_t n) {
    GenerateLocationOptions options;
    options.amount = static_cast<double>(n);
    options.amount_type = AmountType::Count;
    options.seed = 1;
    return options;
}

void scatter(benchmark::State& state, const Vantor::Object& object,
             const GenerateLocationOptions& options, int threads) {
    const Threads limit(threads);
    for (auto _ : state) {
        Locations locations;
        Vantor::Sample::generateSampleLocations(object, options, locations, nullptr);
        benchmark::DoNotOptimize(locations.data());
        if (locations.size() < kLocations / 10 * 9)
            state.SkipWithError("locations are missing");
    }
    count(state);
}

// Fresh records, all written once.
void writeRecords(benchmark::State& state) {
    for (auto _ : state) {
        Locations locations;
        locations.reserve(kLocations);
        GeoLocation location;
        for (std::size_t i = 0; i < kLocations; ++i) {
            location.element = static_cast<std::uint32_t>(i);
            locations.push_back(location);
        }
        benchmark::DoNotOptimize(locations.data());
    }
    count(state);
}

// What the memory allows: a copy of as many records.
void copyRecords(benchmark::State& state, int threads) {
    const Threads limit(threads);
    const Locations from(kLocations);
    for (auto _ : state) {
        Locations to(kLocations);
        parallelFor(kLocations, 1000, [&](const IndexRange& range) {
            std::copy(&from[range.begin()], &from[range.begin()] + (range.end() - range.begin()),
                      &to[range.begin()]);
        });
        benchmark::DoNotOptimize(to.data());
    }
    count(state);
}

// Positions only, the standard library alone.
void plainLoop(benchmark::State& state, const BenchMesh& mesh) {
    for (auto _ : state) {
        std::vector<double> areas;
        for (const auto& triangle : mesh.triangles)
            areas.push_back(double(mesh.area(triangle)));
        std::discrete_distribution<std::size_t> pick(areas.begin(), areas.end());
        std::mt19937 twister(1);
        std::uniform_real_distribution<float> unit;
        std::vector<GeoLocation> out;
        out.reserve(kLocations);
        for (std::size_t i = 0; i < kLocations; ++i) {
            GeoLocation location;
            location.kind = 3;
            location.element = static_cast<std::uint32_t>(pick(twister));
            float a = unit(twister), b = unit(twister);
            if (a + b > 1) {
                a = 1 - a;
                b = 1 - b;
            }
            location.weights = {a, b, 1 - a - b, 0};
            out.push_back(location);
        }
        benchmark::DoNotOptimize(out.data());
    }
    count(state);
}

void addMesh(bool unequal) {
    const std::string mesh = unequal ? "unequal" : "equal";
    add("locations/mesh-count/" + mesh,
        [=](auto& state) { scatter(state, benchMesh(unequal).object, byCount(kLocations), 1); });
    add("locations/mesh-density/" + mesh, [=](auto& state) {
        auto options = byCount(kLocations);
        options.amount_type = AmountType::Density;
        options.amount /= benchMesh(unequal).totalArea;
        scatter(state, benchMesh(unequal).object, options, 1);
    });
    add("locations/plain-loop/" + mesh, [=](auto& state) { plainLoop(state, benchMesh(unequal)); });
}

const bool registered = [] {
    add("locations/write-records", writeRecords);
    addMesh(false);
    addMesh(true);
    addThreaded("locations/strands", [](auto& state, int threads) {
        scatter(state, benchStrands(), byCount(kLocations), threads);
    });
    addThreaded("locations/points", [](auto& state, int threads) {
        auto options = byCount(kLocations);
        options.sample_type = SampleType::Points;
        scatter(state, benchMesh(false).object, options, threads);
    });
    addThreaded("locations/copy-records", copyRecords);
    return true;
}();

} // namespace

} // namespace Stratum::Bench
