// Positions from CSV text.
#pragma once

#include "Ostrum/Array.h"
#include "common/Math.h"

#include <istream>
#include <string>

namespace Stratum::io {

/// Reads one position a line: x, y and z with commas between them. The first line may be a header
/// that names columns x, y and z, or px, py and pz, wherever they stand; the others are passed
/// over. Without a header, or with one of three other names, there are three columns in that order.
/// Empty lines and lines that begin with '#' are passed over; lines may end in CR LF. NaN and
/// infinities are allowed. Throws std::runtime_error naming `source` and the line for anything
/// else, Cancelled when the job is cancelled meanwhile.
Ostrum::Array<Vantor::Math::float3> readCsvPositions(std::istream& in, const std::string& source);

/// The same from a file. Throws std::runtime_error when it cannot be opened.
Ostrum::Array<Vantor::Math::float3> readCsvPositions(const std::string& path);

} // namespace Stratum::io
