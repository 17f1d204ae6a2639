// Texts and numbers in JSON.
#pragma once

#include "io/csvValues.h"

#include <cmath>
#include <string>
#include <string_view>

namespace Stratum::io {

/// A text whose bytes that are no UTF-8 are question marks.
std::string asUtf8(std::string_view text);

/// A text in quotes, and in UTF-8 whatever it is.
std::string jsonText(std::string_view text);

/// A number with all its digits; what JSON has no number for is a text: "nan", "-nan",
/// "inf", "-inf".
template <class Scalar>
std::string jsonNumber(Scalar value) {
    std::string text;
    appendNumber(text, value);
    return std::isfinite(value) ? text : '"' + text + '"';
}

} // namespace Stratum::io
