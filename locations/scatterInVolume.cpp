#include "locations/scatterInVolume.h"

#include "KDX/partsFit.h"
#include "Vantor/Geometry.h"
#include "common/parallel.h"
#include "locations/CandidateCells.h"
#include "locations/VolumeMask.h"
#include "locations/amounts.h"
#include "locations/cancellation.h"
#include "locations/collectCells.h"
#include "locations/extendedChannel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Vantor::Sample {

namespace {

using namespace KDX::TileTree3D;
using Geometry::Common::GeoLocation;
using VantorExp::Geometry::AmountType;
using VantorExp::Geometry::SampleType;

constexpr int kDrawsPerSampleBits = 16;

// What of a volume samples are placed by.
template <class Traits>
struct Source {
    Ostrum::Ptr<Container<Traits>> container;
    Ostrum::Ptr<VoxelTopology<Traits>> topology;
    Ostrum::Ptr<Channel<Traits, float, Traits::kVoxelsPerAxis, 0, 0>> channel;
    CellRule rule = CellRule::kDensity;

    Source(const KDX::Object& volume, SampleType type) {
        using Values = Channel<Traits, float, Traits::kVoxelsPerAxis, 0, 0>;
        container = volume.component<Container<Traits>>(Geometry::sVoxelTileTree);
        topology = volume.component<VoxelTopology<Traits>>(Geometry::sVoxelComp);
        if (type != SampleType::Surface)
            channel = volume.component<Values>(Geometry::sVoxelFogDensity);
        if (!channel) {
            channel = volume.component<Values>(Geometry::sVoxelSignedDistance);
            rule = CellRule::kDistance;
        }
        if (isComplete() && !partsFit(*container, *topology, *channel))
            throw std::invalid_argument("the parts of the volume do not belong to one tree");
    }

    bool isComplete() const { return container && topology && channel; }

    std::vector<CandidateTile<Traits>> collect() const {
        const auto extended = topology->offsetType() == VoxelOffsetType::kCorner
                                  ? extendedChannel(*channel, *container, *topology, 0.0F)
                                  : nullptr;
        return collectCells(*container, *channel, extended.get(), rule);
    }
};

// The product of the extents of the box around the cells, in world units.
template <class Traits>
double boxVolume(const CandidateCells<Traits>& cells, const Container<Traits>& container) {
    const auto box = cells.bounds();
    const auto toWorld = [&](const std::array<std::int64_t, 3>& corner) {
        return container.toWorldSpace({static_cast<float>(corner[0]), static_cast<float>(corner[1]),
                                       static_cast<float>(corner[2])});
    };
    const float3 min = toWorld(box.min), max = toWorld(box.max);
    const float3 extent{max.x - min.x, max.y - min.y, max.z - min.z};
    constexpr float kSmallest = std::numeric_limits<float>::min();
    if (extent.x < kSmallest || extent.y < kSmallest || extent.z < kSmallest)
        return 0;
    const float product = extent.x * extent.y * extent.z;
    const bool isInRange = std::isfinite(product) && product >= kSmallest;
    return isInRange ? double{product} : double{extent.x} * double{extent.y} * double{extent.z};
}

template <class Traits>
std::uint64_t countOf(const GenerateLocationOptions& options, const CandidateCells<Traits>& cells,
                      const Container<Traits>& container) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    if (options.amount_type == AmountType::Density)
        return wholeCount(options.amount * boxVolume(cells, container), kMost);
    std::uint64_t count = wholeCount(options.amount, kMost);
    const double draw = randomUnit<double>(1, static_cast<std::uint64_t>(options.seed));
    if (options.amount - std::floor(options.amount) >= draw && count < kMost)
        ++count;
    if (options.amount_type == AmountType::Count && options.use_max_number)
        count = std::min(count, static_cast<std::uint64_t>(options.max_number));
    return count;
}

// A place in a cell. With fractions below 1 only a rounding can take it as far as the upper face.
float3 jitter(const float3& lower, float edge, std::uint64_t hash) {
    const auto fraction = [hash](int shift, int bits) {
        return static_cast<float>(static_cast<std::int64_t>(hash >> shift) &
                                  ((std::int64_t{1} << bits) - 1)) /
               static_cast<float>(std::int64_t{1} << bits);
    };
    const float u = fraction(0, 22), v = fraction(22, 21), w = fraction(43, 21);
    return {(lower.x + edge) * u + (1 - u) * lower.x, (lower.y + edge) * v + (1 - v) * lower.y,
            (lower.z + edge) * w + (1 - w) * lower.z};
}

