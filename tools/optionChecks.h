// Checks of options' values, where CLI11's own take NaN and clip whole numbers that are too large.
#pragma once

#include "io/parseNumber.h"

#include <cmath>
#include <string>
#include <type_traits>

namespace Stratum::tools {

/// What is wrong with a text that is no number, or NaN; empty otherwise.
inline std::string isNumber(const std::string& text) {
    const auto number = io::parseNumber<double>(text);
    return number && !std::isnan(*number) ? "" : "a number is wanted, not " + text;
}

/// Likewise of a text that is no whole number of type T, of 64 bits.
template <class T>
std::string isWhole(const std::string& text) {
    const char* range = std::is_signed_v<T> ? "-2^63 to 2^63 - 1" : "0 to 2^64 - 1";
    return io::parseNumber<T>(text)
               ? ""
               : "a whole number from " + std::string(range) + " is wanted, not " + text;
}

} // namespace Stratum::tools
