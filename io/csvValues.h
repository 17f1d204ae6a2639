// Sampled values as CSV text.
#pragma once

#include "Ostrum/Array.h"
#include "common/Math.h"
#include "io/OutputFile.h"

#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Stratum::io {

/// A number with as many digits as it takes to read the same bits back; "nan", "inf" and "-inf".
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

/// Writes a header and one line a position: x, y, z and the value's components.
template <class T>
void writeCsvValues(OutputFile& out, std::string_view name,
                    const Ostrum::Array<Vantor::Math::float3>& positions,
                    const Ostrum::Array<T>& values) {
    constexpr std::size_t kComponents = Vantor::Math::kComponentCount<T>;
    std::string line = "x,y,z";
    for (const auto& column : columnNames(name, kComponents, matrixColumns<T>()))
        line += "," + column;
    out.write(line + "\n");
    for (std::size_t i = 0; i < positions.size(); ++i) {
        line.clear();
        for (const float coordinate : Vantor::Math::toComponents(positions[i])) {
            appendNumber(line, coordinate);
            line += ',';
        }
        for (const auto component : Vantor::Math::toComponents(values[i])) {
            appendNumber(line, component);
            line += ',';
        }
        line.back() = '\n';
        out.write(line);
    }
}

} // namespace Stratum::io
