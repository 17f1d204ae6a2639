// From an amount to a number of samples.
#pragma once

#include "common/randomUnit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Vantor::Sample {

/// An amount as a whole number: up with the probability of its fraction, else down. NaN and
/// infinities stay what they are.
inline double roundAtRandom(double amount, std::uint64_t seed) {
    const double whole = std::floor(amount);
    return amount - whole > randomUnit<double>(0, seed) ? std::ceil(amount) : whole;
}

/// The whole part of an amount, from 0 (also for NaN) to the limit.
inline std::uint64_t wholeCount(double amount, std::uint64_t limit) {
    if (!(amount >= 1))
        return 0;
    // The limit as a double may lie above it.
    return amount >= static_cast<double>(limit)
               ? limit
               : std::min(limit, static_cast<std::uint64_t>(amount));
}

} // namespace Vantor::Sample
