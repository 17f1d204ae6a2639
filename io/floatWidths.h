// Between single and double precision, NaN included.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace Stratum::io {

/// The same number. NaN keeps its sign, payload and whether it signals, which a conversion by the
/// processor does not.
inline double widened(float value) {
    if (!std::isnan(value))
        return double{value};
    const std::uint64_t bits = std::bit_cast<std::uint32_t>(value);
    return std::bit_cast<double>((bits & 0x80000000U) << 32 | std::uint64_t{0x7FF} << 52 |
                                 (bits & 0x007FFFFFU) << 29);
}

/// The nearest number; infinite beyond the largest one. Undoes widened() bit for bit.
inline float narrowed(double value) {
    if (!std::isnan(value))
        return static_cast<float>(value);
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const auto payload = static_cast<std::uint32_t>(bits >> 29 & 0x007FFFFFU);
    constexpr std::uint32_t kQuiet = 0x00400000U; // without any payload it would be infinite
    return std::bit_cast<float>(static_cast<std::uint32_t>(bits >> 32 & 0x80000000U) | 0x7F800000U |
                                (payload != 0 ? payload : kQuiet));
}

} // namespace Stratum::io
