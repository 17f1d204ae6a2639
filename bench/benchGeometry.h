// The meshes and strands that scattering is timed on.
#pragma once

#include "Vantor/Object.h"
#include "common/Math.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Stratum::Bench {

/// Locations per benchmark.
inline constexpr std::size_t kLocations = 10'000'000;

/// A million triangles: a grid over the unit square with a relief. Equal ones, or of widths that
/// vary over four powers of ten in each direction.
struct BenchMesh {
    using Triangle = std::array<std::uint32_t, 3>;
    std::vector<Vantor::Math::float3> points;
    std::vector<Triangle> triangles;
    double totalArea = 0;
    Vantor::Object object;

    float area(const Triangle& triangle) const;
};

/// Built once and kept.
const BenchMesh& benchMesh(bool unequal);

/// A hundred thousand strands of 17 points.
const Vantor::Object& benchStrands();

} // namespace Stratum::Bench
