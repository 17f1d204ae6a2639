#include "locations/TrianglePicker.h"

#include "locations/cancellation.h"

namespace Vantor::Sample {

TrianglePicker::TrianglePicker(const MeshView& mesh, std::span<const float> areas,
                               std::uint32_t seed)
    : twister_(seed) {
    double total = 0;
    for (const float area : areas)
        total += isTriangle(area) ? static_cast<double>(area) : 0.0;
    entries_.reserve(areas.size());
    double sum = 0;
    forEachTriangle(mesh, areas, [&](std::size_t face, std::size_t t, float area) {
        sum += static_cast<double>(area) / total;
        entries_.push_back(
            {sum, {static_cast<std::uint32_t>(face), static_cast<std::uint32_t>(t)}});
    });
    entries_.back().sum = 1;
    table_ = CumulativeTable<Entry>(entries_);
    Stratum::throwIfCancelled();
}

void TrianglePicker::drawAhead() {
    next_ = 0;
    if (entries_.size() < 2) {
        ahead_.fill(entries_.front().triangle);
        return;
    }
    std::array<double, std::tuple_size_v<decltype(ahead_)>> draws;
    for (double& draw : draws) {
        draw = std::generate_canonical<double, std::numeric_limits<double>::digits>(twister_);
        table_.expectCell(draw);
    }
    for (const double draw : draws)
        table_.expectEntry(draw);
    for (std::size_t i = 0; i < draws.size(); ++i)
        ahead_[i] = entries_[table_.atLeast(draws[i])].triangle;
}

} // namespace Vantor::Sample
