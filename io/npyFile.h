// NumPy's .npy files of floating-point numbers.
#pragma once

#include "io/OutputFile.h"
#include "io/SampleTable.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace Stratum::io {

/// Reads an array of shape (N, 3) of '<f4', '>f4', '<f8' or '>f8', in C or Fortran order; or one of
/// records of numbers, of shape (N,), with fields x, y and z of these types. Either of format
/// version 1, 2 or 3; `bytes` are the whole file. Throws std::runtime_error naming `source`.
std::vector<std::array<double, 3>> readNpyTriples(std::string_view bytes,
                                                  const std::string& source);

/// Writes the values alone, little-endian and in C order: of shape (N,) for scalars, (N, C) for
/// vectors and (N, R, C) for matrices.
void writeNpyValues(OutputFile& out, const SampleTable& table);

} // namespace Stratum::io
