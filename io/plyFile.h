// PLY files of vertices.
#pragma once

#include "io/PlyHeader.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Stratum::io {

/// Reads properties of the element "vertex", one column each; `bytes` are the whole file. Every
/// type of number is exact in a double. Other elements and properties, lists among them, may stand
/// anywhere and are passed over, but the file must hold all that its header claims and nothing
/// more. Throws std::runtime_error naming `source` and the place, Cancelled when the job is
/// cancelled.
std::vector<std::vector<double>> readPlyVertices(std::string_view bytes, const std::string& source,
                                                 std::span<const std::string> names);

} // namespace Stratum::io
