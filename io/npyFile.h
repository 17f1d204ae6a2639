// NumPy's .npy files of floating-point numbers.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Stratum::io {

/// Reads an array of shape (N, 3) of '<f4', '>f4', '<f8' or '>f8', in C or Fortran order; or one of
/// records of numbers, of shape (N,), with fields x, y and z of these types. Either of format
/// version 1, 2 or 3; `bytes` are the whole file. Throws std::runtime_error naming `source`.
std::vector<std::array<double, 3>> readNpyTriples(std::string_view bytes,
                                                  const std::string& source);

/// What an .npy file of version 1 begins with: the numbers that follow are in C order, of a type as
/// NumPy writes it, which is a text in quotes or a list of a record's fields.
std::string npyHeader(const std::string& type, std::span<const std::uint64_t> shape);

} // namespace Stratum::io
