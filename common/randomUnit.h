// The stateless random function: every random number is a pure function of an index and a seed, so
// that results do not depend on the number of threads or on scheduling.
#pragma once

#include <bit>
#include <cstdint>

namespace Vantor::Sample {

/// A well-mixed 64-bit hash of `index` under `seed`. Arithmetic wraps modulo 2^64.
constexpr std::uint64_t randomHash(std::uint64_t index, std::uint64_t seed) {
    constexpr std::uint64_t kMultiplier = 0xB4AD5A69595AB2ADULL;
    std::uint64_t h = (std::rotr(seed, 21) ^ index) * kMultiplier;
    h = std::rotl(h ^ (h >> 28), 12);
    h = (h ^ (h >> 32) ^ seed) * kMultiplier;
    h ^= h >> 28;
    h ^= h >> 23;
    return h;
}

/// The hash as a number in [0, 1]: rounding to `Scalar` can give exactly 1. `Scalar` is `float` or
/// `double`; both come from the same hash.
template <class Scalar>
constexpr Scalar randomUnit(std::uint64_t index, std::uint64_t seed) {
    // Conversions of unsigned numbers branch on the highest bit, which no processor foresees here.
    // Half the number, its last bit kept for the rounding, converts without.
    const std::uint64_t h = randomHash(index, seed), large = h >> 63;
    const auto half = static_cast<std::int64_t>(h >> large | (h & large));
    constexpr Scalar kUnits[] = {static_cast<Scalar>(0x1p-64), static_cast<Scalar>(0x1p-63)};
    return static_cast<Scalar>(half) * kUnits[large];
}

} // namespace Vantor::Sample
