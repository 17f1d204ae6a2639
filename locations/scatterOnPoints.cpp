#include "locations/scatterOnPoints.h"

#include "common/parallel.h"
#include "locations/amounts.h"
#include "locations/cancellation.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace Vantor::Sample {

namespace {

using Geometry::Common::GeoLocation;
using VantorExp::Geometry::MaskControl;

void setPoint(GeoLocation& location, std::size_t point) {
    location.kind = Geometry::Common::kOnPoint;
    location.element = static_cast<std::uint32_t>(point);
}

// The extra sample of the rounding comes after the limits, and may exceed them.
std::uint64_t countOf(const GenerateLocationOptions& options) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    const double amount = std::max(0.0, options.amount); // 0 for NaN
    const std::uint64_t base =
        wholeCount(amount, std::min(kMost, static_cast<std::uint64_t>(options.max_number)));
    const double draw = randomUnit<double>(0, static_cast<std::uint64_t>(options.seed));
    return amount - std::floor(amount) > draw ? base + 1 : base;
}

// Calls set(i, locations[i]) for all i, in parallel.
template <class Set>
void fill(Locations& locations, const Set& set) {
    Stratum::parallelFor(locations.size(), 1000, [&](const Stratum::IndexRange& range) {
        for (std::size_t i = range.begin(); i < range.end(); ++i)
            set(i, locations[i]);
    });
    Stratum::throwIfCancelled();
}

std::vector<std::uint32_t> candidates(std::size_t pointCount, const PointMask& mask) {
    std::vector<std::uint32_t> points;
    for (std::size_t point = 0; point < pointCount; ++point)
        if (!mask.rejectsAll(point))
            points.push_back(static_cast<std::uint32_t>(point));
    return points;
}

} // namespace

Locations scatterOnPoints(std::size_t pointCount, const PointMask* mask,
                          const GenerateLocationOptions& options) {
    if (pointCount == 0)
        return {};
    const auto seed = static_cast<std::uint64_t>(options.seed);
    const auto anyPoint = [&](std::size_t i) { return randomHash(i + 1, seed) % pointCount; };
    const std::uint64_t count = countOf(options);
    if (!mask) {
        Locations locations(count);
        fill(locations, [&](std::size_t i, GeoLocation& l) { setPoint(l, anyPoint(i)); });
        return locations;
    }
    if (options.mask_control != MaskControl::Resample &&
        options.mask_control != MaskControl::Discard)
        return Locations(count);
    const std::vector<std::uint32_t> points = candidates(pointCount, *mask);
    if (points.empty())
        return {};
    Locations locations(count);
    if (options.mask_control == MaskControl::Discard)
        fill(locations, [&](std::size_t i, GeoLocation& location) {
            const std::size_t point = anyPoint(i);
            if (!mask->rejects(point, (std::uint64_t{1} << 33) + i))
                setPoint(location, point);
        });
    else
        fill(locations, [&](std::size_t i, GeoLocation& location) {
            std::uint64_t draw = i * kDrawsPerSample + 1;
            for (std::uint64_t attempt = 0; attempt < kMostAttempts; ++attempt, draw += 2) {
                const std::size_t point = points[randomHash(draw, seed) % points.size()];
                if (!mask->rejects(point, draw + 1))
                    return setPoint(location, point);
            }
        });
    return keepValid(locations);
}

} // namespace Vantor::Sample
