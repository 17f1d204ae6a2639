// A peer: CGAL's generator of points on a mesh. It is compiled apart, since CGAL has everything
// that links to it compiled for changing rounding modes.
#include "benchGeometry.h"
#include "benchSetup.h"

#include <CGAL/Random.h>
#include <CGAL/Simple_cartesian.h>
#include <CGAL/Surface_mesh.h>
#include <CGAL/point_generators_3.h>

#include <map>
#include <vector>

namespace Stratum::Bench {

namespace {

void cgal(benchmark::State& state, bool unequal) {
    using Kernel = CGAL::Simple_cartesian<double>;
    using Surface = CGAL::Surface_mesh<Kernel::Point_3>;
    static std::map<bool, Surface> surfaces;
    Surface& surface = surfaces[unequal];
    const BenchMesh& mesh = benchMesh(unequal);
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
        points.reserve(kLocations);
        std::copy_n(generator, kLocations, std::back_inserter(points));
        benchmark::DoNotOptimize(points.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kLocations));
}

const bool registered = [] {
    for (const bool unequal : {false, true})
        add(std::string("locations/cgal/") + (unequal ? "unequal" : "equal"),
            [=](benchmark::State& state) { cgal(state, unequal); });
    return true;
}();

} // namespace

} // namespace Stratum::Bench
