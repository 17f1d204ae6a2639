// Folding further seed values into a seed.
#pragma once

#include <cstdint>
#include <span>

namespace Vantor::Sample {

/// Folds the values of `more`, in order, into `seed`: a pairing in the manner of Szudzik's elegant
/// pair, so that the order of the values matters. All arithmetic is unsigned and wraps modulo 2^64;
/// a value equal to the current seed takes the second branch. An empty `more` leaves `seed` as it
/// is.
constexpr std::int64_t foldSeed(std::int64_t seed, std::span<const long long> more) {
    auto s = static_cast<std::uint64_t>(seed);
    for (const long long value : more) {
        const auto v = static_cast<std::uint64_t>(value);
        s = s > v ? s * (s + 1) + v : s + v * v;
    }
    return static_cast<std::int64_t>(s);
}

} // namespace Vantor::Sample
