// Scattering locations, beside what it costs to write the records once, the loop that anybody would
// write first, and CGAL's generator.
#include "benchGeometry.h"
#include "benchVolumes.h"

#include "common/parallel.h"
#include "locations/generateSampleLocations.h"

#include <benchmark/benchmark.h>
#include <oneapi/tbb/global_control.h>

#ifdef STRATUM_CGAL
#include <CGAL/Random.h>
#include <CGAL/Simple_cartesian.h>
#include <CGAL/Surface_mesh.h>
#include <CGAL/point_generators_3.h>
#endif

#include <functional>
#include <map>
#include <random>
#include <vector>

namespace Stratum::Bench {

namespace {

using Vantor::Geometry::Common::GeoLocation;
using Vantor::Sample::GenerateLocationOptions;
using namespace VantorExp::Geometry;
using Locations = Ostrum::Array<GeoLocation>;

void count(benchmark::State& state, std::size_t locations) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * locations));
}

GenerateLocationOptions byCount(std::size_t n) {
    GenerateLocationOptions options;
    options.amount = static_cast<double>(n);
    options.amount_type = AmountType::Count;
    options.seed = 1;
    return options;
}

void scatter(benchmark::State& state, const Vantor::Object& object,
             const GenerateLocationOptions& options, std::size_t expected, int threads) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                                    static_cast<std::size_t>(threads));
    for (auto _ : state) {
        Locations locations;
        Vantor::Sample::generateSampleLocations(object, options, locations, nullptr);
        benchmark::DoNotOptimize(locations.data());
        if (locations.size() < expected / 10 * 9)
            state.SkipWithError("locations are missing");
    }
    count(state, expected);
}

// Fresh records, all written once.
void writeRecords(benchmark::State& state, std::size_t n) {
    for (auto _ : state) {
        Locations locations;
        locations.reserve(n);
        GeoLocation location;
        for (std::size_t i = 0; i < n; ++i) {
            location.element = static_cast<std::uint32_t>(i);
            locations.push_back(location);
        }
        benchmark::DoNotOptimize(locations.data());
    }
    count(state, n);
}

// Positions only, the standard library alone.
void plainLoop(benchmark::State& state, const BenchMesh& mesh, std::size_t n) {
    for (auto _ : state) {
        std::vector<double> areas;
        for (const auto& triangle : mesh.triangles)
            areas.push_back(double(mesh.area(triangle)));
        std::discrete_distribution<std::size_t> pick(areas.begin(), areas.end());
        std::mt19937 twister(1);
        std::uniform_real_distribution<float> unit;
        std::vector<GeoLocation> out;
        out.reserve(n);
        for (std::size_t i = 0; i < n; ++i) {
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
    count(state, n);
}

#ifdef STRATUM_CGAL
void cgal(benchmark::State& state, const BenchMesh& mesh, std::size_t n) {
    using Kernel = CGAL::Simple_cartesian<double>;
    using Surface = CGAL::Surface_mesh<Kernel::Point_3>;
    static std::map<const BenchMesh*, Surface> surfaces;
    Surface& surface = surfaces[&mesh];
    if (surface.is_empty()) {
        for (const auto& p : mesh.points)
            surface.add_vertex({p.x, p.y, p.z});
        for (const auto& t : mesh.triangles)
            surface.add_face(Surface::Vertex_index(t[0]), Surface::Vertex_index(t[1]),
                             Surface::Vertex_index(t[2]));
    }
    for (auto _ : state) {
        CGAL::Random random(1);
        CGAL::Random_points_in_triangle_mesh_3<Surface> generator(surface, random);
        std::vector<Kernel::Point_3> points;
        points.reserve(n);
        std::copy_n(generator, n, std::back_inserter(points));
        benchmark::DoNotOptimize(points.data());
    }
    count(state, n);
}
#endif

void add(const std::string& name, const std::function<void(benchmark::State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond)->UseRealTime();
}

const bool registered = [] {
    for (const std::size_t n : {std::size_t{1'000'000}, std::size_t{10'000'000}}) {
        const std::string end = n == 1'000'000 ? "1M" : "10M";
        add(join({"locations/write-records", end}), [=](auto& state) { writeRecords(state, n); });
        for (const bool unequal : {false, true}) {
            const std::string mesh = unequal ? "unequal" : "equal";
            add(join({"locations/mesh-count", mesh, end}),
                [=](auto& state) { scatter(state, benchMesh(unequal).object, byCount(n), n, 1); });
            add(join({"locations/mesh-density", mesh, end}), [=](auto& state) {
                auto options = byCount(n);
                options.amount_type = AmountType::Density;
                options.amount /= benchMesh(unequal).totalArea;
                scatter(state, benchMesh(unequal).object, options, n, 1);
            });
            add(join({"locations/plain-loop", mesh, end}),
                [=](auto& state) { plainLoop(state, benchMesh(unequal), n); });
#ifdef STRATUM_CGAL
            add(join({"locations/cgal", mesh, end}),
                [=](auto& state) { cgal(state, benchMesh(unequal), n); });
#endif
        }
        for (const int threads : {1, 2}) {
            const std::string row = join({end, "threads", std::to_string(threads)});
            add(join({"locations/strands", row}),
                [=](auto& state) { scatter(state, benchStrands(), byCount(n), n, threads); });
            add(join({"locations/points", row}), [=](auto& state) {
                auto options = byCount(n);
                options.sample_type = SampleType::Points;
                scatter(state, benchMesh(false).object, options, n, threads);
            });
            // What the memory allows: a copy of as many records.
            add(join({"locations/copy-records", row}), [=](auto& state) {
                const tbb::global_control limit(tbb::global_control::max_allowed_parallelism,
                                                static_cast<std::size_t>(threads));
                const Locations from(n);
                for (auto _ : state) {
                    Locations to(n);
                    parallelFor(n, 1000, [&](const IndexRange& range) {
                        std::copy(&from[range.begin()],
                                  &from[range.begin()] + (range.end() - range.begin()),
                                  &to[range.begin()]);
                    });
                    benchmark::DoNotOptimize(to.data());
                }
                count(state, n);
            });
        }
    }
    return true;
}();

} // namespace

} // namespace Stratum::Bench
