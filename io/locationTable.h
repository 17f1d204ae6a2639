// Locations as rows of numbers.
#pragma once

#include "io/ColumnTable.h"

#include "Vantor/GeoLocation.h"
#include "Vantor/Object.h"

#include <span>

namespace Stratum::io {

/// The columns are x, y, z in world units and element; on faces also nx, ny, nz, the unit normal of
/// the triangle, corner0 to corner2 and weight0 to weight2; on strands point0, point1 and weight0,
/// weight1; in a volume the element is the cell. All locations must be of that kind, and on that
/// geometry; no locations have the columns all the same.
ColumnTable locationTable(const Vantor::Object& geometry,
                          Vantor::Geometry::Common::LocationKind kind,
                          std::span<const Vantor::Geometry::Common::GeoLocation> locations);

} // namespace Stratum::io
