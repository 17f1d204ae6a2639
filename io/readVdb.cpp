// Stands in for readVdb.cpp in builds without OpenVDB.
#include "io/readVdb.h"

#include <stdexcept>

namespace Stratum::io {

Volume readVdb(const std::string&, const VdbOptions&) {
    throw std::runtime_error("this build cannot read .vdb files: OpenVDB was not found");
}

bool canReadVdb() {
    return false;
}

} // namespace Stratum::io
