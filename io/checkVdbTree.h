// Whether the tree of a grid in a .vdb file holds what it claims to.
#pragma once

#include <cstdint>
#include <istream>

namespace Stratum::io {

/// How the tree of a grid is written: nodes of 32^3, 16^3 and 8^3 entries, as version 222 of the
/// format and later ones have them.
struct VdbTreeFormat {
    std::int64_t valueBytes = 0; ///< of a value that stands by itself
    std::int64_t runBytes = 0;   ///< of one among others, which may be of half precision
    bool omitsInactive = false;  ///< whether runs leave out values that are not active
    bool isBlosc = false;        ///< of Blosc; else of zlib
    bool repeatsMasks = false;   ///< whether the mask before a leaf's values is the one that counts
};

/// Follows a tree with compressed values from where the stream, which throws at its end, stands.
/// OpenVDB reads a run of values that claims to be uncompressed into memory for as many as there
/// should be, and compares the sizes afterwards; a damaged file would so write over other memory.
/// Throws std::runtime_error for a run that claims another size, or more than the file holds.
void checkVdbTree(std::istream& in, std::int64_t fileSize, const VdbTreeFormat& format);

} // namespace Stratum::io
