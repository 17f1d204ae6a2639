// What stratum scatter works on: a mesh, strands, points or a volume.
#pragma once

#include "ScatterOptions.h"
#include "Vantor/Object.h"
#include "channels.h"
#include "geometryMeasure.h"
#include "locations/GenerateLocationOptions.h"

#include <optional>
#include <string>
#include <vector>

namespace Stratum::tools {

struct ScatterSource {
    /// A volume has its channel under the name that the operator looks for.
    Ostrum::Ptr<Vantor::Object> object;
    VantorExp::Geometry::SampleType type = VantorExp::Geometry::SampleType::Surface;
    std::string mask;                    ///< as the operator finds it; empty for none
    std::optional<WorldBounds> bounds{}; ///< of volumes: of the cells, or else of all data
    ScatterMeasure measure;
    /// What of the options has no effect on it, one sentence each.
    std::vector<std::string> warnings;

    bool isVolume() const { return bounds.has_value(); }
};

/// Reads what FILE names. Throws std::runtime_error when the options do not fit it.
ScatterSource loadScatterSource(const ScatterOptions& options);

} // namespace Stratum::tools
