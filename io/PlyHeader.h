// The header of a PLY file: what follows it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Stratum::io {

enum class PlyEncoding { kAscii, kLittleEndian, kBigEndian };

enum class PlyType { kInt8, kUint8, kInt16, kUint16, kInt32, kUint32, kFloat, kDouble };

std::size_t sizeOf(PlyType type);
bool isInteger(PlyType type);

struct PlyProperty {
    std::string name;
    PlyType type = PlyType::kFloat;
    bool isList = false;
    PlyType countType = PlyType::kUint8; ///< of a list

    /// The fewest bytes that it takes in a binary file.
    std::size_t leastSize() const { return sizeOf(isList ? countType : type); }
};

struct PlyElement {
    std::string name;
    std::uint64_t count = 0;
    std::vector<PlyProperty> properties;
};

struct PlyHeader {
    PlyEncoding encoding = PlyEncoding::kAscii;
    std::vector<PlyElement> elements;
    std::vector<std::string> comments;
    std::size_t size = 0;  ///< bytes up to the first element
    std::size_t lines = 0; ///< lines up to there
};

/// Reads the header that a file begins with. Lines may end in LF or CR LF. Throws
/// std::runtime_error naming `source` and the line, and so it does when the elements claimed cannot
/// fit into the bytes that follow.
PlyHeader readPlyHeader(std::string_view bytes, const std::string& source);

} // namespace Stratum::io
