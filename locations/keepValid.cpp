#include "common/parallel.h"
#include "locations/cancellation.h"
#include "locations/generators.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Vantor::Sample {

namespace {

using Geometry::Common::GeoLocation;

constexpr std::size_t kBlock = 16384;

bool isValid(const GeoLocation& location) {
    return location.kind != Geometry::Common::kNoLocation;
}

// Calls visit(block, begin, end) for all runs of [0, count), in parallel, and asks the host.
template <class Visit>
void forEachBlock(std::size_t count, const Visit& visit) {
    Stratum::parallelForIsolated(
        (count + kBlock - 1) / kBlock, 1, [&](const Stratum::IndexRange& range) {
            for (std::size_t block = range.begin(); block < range.end(); ++block)
                visit(block, block * kBlock, std::min((block + 1) * kBlock, count));
        });
    Stratum::throwIfCancelled();
}

} // namespace

Locations keepValid(const Locations& all) {
    std::vector<std::size_t> places((all.size() + kBlock - 1) / kBlock);
    forEachBlock(all.size(), [&](std::size_t block, std::size_t begin, std::size_t end) {
        places[block] =
            static_cast<std::size_t>(std::count_if(&all[begin], all.data() + end, isValid));
    });
    std::size_t count = 0;
    for (std::size_t& place : places)
        count += std::exchange(place, count);
    Locations valid(count);
    forEachBlock(all.size(), [&](std::size_t block, std::size_t begin, std::size_t end) {
        std::copy_if(&all[begin], all.data() + end, valid.begin() + places[block], isValid);
    });
    return valid;
}

} // namespace Vantor::Sample
