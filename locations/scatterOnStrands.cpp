#include "locations/scatterOnStrands.h"

#include "common/parallel.h"
#include "locations/CumulativeTable.h"
#include "locations/amounts.h"
#include "locations/cancellation.h"

#include <algorithm>
#include <array>
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

// A weight for each point: the length of the segment that begins there, 0 at a strand's last point
// and outside all strands.
std::vector<float> segmentLengths(const StrandView& strands) {
    std::vector<float> lengths(strands.positions.size());
    forEach(strands.strands.count(), 100, [&](std::size_t strand) {
        const IndexSpan points = strands.strands[strand];
        for (std::size_t p = points.begin; p + 1 < points.end; ++p)
            lengths[p] = strands.segmentLength(p);
    });
    return lengths;
}

// Segments by their share of the length.
class Segments {
public:
    Segments(const StrandView& strands, std::span<const float> lengths, float total)
        : entries_(lengths.size()) {
        forEach(lengths.size(), 1000,
                [&](std::size_t p) { entries_[p].share = lengths[p] / total; });
        forEach(strands.strands.count(), 1000, [&](std::size_t strand) {
            const IndexSpan points = strands.strands[strand];
            for (std::size_t p = points.begin; p < points.end; ++p) {
                entries_[p].strand = static_cast<std::uint32_t>(strand);
                entries_[p].s = static_cast<std::uint32_t>(p - points.begin);
            }
        });
        float sum = 0;
        for (Entry& entry : entries_)
            entry.sum = sum += entry.share;
        table_ = CumulativeTable<Entry>(entries_);
        Stratum::throwIfCancelled();
    }
    Segments(const Segments&) = delete;
    Segments& operator=(const Segments&) = delete;

    /// Sets the location, a default one, to what a draw in [0, 1] falls on; leaves it so past the
    /// last segment, and where the total is infinite, which leaves no sum that is a number above 0.
    void locate(float draw, GeoLocation& location) const {
        const std::size_t segment = table_.above(draw);
        if (segment == entries_.size())
            return;
        const auto& [sum, share, strand, s] = entries_[segment];
        if (!(sum > draw))
            return;
        const float u = (sum - draw) / share;
        location.kind = Geometry::Common::kOnStrand;
        location.element = strand;
        location.indices[0] = s;
        location.indices[1] = s + 1;
        location.indices[2] = location.indices[3] = Geometry::kInvalidIndex;
        location.weights[0] = u;
        location.weights[1] = 1 - u;
    }

    const auto& table() const { return table_; }

    /// Whether a mask rejects all there is.
    bool areMasked(const StrandSamplerBase& mask) const {
        return std::ranges::all_of(entries_, [&](const Entry& entry) {
            return entry.share == 0 || mask.isFullyMasked(entry.strand, entry.s);
        });
    }

private:
    struct Entry {
        float sum, share;
        std::uint32_t strand, s;
    };
    std::vector<Entry> entries_;
    CumulativeTable<Entry> table_;
};

float positionDraw(std::uint64_t index, const GenerateLocationOptions& options) {
    return randomUnit<float>(index, static_cast<std::uint64_t>(options.seed));
}

// Sets a location of kind 0.
void drawSample(std::uint64_t sample, const Segments& segments, const StrandSamplerBase* mask,
                const GenerateLocationOptions& options, GeoLocation& location) {
    const bool retry = options.mask_control == VantorExp::Geometry::MaskControl::Resample;
    std::uint64_t draw = sample * kDrawsPerSample;
    for (std::uint64_t attempt = 1;; ++attempt, draw += 2) {
        segments.locate(positionDraw(draw, options), location);
        if (location.kind == Geometry::Common::kNoLocation || !mask ||
            !mask->reject(location, draw + 1, options))
            return;
        location = {};
        if (!retry || attempt == kMostAttempts)
            return;
    }
}

// Some samples at a time, so that they wait for memory together.
void drawSamples(const Stratum::IndexRange& range, const Segments& segments,
                 const StrandSamplerBase* mask, const GenerateLocationOptions& options,
                 Locations& locations) {
    constexpr std::size_t kAhead = 16; // as many lines as a processor fetches at a time
    for (std::size_t begin = range.begin(); begin < range.end(); begin += kAhead) {
        const std::size_t end = std::min(begin + kAhead, range.end());
        std::array<float, kAhead> draws;
        for (std::size_t i = begin; i < end; ++i) {
            draws[i - begin] = positionDraw(i * kDrawsPerSample, options);
            segments.table().expectCell(draws[i - begin]);
        }
        for (std::size_t i = begin; i < end; ++i)
            segments.table().expectEntry(draws[i - begin]);
        for (std::size_t i = begin; i < end; ++i)
            drawSample(i, segments, mask, options, locations[i]);
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
    const std::vector<float> lengths = segmentLengths(strands);
    const float total = Stratum::parallelSum(std::span<const float>(lengths), 1000);
    Stratum::throwIfCancelled();
    const std::uint64_t count = countOf(options, total);
    if (!(total > 0) || count == 0)
        return {};
    const Segments segments(strands, lengths, total);
    if (mask && segments.areMasked(*mask))
        return {};
    Locations locations(count);
    Stratum::parallelFor(count, 1000, [&](const Stratum::IndexRange& range) {
        drawSamples(range, segments, mask, options, locations);
    });
    Stratum::throwIfCancelled();
    if (mask)
        return keepValid(locations);
    return locations;
}

} // namespace Vantor::Sample
