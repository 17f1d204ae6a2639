#include "benchGeometry.h"

#include "Vantor/Geometry.h"
#include "common/randomUnit.h"

#include <cmath>

namespace Stratum::Bench {

using namespace Vantor::Geometry;
using Vantor::Math::float3;

namespace {

template <class T>
Ostrum::Ptr<Ostrum::Array<T>> arrayOf(const std::vector<T>& values) {
    return Ostrum::makePtr<Ostrum::Array<T>>(values.begin(), values.end());
}

BenchMesh makeMesh(bool unequal) {
    constexpr std::uint32_t kCells = 708; // twice its square is a million
    BenchMesh mesh;
    const auto place = [unequal](std::uint32_t i) {
        const double t = double(i) / kCells;
        return unequal ? (std::pow(1e4, t) - 1) / (1e4 - 1) : t;
    };
    for (std::uint32_t y = 0; y <= kCells; ++y)
        for (std::uint32_t x = 0; x <= kCells; ++x)
            mesh.points.push_back({float(place(x)), float(place(y)),
                                   float(0.05 * std::sin(9 * place(x)) * std::cos(7 * place(y)))});
    for (std::uint32_t y = 0; y < kCells; ++y)
        for (std::uint32_t x = 0; x < kCells; ++x) {
            const std::uint32_t a = y * (kCells + 1) + x, b = a + kCells + 1;
            mesh.triangles.push_back({a, a + 1, b});
            mesh.triangles.push_back({a + 1, b + 1, b});
        }
    std::vector<std::uint32_t> offsets, corners;
    for (const auto& triangle : mesh.triangles) {
        offsets.push_back(std::uint32_t(corners.size()));
        corners.insert(corners.end(), triangle.begin(), triangle.end());
        mesh.totalArea += double(mesh.area(triangle));
    }
    mesh.object.addComponent(sPointComp, mesh.points.size());
    mesh.object.addComponent(sFaceComp, mesh.triangles.size());
    mesh.object.addComponent(sFaceVertexComp, corners.size());
    mesh.object.setProperty(sPointPosition, sPointComp, arrayOf(mesh.points));
    mesh.object.setProperty(sFaceOffset, sFaceComp, arrayOf(offsets));
    mesh.object.setProperty(sFaceVertex, sFaceVertexComp, arrayOf(corners));
    return mesh;
}

Vantor::Object makeStrands() {
    constexpr std::uint32_t kStrands = 100'000, kPoints = 17;
    std::vector<float3> points;
    std::vector<std::uint32_t> offsets{0};
    std::uint64_t draw = 0;
    const auto unit = [&draw] { return Vantor::Sample::randomUnit<float>(++draw, 1); };
    for (std::uint32_t strand = 0; strand < kStrands; ++strand) {
        float3 p{unit(), unit(), 0};
        for (std::uint32_t i = 0; i < kPoints; ++i) {
            points.push_back(p);
            p = {p.x + 0.01F * unit(), p.y + 0.01F * unit(), p.z + 0.05F * unit()};
        }
        offsets.push_back(std::uint32_t(points.size()));
    }
    Vantor::Object object;
    object.addComponent(sPointComp, points.size());
    object.addComponent(sStrandComp, kStrands);
    object.setProperty(sPointPosition, sPointComp, arrayOf(points));
    object.setProperty(sStrandOffset, sStrandComp, arrayOf(offsets));
    return object;
}

} // namespace

float BenchMesh::area(const Triangle& triangle) const {
    const float3 &p = points[triangle[0]], &q = points[triangle[1]], &r = points[triangle[2]];
    const float ux = q.x - p.x, uy = q.y - p.y, uz = q.z - p.z, vx = r.x - p.x, vy = r.y - p.y,
                vz = r.z - p.z;
    return 0.5F * std::hypot(uy * vz - uz * vy, uz * vx - ux * vz, ux * vy - uy * vx);
}

const BenchMesh& benchMesh(bool unequal) {
    static const BenchMesh equal = makeMesh(false), varied = makeMesh(true);
    return unequal ? varied : equal;
}

const Vantor::Object& benchStrands() {
    static const Vantor::Object strands = makeStrands();
    return strands;
}

} // namespace Stratum::Bench
