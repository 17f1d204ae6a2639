// Scattering sample locations over a geometry.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/RuntimeServices.h"
#include "Vantor/GeoLocation.h"
#include "Vantor/Object.h"
#include "locations/GenerateLocationOptions.h"

namespace Vantor::Sample {

/// Replaces `locations` by random ones on the geometry: on the faces of a mesh or along strands
/// (sample_type Surface), among the points of a point cloud, mesh or strand object (Points), or in
/// the cells of a volume that hold density or lie inside a surface (see scatterInVolume()). Any
/// other geometry leaves `locations` as they were, and so does a volume without such channels, with
/// a line on the standard error stream.
///
/// The same inputs give the same locations, whatever the number of threads: every number drawn
/// depends on the seed and an index alone.
///
/// Negative numbers in the options count as 0, with a warning through `services`, which may be
/// null. A mask property that does not exist counts as none, silently but on strands, and one of an
/// unsuitable target or type as none with a warning; in a volume a part of that name that is no
/// channel makes the volume one that is not recognised. Index arrays of the geometry may be wrong
/// and points may be NaN: what they do not make usable is left out. A cancellation of the job and
/// failing memory leave as exceptions, with `locations` as they were.
STRATUM_API void
generateSampleLocations(const Object& geometry, const GenerateLocationOptions& options,
                        Ostrum::Array<Vantor::Geometry::Common::GeoLocation>& locations,
                        const Ostrum::RuntimeServices* services);

} // namespace Vantor::Sample
