// Volumes made without a file.
#pragma once

#include "io/Volume.h"

#include <string>

namespace Stratum::io {

/// The names that formulaVolume() knows, with commas between them.
std::string formulaNames();

bool isFormulaVolume(const std::string& name);

/// A volume made from a formula, refined where the field has detail, with the channels "density",
/// "distance" and "velocity": "sunflower" those of Sunflower, "tube" those of Tube. Throws
/// std::invalid_argument for another name.
Volume formulaVolume(const std::string& name, TreeShape shape = TreeShape::kTwo);

} // namespace Stratum::io
