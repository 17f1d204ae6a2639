// Volumes made without a file.
#pragma once

#include "io/Volume.h"

#include <string>

namespace Stratum::io {

/// The names that formulaVolume() knows, with commas between them.
std::string formulaNames();

/// A volume made from a formula, refined where the field has detail. "sunflower" has the channels
/// "density", "distance" and "velocity" of Sunflower. Throws std::invalid_argument for another
/// name.
Volume formulaVolume(const std::string& name, TreeShape shape = TreeShape::kTwo);

} // namespace Stratum::io
