// The elements of an OBJ file, checked line by line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Stratum::io {

/// What a parser of OBJ files is given, and what it must find there.
struct ObjLines {
    /// The same lines with vertices, faces and `l` elements alone, which refer to vertices alone;
    /// all other lines are empty.
    std::string text;
    std::size_t vertexCount = 0;
    std::vector<std::uint32_t> faceSizes, lineSizes; ///< corners of faces, points of `l` elements
};

/// Reads an OBJ file as far as that. Every number must be one, finite and of single precision;
/// every index must name a vertex. Throws std::runtime_error naming `source` and the line.
ObjLines readObjLines(std::string_view bytes, const std::string& source);

} // namespace Stratum::io
