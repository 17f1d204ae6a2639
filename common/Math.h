// The math value types: plain records of their components, as volumes store them and operators
// hand them over, with the component view that generic code interpolates through.
#pragma once

#include "common/sharedType.h"

#include <array>
#include <bit>
#include <cstddef>
#include <type_traits>

namespace Vantor::Math {

struct STRATUM_SHARED_TYPE float2 {
    float x, y;
    bool operator==(const float2&) const = default;
};
struct STRATUM_SHARED_TYPE float3 {
    float x, y, z;
    bool operator==(const float3&) const = default;
};
struct STRATUM_SHARED_TYPE float4 {
    float x, y, z, w;
    bool operator==(const float4&) const = default;
};
struct STRATUM_SHARED_TYPE double2 {
    double x, y;
    bool operator==(const double2&) const = default;
};
struct STRATUM_SHARED_TYPE double3 {
    double x, y, z;
    bool operator==(const double3&) const = default;
};
struct STRATUM_SHARED_TYPE double4 {
    double x, y, z, w;
    bool operator==(const double4&) const = default;
};
struct STRATUM_SHARED_TYPE int3 {
    int x, y, z;
    bool operator==(const int3&) const = default;
};

/// Matrices are stored row by row: m[row][column].
struct STRATUM_SHARED_TYPE float3x3 {
    float m[3][3];
    bool operator==(const float3x3&) const = default;
};
struct STRATUM_SHARED_TYPE float4x2 {
    float m[4][2];
    bool operator==(const float4x2&) const = default;
};
struct STRATUM_SHARED_TYPE float4x4 {
    float m[4][4];
    bool operator==(const float4x4&) const = default;
};

/// A box of points `P` with coordinates `S`; both corners belong to it, and it is empty when any
/// component of `min` exceeds that of `max`.
template <class P, class S>
struct STRATUM_SHARED_TYPE bbox {
    using Scalar = S;
    P min, max;
    bool operator==(const bbox&) const = default;
};

constexpr int3 operator+(const int3& a, const int3& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr int3 operator-(const int3& a, const int3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr int3 operator*(const int3& a, int s) {
    return {a.x * s, a.y * s, a.z * s};
}

constexpr float3 operator*(const float3& a, float s) {
    return {a.x * s, a.y * s, a.z * s};
}
constexpr double3 operator*(const double3& a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}

/// The type of a value's components: `float` or `double`.
template <class T>
using ScalarOf = std::conditional_t<std::is_same_v<T, double> || std::is_same_v<T, double2> ||
                                        std::is_same_v<T, double3> || std::is_same_v<T, double4>,
                                    double, float>;

template <class T>
inline constexpr std::size_t kComponentCount = sizeof(T) / sizeof(ScalarOf<T>);

/// The components of a value, in storage order (matrices row by row).
template <class T>
using Components = std::array<ScalarOf<T>, kComponentCount<T>>;

template <class T>
constexpr Components<T> toComponents(const T& value) {
    return std::bit_cast<Components<T>>(value);
}

template <class T>
constexpr T fromComponents(const Components<T>& components) {
    return std::bit_cast<T>(components);
}

/// The value whose components all equal `s`.
template <class T>
constexpr T splat(ScalarOf<T> s) {
    Components<T> components{};
    components.fill(s);
    return fromComponents<T>(components);
}

/// (b - a) * t + a in every component: for finite values whose difference does not overflow exactly
/// a at t = 0 and exact for a == b; at t = 1 it may miss b by a rounding.
template <class T>
constexpr T lerp(const T& a, const T& b, ScalarOf<T> t) {
    if constexpr (std::is_floating_point_v<T>) {
        return (b - a) * t + a;
    } else {
        const auto from = toComponents(a);
        const auto to = toComponents(b);
        Components<T> result;
        for (std::size_t c = 0; c < result.size(); ++c)
            result[c] = (to[c] - from[c]) * t + from[c];
        return fromComponents<T>(result);
    }
}

} // namespace Vantor::Math