// Places samples on one thread.
template <class Traits>
class Placer {
public:
    Placer(const CandidateCells<Traits>& cells, const Container<Traits>& container,
           const VolumeMask<Traits>* mask, std::uint64_t seed)
        : cells_(cells), container_(container), mask_(mask), seed_(seed),
          probe_(mask ? mask->probe() : nullptr) {}
    Placer(const Placer& other)
        : Placer(other.cells_, other.container_, other.mask_, other.seed_) {}
    Placer& operator=(const Placer&) = delete;
    ~Placer() = default;

    /// Some samples at a time, so that they wait for memory together.
    void place(const Stratum::IndexRange& range, Locations& locations) const {
        constexpr std::size_t kAhead = 16; // as many lines as a processor fetches at a time
        std::array<std::uint64_t, kAhead> units;
        for (std::size_t begin = range.begin(); begin < range.end(); begin += kAhead) {
            const std::size_t end = std::min(begin + kAhead, range.end());
            for (std::size_t i = begin; i < end; ++i) {
                units[i - begin] = drawUnit(firstDraw(i));
                cells_.expectGuide(units[i - begin]);
            }
            for (std::size_t i = begin; i < end; ++i)
                cells_.expectTile(units[i - begin]);
            for (std::size_t i = begin; i < end; ++i)
                placeOne(i, units[i - begin], locations[i]);
        }
    }

private:
    static std::uint64_t firstDraw(std::uint64_t sample) { return sample << kDrawsPerSampleBits; }
    std::uint64_t drawUnit(std::uint64_t draw) const {
        return randomHash(draw, seed_) % cells_.total();
    }

    // An attempt takes three draws. The last ones of a sample may be those of the next samples.
    void placeOne(std::uint64_t sample, std::uint64_t unit, GeoLocation& location) const {
        std::uint64_t draw = firstDraw(sample);
        for (std::uint64_t failed = 0;; ++failed, unit = drawUnit(draw)) {
            const CandidateCell cell = cells_[unit];
            const float3 position =
                jitter(container_.toWorldSpace(cell.corner), cell.width * container_.voxelSize(),
                       randomHash(draw + 1, seed_));
            draw += 3;
            if (!probe_ || !probe_->rejects(position, draw - 1))
                return set(location, unit, position);
            if (failed >= kVolumeAttempts)
                return;
        }
    }

    static void set(GeoLocation& location, std::uint64_t unit, const float3& position) {
        location.kind = Geometry::Common::kVolume;
        location.element = static_cast<std::uint32_t>(unit);
        location.weights[0] = position.x;
        location.weights[1] = position.y;
        location.weights[2] = position.z;
    }

    const CandidateCells<Traits>& cells_;
    const Container<Traits>& container_;
    const VolumeMask<Traits>* const mask_;
    const std::uint64_t seed_;
    const std::unique_ptr<VolumeProbe> probe_;
};

template <class Traits>
Locations place(const Placer<Traits>& placer, std::uint64_t count) {
    Locations placed(count);
    const std::size_t grain = std::clamp<std::size_t>(count / 10, 1, 10000);
    Stratum::parallelFor(count, grain, [&, placer](const Stratum::IndexRange& range) {
        placer.place(range, placed);
    });
    Stratum::throwIfCancelled();
    return placed;
}

} // namespace

template <class Traits>
bool scatterInVolume(const KDX::Object& volume, const GenerateLocationOptions& options,
                     Locations& locations) {
    const Source<Traits> source(volume, options.sample_type);
    if (!source.isComplete())
        return false;
    std::unique_ptr<const VolumeMask<Traits>> mask;
    if (options.use_mask && volume.component<KDX::Component>(options.mask_property)) {
        mask = makeVolumeMask(volume, *source.container, *source.topology, options);
        if (!mask)
            return false;
    }
    locations = {};
    const CandidateCells<Traits> cells(source.collect(), source.channel->depth());
    if (cells.total() == 0 || (mask && mask->rejectsAll(cells)))
        return true;
    Locations placed = place(Placer<Traits>(cells, *source.container, mask.get(),
                                            static_cast<std::uint64_t>(options.seed)),
                             countOf(options, cells, *source.container));
    locations = mask ? keepValid(placed) : std::move(placed);
    return true;
}

#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    template bool scatterInVolume<Traits<B, W, 1>>(const KDX::Object&,                             \
                                                   const GenerateLocationOptions&, Locations&);
#include "common/rows.def"

} // namespace Vantor::Sample
