// Stands in for readObj.cpp in builds without its parser.
#include "io/readGeometry.h"

#include <stdexcept>

namespace Stratum::io {

LoadedGeometry readObj(std::string_view, const std::string&) {
    throw std::runtime_error("this build cannot read .obj files: tinyobjloader was not found");
}

bool canReadObj() {
    return false;
}

} // namespace Stratum::io
