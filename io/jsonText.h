// Texts and numbers in JSON.
#pragma once

#include "io/csvValues.h"

#include <cmath>
#include <string>
#include <string_view>

namespace Stratum::io {

/// A text in quotes. Bytes that are no UTF-8 become question marks.
std::string jsonText(std::string_view text);

/// A number with all its digits; what JSON has no number for is a text: "nan", "inf", "-inf".
template <class Scalar>
std::string jsonNumber(Scalar value) {
    std::string text;
    appendNumber(text, value);
    return std::isfinite(value) ? text : '"' + text + '"';
}

} // namespace Stratum::io
