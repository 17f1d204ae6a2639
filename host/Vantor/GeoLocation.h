// A location on a geometry.
#pragma once

#include "Ostrum/Export.h"
#include "Vantor/Geometry.h"

#include <array>
#include <cstdint>

namespace Vantor::Geometry::Common {

/// What a location lies on.
enum LocationKind : std::uint32_t {
    kNoLocation = 0,
    kOnFace = 3,
    kOnStrand = 4,
    kOnPoint = 5,
    kVolume = 6,
};

/// A place on one element of a geometry: some of the element's vertices, by their local indices
/// (corners of a face, points of a strand), and how to weight them. Entries that are not in use
/// hold kInvalidIndex and 0. For a location inside a volume the first three weights are its world
/// position.
struct OSTRUM_API GeoLocation {
    std::uint32_t kind = kNoLocation; ///< a LocationKind
    std::uint32_t element = 0;        ///< the face, strand or point; a number of a cell in a volume
    /// The element's vertices.
    std::array<std::uint32_t, 4> indices{kInvalidIndex, kInvalidIndex, kInvalidIndex,
                                         kInvalidIndex};
    std::array<float, 4> weights{};          ///< of those vertices
    std::array<std::uint64_t, 4> reserved{}; ///< the host's own

    /// Of all fields.
    bool operator==(const GeoLocation&) const = default;
};

static_assert(sizeof(GeoLocation) == 72 && alignof(GeoLocation) == 8);

} // namespace Vantor::Geometry::Common
