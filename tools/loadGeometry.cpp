#include "loadGeometry.h"

#include "Kelvane/Logger.h"
#include "Terminal.h"
#include "io/Cancelled.h"
#include "io/formulaGeometry.h"
#include "io/readGeometry.h"

namespace Stratum::tools {

io::LoadedGeometry loadGeometry(const CommonOptions& options) {
    const Kelvane::Logger::timer timer("load geometry");
    io::LoadedGeometry geometry = isFormula(options.file)
                                      ? io::formulaGeometry(formulaName(options.file))
                                      : io::readGeometry(options.file);
    if (!options.quiet)
        for (const auto& warning : geometry.warnings)
            warn(warning);
    io::throwIfInterrupted();
    return geometry;
}

} // namespace Stratum::tools
