// Stands in for readNvdb.cpp in builds without NanoVDB's headers.
#include "io/readNvdb.h"

#include <stdexcept>

namespace Stratum::io {

Volume readNvdb(const std::string&, const VdbOptions&) {
    throw std::runtime_error("this build cannot read .nvdb files: NanoVDB was not found");
}

bool canReadNvdb() {
    return false;
}

} // namespace Stratum::io
