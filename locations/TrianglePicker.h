// Picking triangles in proportion to their areas.
#pragma once

#include "locations/CumulativeTable.h"
#include "locations/geometryViews.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

namespace Vantor::Sample {

/// Gives the picks of std::discrete_distribution over the areas, drawn with std::mt19937, as the
/// GNU library makes them: it takes two numbers of the twister for a pick, none where there is but
/// one triangle. A table makes each pick cost the same however many triangles there are.
class TrianglePicker {
public:
    /// `areas` are those of the mesh's triangles in the order of forEachTriangle(), with a positive
    /// and finite sum.
    TrianglePicker(const MeshView& mesh, std::span<const float> areas, std::uint32_t seed);
    TrianglePicker(const TrianglePicker&) = delete;
    TrianglePicker& operator=(const TrianglePicker&) = delete;

    struct Triangle {
        std::uint32_t face, t;
    };
    Triangle pick();

private:
    std::vector<Triangle> triangles_;
    std::vector<double> sums_;
    CumulativeTable<double> table_;
    std::mt19937 twister_;
};

} // namespace Vantor::Sample
