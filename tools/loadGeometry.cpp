#include "loadGeometry.h"

#include "Kelvane/Logger.h"
#include "Terminal.h"
#include "io/Cancelled.h"
#include "io/formulaGeometry.h"
#include "io/readGeometry.h"

#include <string_view>

namespace Stratum::tools {

io::LoadedGeometry loadGeometry(const CommonOptions& options) {
    constexpr std::string_view kFormula = "formula:";
    const Kelvane::Logger::timer timer("load geometry");
    io::LoadedGeometry geometry = options.file.starts_with(kFormula)
                                      ? io::formulaGeometry(options.file.substr(kFormula.size()))
                                      : io::readGeometry(options.file);
    if (!options.quiet)
        for (const auto& warning : geometry.warnings)
            warn(warning);
    io::throwIfCancelled();
    return geometry;
}

} // namespace Stratum::tools
