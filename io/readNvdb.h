// Volumes from .nvdb files.
#pragma once

#include "io/readVdb.h"

#include <string>

namespace Stratum::io {

/// As readVdb(), for the grids of `float`, `double`, 32 and 64-bit integers, and 3-vectors of
/// `float` and `double` of a .nvdb file that is not compressed. Every size and offset in the file
/// is checked against the bytes there are before it is followed.
Volume readNvdb(const std::string& path, const VdbOptions& options = {});

/// Whether this build reads .nvdb files; otherwise readNvdb() throws std::runtime_error.
bool canReadNvdb();

} // namespace Stratum::io
