// Numbers and columns of sampled values as text.
#pragma once

#include "common/Math.h"

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Stratum::io {

/// A number with as many digits as it takes to read the same bits back; "inf" and "-inf"; "nan" and
/// "-nan", whose payload is lost.
template <class Scalar>
void appendNumber(std::string& text, Scalar value);

/// The columns of a value: its name alone for a scalar; .x .y .z .w for vectors; .m00 .m01 .. with
/// row and column for matrices.
std::vector<std::string> columnNames(std::string_view name, std::size_t componentCount,
                                     int matrixColumns);

/// Columns a row of a matrix type has, 0 for scalars and vectors.
template <class T>
constexpr int matrixColumns() {
    using namespace Vantor::Math;
    return std::is_same_v<T, float3x3>   ? 3
           : std::is_same_v<T, float4x2> ? 2
           : std::is_same_v<T, float4x4> ? 4
                                         : 0;
}

} // namespace Stratum::io
