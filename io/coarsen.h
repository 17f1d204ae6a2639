// Wider voxels where a volume is smooth.
#pragma once

#include "io/Volume.h"

namespace Stratum::io {

/// A multi-resolution volume from a uniform one: linear sampling gives, at every position, the same
/// as in `volume` to within `tolerance` in every component of every channel, but for the rounding
/// of the samples themselves. Voxels become at most 16 times as wide (25 times with 5 children an
/// axis); regions that were coarse because they are constant stay so.
///
/// Throws std::invalid_argument when the volume is not uniform, that is, when it has data in tiles
/// above the finest ones that are not constant; Cancelled when the job is cancelled meanwhile.
Volume coarsen(const Volume& volume, double tolerance);

} // namespace Stratum::io
