// Volumes from .vdb files.
#pragma once

#include "io/Volume.h"

#include <limits>
#include <string>

namespace Stratum::io {

struct VdbOptions {
    TreeShape shape = TreeShape::kTwo;
    /// Only the grid of this name; empty for all grids, which must then share one transform.
    std::string grid;
    /// About how much memory the volume may take. Files are small where values repeat, and a tree
    /// need not be: a few hundred bytes can claim more than any machine has.
    double mostBytes = std::numeric_limits<double>::infinity();
};

/// Reads the grids of scalars (float, double, 32 and 64-bit integers) and of 3-vectors of a file as
/// channels of one volume. Values are taken over as they are, integers as `double`; interpolating
/// between voxels gives the same as interpolating in the grid, outside the channels' tiles too,
/// where both have the grid's background.
///
/// A grid may be unusable (other value types) and is then named in the warnings. Throws
/// std::runtime_error with one line that says what is wrong when the file cannot be read, holds no
/// usable grid, its volume would take more memory than allowed, or a grid's transform is none that
/// a tree has: a uniform positive scale and a translation that is a multiple of half a voxel on
/// every axis. Throws Cancelled when the job is cancelled meanwhile.
Volume readVdb(const std::string& path, const VdbOptions& options = {});

/// Whether this build reads .vdb files; otherwise readVdb() throws std::runtime_error.
bool canReadVdb();

} // namespace Stratum::io
