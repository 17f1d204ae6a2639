// The geometry that FILE names.
#pragma once

#include "commonOptions.h"
#include "io/LoadedGeometry.h"

namespace Stratum::tools {

/// Reads or makes the geometry that FILE names and passes its warnings on.
io::LoadedGeometry loadGeometry(const CommonOptions& options);

} // namespace Stratum::tools
