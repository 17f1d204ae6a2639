#include "io/LocationVertices.h"

#include "Vantor/Geometry.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <type_traits>

namespace Stratum::io {

namespace {

using namespace Vantor::Math;
using namespace Vantor::Geometry;
using Common::GeoLocation;

template <class T>
bool has(const Ostrum::Ptr<Ostrum::Array<T>>& values, std::size_t i) {
    return values && i < values->size();
}

double3 minus(const float3& a, const float3& b) {
    return {double{a.x} - b.x, double{a.y} - b.y, double{a.z} - b.z};
}

template <class T>
double scalarOf(const T& value) {
    if constexpr (std::is_arithmetic_v<T>)
        return static_cast<double>(value);
    else
        return static_cast<double>(value.x);
}

template <class T>
std::vector<float> valuesAt(const Ostrum::Array<T>& values, const Ostrum::String& component,
                            const LocationVertices& vertices,
                            std::span<const GeoLocation> locations) {
    const bool perPoint = component == sPointComp, perCorner = component == sFaceVertexComp;
    std::vector<float> result(locations.size(), std::numeric_limits<float>::quiet_NaN());
    for (std::size_t i = 0; i < locations.size(); ++i) {
        const auto found = vertices.of(locations[i]);
        if (found.count == 0)
            continue;
        double sum = 0;
        for (std::size_t v = 0; v < found.count; ++v) {
            const std::size_t place = perPoint    ? found.points[v]
                                      : perCorner ? found.corners[v]
                                                  : locations[i].element;
            const bool known = place < values.size();
            sum += found.weights[v] *
                   (known ? scalarOf(values[place]) : std::numeric_limits<double>::quiet_NaN());
        }
        result[i] = static_cast<float>(sum);
    }
    return result;
}

} // namespace

LocationVertices::LocationVertices(const Vantor::Object& geometry)
    : positions_(geometry.propertyData<float3>(sPointPosition)),
      faceOffset_(geometry.propertyData<std::uint32_t>(sFaceOffset)),
      faceVertex_(geometry.propertyData<std::uint32_t>(sFaceVertex)),
      strandOffset_(geometry.propertyData<std::uint32_t>(sStrandOffset)),
      pointCount_(positions_ ? positions_->size() : 0) {}

std::size_t LocationVertices::pointOf(std::size_t corner) const {
    return has(faceVertex_, corner) ? (*faceVertex_)[corner] : pointCount_;
}

LocationVertices::Vertices LocationVertices::of(const GeoLocation& location) const {
    Vertices vertices;
    std::size_t count = 0;
    if (location.kind == Common::kOnFace && has(faceOffset_, location.element)) {
        count = 3;
        for (std::size_t v = 0; v < count; ++v) {
            vertices.corners[v] =
                std::size_t{(*faceOffset_)[location.element]} + location.indices[v];
            vertices.points[v] = pointOf(vertices.corners[v]);
        }
    } else if (location.kind == Common::kOnStrand && has(strandOffset_, location.element)) {
        count = 2;
        for (std::size_t v = 0; v < count; ++v)
            vertices.points[v] =
                std::size_t{(*strandOffset_)[location.element]} + location.indices[v];
    } else if (location.kind == Common::kOnPoint) {
        count = 1;
        vertices.points[0] = location.element;
        vertices.weights[0] = 1;
    }
    for (std::size_t v = 0; v < count; ++v) {
        if (vertices.points[v] >= pointCount_)
            return {};
        if (count > 1)
            vertices.weights[v] = double{location.weights[v]};
    }
    vertices.count = count;
    return vertices;
}

float3 LocationVertices::position(const Vertices& vertices) const {
    if (vertices.count == 1) // exactly, also where it is no number
        return (*positions_)[vertices.points[0]];
    double3 sum{};
    for (std::size_t v = 0; v < vertices.count; ++v) {
        const float3& p = (*positions_)[vertices.points[v]];
        const double w = vertices.weights[v];
        sum = {sum.x + w * p.x, sum.y + w * p.y, sum.z + w * p.z};
    }
    return {static_cast<float>(sum.x), static_cast<float>(sum.y), static_cast<float>(sum.z)};
}

float3 LocationVertices::position(const GeoLocation& location) const {
    if (location.kind == Common::kVolume)
        return {location.weights[0], location.weights[1], location.weights[2]};
    return position(of(location));
}

float3 LocationVertices::triangleNormal(const Vertices& vertices) const {
    if (vertices.count != 3)
        return {};
    const float3& a = (*positions_)[vertices.points[0]];
    const double3 u = minus((*positions_)[vertices.points[1]], a),
                  v = minus((*positions_)[vertices.points[2]], a),
                  n{u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
    const double length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
    if (!(length > 0) || !std::isfinite(length))
        return {};
    return {static_cast<float>(n.x / length), static_cast<float>(n.y / length),
            static_cast<float>(n.z / length)};
}

std::vector<float> propertyAt(const Vantor::Object& geometry, const Ostrum::String& property,
                              std::span<const GeoLocation> locations) {
    const LocationVertices vertices(geometry);
    const Ostrum::String component = geometry.propertyTarget(property);
    std::vector<float> result;
    const auto read = [&]<class T>(std::type_identity<T>) {
        const auto values = geometry.propertyData<T>(property);
        if (values)
            result = valuesAt(*values, component, vertices, locations);
        return values != nullptr;
    };
    const auto readFirst = [&]<class... T>(std::type_identity<T>... types) {
        return (read(types) || ...);
    };
    const bool found = readFirst(std::type_identity<bool>{}, std::type_identity<float>{},
                                 std::type_identity<double>{}, std::type_identity<float2>{},
                                 std::type_identity<float3>{}, std::type_identity<float4>{},
                                 std::type_identity<double2>{}, std::type_identity<double3>{},
                                 std::type_identity<double4>{});
    if (!found)
        throw std::runtime_error("the geometry has no property '" + property.str() +
                                 "' of numbers or vectors");
    return result;
}

} // namespace Stratum::io
