// The second half of the demonstration: scatter, mask, sample, picture.
#pragma once

#include "Results.h"
#include "commonOptions.h"

#include <cstddef>
#include <string>

namespace Stratum::tools {

/// Locations that were scattered in the embedded tube, the more the denser its fog, and on the
/// embedded knot, which is its surface; and what the tube's channels are there.
struct DemoChain {
    std::size_t inVolume = 0, onMesh = 0, inside = 0; ///< of both together: inside the data
    double meanDensity = 0;                           ///< in the volume
    double surfaceError = 0;                          ///< the largest distance on the mesh
    double seconds = 0;                               ///< of scattering and sampling

    /// Density being (1 - s^2)^2 at the share s of the radius, its mean over a disc is 1/3 and that
    /// of its square 1/5.
    static constexpr double kExpectedDensity = 0.6;
};

/// Runs the chain and draws the locations in the volume, coloured by density.
DemoChain runDemoChain(const CommonOptions& common, Results& picture);

} // namespace Stratum::tools
