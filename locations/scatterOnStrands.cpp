#include "locations/scatterOnStrands.h"

#include "common/parallel.h"
#include "locations/CumulativeTable.h"
#include "locations/amounts.h"
#include "locations/cancellation.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace Vantor::Sample {

namespace {

using Geometry::Common::GeoLocation;

template <class Body>
void forEach(std::size_t count, std::size_t grain, const Body& body) {
    Stratum::parallelFor(count, grain, [&](const Stratum::IndexRange& range) {
        for (std::size_t i = range.begin(); i < range.end(); ++i)
            body(i);
    });
    Stratum::throwIfCancelled();
}

float distance(const float3& a, const float3& b) {
    const float3 d{b.x - a.x, b.y - a.y, b.z - a.z};
    return std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
}

// A weight for each point: the length of the segment that begins there, 0 at a strand's last point
// and outside all strands.
std::vector<float> segmentLengths(const StrandView& strands) {
    std::vector<float> lengths(strands.positions.size());
    forEach(strands.strandCount, 100, [&](std::size_t strand) {
        const IndexSpan points = strands.points(strand);
        for (std::size_t p = points.begin; p + 1 < points.end; ++p)
            lengths[p] = distance(strands.positions[p], strands.positions[p + 1]);
    });
    return lengths;
}

std::vector<std::uint32_t> strandsOfPoints(const StrandView& strands) {
    std::vector<std::uint32_t> owners(strands.positions.size());
    forEach(strands.strandCount, 1000, [&](std::size_t strand) {
        const IndexSpan points = strands.points(strand);
        std::fill(owners.begin() + static_cast<std::ptrdiff_t>(points.begin),
                  owners.begin() + static_cast<std::ptrdiff_t>(points.end),
                  static_cast<std::uint32_t>(strand));
    });
    return owners;
}

// Segments by their share of the length.
class Segments {
public:
    Segments(const StrandView& strands, std::vector<float> lengths, float total)
        : strands_(strands), shares_(std::move(lengths)), owners_(strandsOfPoints(strands)) {
        forEach(shares_.size(), 1000, [&](std::size_t p) { shares_[p] /= total; });
        sums_.reserve(shares_.size());
        float sum = 0;
        for (const float share : shares_)
            sums_.push_back(sum += share);
        table_ = CumulativeTable<float>(sums_);
    }
    Segments(const Segments&) = delete;
    Segments& operator=(const Segments&) = delete;

    /// The location that a draw in [0, 1] falls on, of kind 0 past the last segment.
    GeoLocation at(float draw) const {
        GeoLocation location;
        const std::size_t segment = table_.above(draw);
        if (segment == sums_.size())
            return location;
        const std::uint32_t strand = owners_[segment];
        const auto s = static_cast<std::uint32_t>(segment - strands_.begins[strand]);
        const float u = (sums_[segment] - draw) / shares_[segment];
        location.kind = Geometry::Common::kOnStrand;
        location.element = strand;
        location.indices[0] = s;
        location.indices[1] = s + 1;
        location.weights[0] = u;
        location.weights[1] = 1 - u;
        return location;
    }

    /// Whether a mask rejects all there is.
    bool areMasked(const StrandSamplerBase& mask) const {
        for (std::size_t p = 0; p < shares_.size(); ++p)
            if (shares_[p] != 0 && !mask.isFullyMasked(owners_[p], p - strands_.begins[owners_[p]]))
                return false;
        return true;
    }

private:
    const StrandView& strands_;
    std::vector<float> shares_, sums_;
    std::vector<std::uint32_t> owners_;
    CumulativeTable<float> table_;
};

GeoLocation drawSample(std::uint64_t sample, const Segments& segments,
                       const StrandSamplerBase* mask, const GenerateLocationOptions& options) {
    const auto seed = static_cast<std::uint64_t>(options.seed);
    const bool retry = options.mask_control == VantorExp::Geometry::MaskControl::Resample;
    std::uint64_t draw = sample * kDrawsPerSample;
    for (std::uint64_t attempt = 1;; ++attempt, draw += 2) {
        const GeoLocation location = segments.at(randomUnit<float>(draw, seed));
        if (location.kind == Geometry::Common::kNoLocation || !mask ||
            !mask->reject(location, draw + 1, options))
            return location;
        if (!retry || attempt == kStrandAttempts)
            return {};
    }
}

std::uint64_t countOf(const GenerateLocationOptions& options, float length) {
    double amount = options.amount;
    if (options.amount_type == VantorExp::Geometry::AmountType::Density)
        amount *= static_cast<double>(length);
    // In this order NaN stays, and makes none.
    amount = std::max(std::min(amount, static_cast<double>(options.max_number)), 0.0);
    return wholeCount(roundAtRandom(amount, static_cast<std::uint64_t>(options.seed)),
                      static_cast<std::uint64_t>(options.max_number));
}

} // namespace

Locations scatterOnStrands(const StrandView& strands, const StrandSamplerBase* mask,
                           const GenerateLocationOptions& options) {
    std::vector<float> lengths = segmentLengths(strands);
    const float total = Stratum::parallelSum(std::span<const float>(lengths), 1000);
    Stratum::throwIfCancelled();
    const std::uint64_t count = countOf(options, total);
    if (!(total > 0) || count == 0)
        return {};
    const Segments segments(strands, std::move(lengths), total);
    if (mask && segments.areMasked(*mask))
        return {};
    Locations locations(count);
    forEach(count, 1000, [&](std::size_t sample) {
        locations[sample] = drawSample(sample, segments, mask, options);
    });
    if (mask)
        return keepValid(locations);
    return locations;
}

} // namespace Vantor::Sample
