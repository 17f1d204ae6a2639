#include "locations/TrianglePicker.h"

#include <numeric>

namespace Vantor::Sample {

TrianglePicker::TrianglePicker(const MeshView& mesh, std::span<const float> areas,
                               std::uint32_t seed)
    : twister_(seed) {
    triangles_.reserve(areas.size());
    forEachTriangle(mesh, [&](std::size_t face, std::size_t t, float) {
        triangles_.push_back({static_cast<std::uint32_t>(face), static_cast<std::uint32_t>(t)});
    });
    const double total = std::accumulate(areas.begin(), areas.end(), 0.0);
    sums_.reserve(areas.size());
    double sum = 0;
    for (const float area : areas)
        sums_.push_back(sum += static_cast<double>(area) / total);
    sums_.back() = 1;
    table_ = CumulativeTable<double>(sums_);
}

TrianglePicker::Triangle TrianglePicker::pick() {
    if (triangles_.size() < 2)
        return triangles_.front();
    const double draw =
        std::generate_canonical<double, std::numeric_limits<double>::digits>(twister_);
    return triangles_[table_.atLeast(draw)];
}

} // namespace Vantor::Sample
