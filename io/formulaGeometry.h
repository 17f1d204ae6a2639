// Meshes made without a file.
#pragma once

#include "io/LoadedGeometry.h"

#include <string>

namespace Stratum::io {

/// The names that formulaGeometry() knows, with commas between them.
std::string formulaGeometryNames();

bool isFormulaGeometry(const std::string& name);

/// A mesh made from a formula. "knot" is a closed tube along the (2, 3) torus knot, of quads, with
/// the properties of points "bands" (0 to 1, smooth windings round the tube) and "along" (0 to 1,
/// the way along the knot), and of faces "checks" (0 or 1). Throws std::invalid_argument for
/// another name.
LoadedGeometry formulaGeometry(const std::string& name);

} // namespace Stratum::io
