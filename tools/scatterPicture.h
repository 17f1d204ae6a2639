// The picture of scattered locations.
#pragma once

#include "Results.h"
#include "ScatterCall.h"

#include <string>

namespace Stratum::tools {

/// Draws the locations over the geometry, or in the box of a volume's cells; `name` is the
/// picture's title.
void drawScattered(const ScatterPictureOptions& options, const ScatterSource& source,
                   const Scattered& scattered, const std::string& name, Results& results);

} // namespace Stratum::tools
