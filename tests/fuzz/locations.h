// Locations, and the geometry that they must lie on.
#pragma once

#include "Vantor/GeoLocation.h"
#include "Vantor/Object.h"
#include "common/Math.h"
#include "fuzz.h"

#include <cstdint>

namespace Stratum::fuzz {

/// Ends the process when a location names an element or vertex that a geometry does not have.
/// Index arrays may be wrong.
inline void requireOn(const Vantor::Object& object,
                      const Vantor::Geometry::Common::GeoLocation& location) {
    using namespace Vantor::Geometry;
    const auto entry = [&](const Ostrum::String& array, std::size_t i) {
        const auto values = object.propertyData<std::uint32_t>(array);
        require(values && i < values->size(), "an index into " + array.str());
        return std::size_t{(*values)[i]};
    };
    switch (location.kind) {
    case Common::kNoLocation:
    case Common::kVolume:
        break;
    case Common::kOnPoint:
        require(location.element < object.elementCount(sPointComp), "a point that there is not");
        break;
    case Common::kOnStrand: {
        require(location.element < object.elementCount(sStrandComp), "a strand that there is not");
        require(location.indices[1] == location.indices[0] + 1, "a segment of strangers");
        const auto points = object.propertyData<Vantor::Math::float3>(sPointPosition);
        require(entry(sStrandOffset, location.element) + location.indices[1] < points->size(),
                "a strand beyond the points");
        break;
    }
    case Common::kOnFace: {
        require(location.element < object.elementCount(sFaceComp), "a face that there is not");
        const auto points = object.propertyData<Vantor::Math::float3>(sPointPosition);
        for (std::size_t c = 0; c < 3; ++c)
            require(entry(sFaceVertex, entry(sFaceOffset, location.element) + location.indices[c]) <
                        points->size(),
                    "a face beyond the points");
        break;
    }
    default:
        require(false, "a location of kind " + std::to_string(location.kind));
    }
}

} // namespace Stratum::fuzz
