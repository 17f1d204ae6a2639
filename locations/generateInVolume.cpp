#include "KDX/Traits.h"
#include "Vantor/Geometry.h"
#include "locations/generators.h"
#include "locations/scatterInVolume.h"

#include <iostream>
#include <optional>
#include <utility>

namespace Vantor::Sample {

using KDX::TileTree3D::Traits;

std::optional<Locations> generateInVolume(GenerateLocationOptions options, const Object& geometry) {
    if (const auto& more = options.seed_array)
        options.seed = foldSeed(options.seed, {more->data(), more->size()});
    const auto volume = Geometry::shallow_copy_object_to_kdx_volume(geometry);
    std::optional<Locations> locations;
    // Both are tried, whatever becomes of the first.
#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    if (Locations found; volume && scatterInVolume<Traits<B, W, 1>>(*volume, options, found))      \
        locations = std::move(found);
#include "common/rows.def"
    if (!locations)
        std::cerr << "Unable to generate volume geo locations.\n";
    return locations;
}

} // namespace Vantor::Sample
