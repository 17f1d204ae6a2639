// stratum info for programs.
#pragma once

#include "io/Provenance.h"
#include "io/Volume.h"

#include <string>

namespace Stratum::tools {

/// All that the command says of a volume, as one JSON document.
std::string infoJson(const io::Volume& volume, const std::string& file,
                     const io::Provenance& provenance);

} // namespace Stratum::tools
