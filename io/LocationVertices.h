// From locations on a geometry back to its points.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Ptr.h"
#include "Vantor/GeoLocation.h"
#include "Vantor/Object.h"
#include "common/Math.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Stratum::io {

/// Finds the vertices that a location weights. Shares the geometry's arrays.
class LocationVertices {
public:
    using GeoLocation = Vantor::Geometry::Common::GeoLocation;
    using float3 = Vantor::Math::float3;

    explicit LocationVertices(const Vantor::Object& geometry);

    struct Vertices {
        std::size_t count = 0; ///< 0 for a location that is nowhere
        std::array<std::size_t, 3> points{};
        std::array<std::size_t, 3> corners{}; ///< of a face, among all corners
        std::array<double, 3> weights{};
    };
    Vertices of(const GeoLocation& location) const;

    /// The weighted mean of the vertices.
    float3 position(const Vertices& vertices) const;

    /// That of a location's vertices; a location inside a volume has its position itself.
    float3 position(const GeoLocation& location) const;

    /// The unit normal of a triangle by the order of its corners, no vector for one without area.
    float3 triangleNormal(const Vertices& vertices) const;

private:
    template <class T>
    using Values = Ostrum::Ptr<Ostrum::Array<T>>;

    std::size_t pointOf(std::size_t corner) const;

    Values<float3> positions_;
    Values<std::uint32_t> faceOffset_, faceVertex_, strandOffset_;
    std::size_t pointCount_;
};

/// What a property amounts to at locations, as masks read it: bool is 0 or 1, a vector its first
/// component; between vertices it is interpolated. NaN where a location is nowhere and where the
/// property has no value. Throws std::runtime_error when there is no property of that name and a
/// type that a mask may have.
std::vector<float> propertyAt(const Vantor::Object& geometry, const Ostrum::String& property,
                              std::span<const Vantor::Geometry::Common::GeoLocation> locations);

} // namespace Stratum::io
