// How much of a geometry there is to scatter on.
#pragma once

#include "Vantor/GeoLocation.h"
#include "Vantor/Object.h"
#include "locations/GenerateLocationOptions.h"

#include <optional>
#include <string>

namespace Stratum::tools {

/// What locations lie on, and how much of it there is.
struct ScatterMeasure {
    Vantor::Geometry::Common::LocationKind location = Vantor::Geometry::Common::kNoLocation;
    std::string kind, name; ///< "faces" and "area", for people
    double total = 0;
    /// Of volumes only: of the box around their cells.
    std::optional<double> boxVolume = {};
    std::string channel = {}; ///< of volumes only
    /// Triangles or segments that get nothing: with points that are no numbers, or too large.
    std::size_t leftOut = 0;
};

/// The area of a mesh, the length of strands or the number of points, in double precision. As for
/// the operator, triangles and segments count whose own measure is a finite single.
ScatterMeasure measureGeometry(const Vantor::Object& geometry,
                               VantorExp::Geometry::SampleType type);

} // namespace Stratum::tools
