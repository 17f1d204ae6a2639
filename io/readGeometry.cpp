#include "io/readGeometry.h"

#include "io/lowerCase.h"
#include "io/readFile.h"

#include <stdexcept>

namespace Stratum::io {

LoadedGeometry readGeometry(const std::string& path) {
    const std::string source = sourceName(path), bytes = readFile(path), name = lowerCase(path);
    if (bytes.starts_with("ply\n") || bytes.starts_with("ply\r\n") || name.ends_with(".ply"))
        return readPlyGeometry(bytes, source);
    if (path == "-" || name.ends_with(".obj"))
        return readObj(bytes, source);
    throw std::runtime_error("cannot read '" + path + "': geometry comes from .obj and .ply files");
}

} // namespace Stratum::io
