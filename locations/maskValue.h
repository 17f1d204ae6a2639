// What a mask value means: the probability of keeping a sample.
#pragma once

#include "common/Math.h"
#include "common/randomUnit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace Vantor::Sample {

/// The types of property that can be a mask.
#define STRATUM_FOR_EACH_MASK_TYPE(DO)                                                             \
    DO(bool)                                                                                       \
    DO(float)                                                                                      \
    DO(double)                                                                                     \
    DO(Vantor::Math::float2)                                                                       \
    DO(Vantor::Math::float3)                                                                       \
    DO(Vantor::Math::float4)                                                                       \
    DO(Vantor::Math::double2)                                                                      \
    DO(Vantor::Math::double3)                                                                      \
    DO(Vantor::Math::double4)

/// What a value counts as: 0 or 1 for bool, the first component of a vector.
template <class T>
Vantor::Math::ScalarOf<T> maskScalar(const T& value) {
    if constexpr (std::is_same_v<T, bool>)
        return value ? 1.0F : 0.0F;
    else if constexpr (std::is_floating_point_v<T>)
        return value;
    else
        return value.x;
}

/// A value to be blended with others. Infinite ones, which count as 1 or 0, would give NaN where
/// another's weight is 0, and so become finite.
template <class Scalar>
Scalar blendable(Scalar v) {
    constexpr Scalar kHuge = std::numeric_limits<Scalar>::max() / 4;
    return std::isinf(v) ? std::copysign(kHuge, v) : v;
}

/// 0 for NaN.
template <class Scalar>
Scalar clampMask(Scalar v) {
    return std::max(Scalar{0}, std::min(v, Scalar{1}));
}

/// Whether a value rejects whatever is drawn: kept is what exceeds the draw, or inverted what the
/// draw exceeds.
template <class Scalar>
bool isCertainRejection(Scalar v, bool invert) {
    return clampMask(v) == (invert ? Scalar{1} : Scalar{0});
}

/// The draw of index `draw` decides.
template <class Scalar>
bool rejects(Scalar v, std::uint64_t draw, std::uint64_t seed, bool invert) {
    const Scalar w = clampMask(v);
    const float r = randomUnit<float>(draw, seed);
    return invert ? !(r > w) : !(w > r);
}

} // namespace Vantor::Sample
