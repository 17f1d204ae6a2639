// Random locations along strands.
#pragma once

#include "locations/StrandMask.h"
#include "locations/generators.h"

namespace Vantor::Sample {

/// Scatters locations along strands, uniformly over their length.
///
/// The sum of the lengths is kept in float, segment by segment: over very many segments it drifts
/// from the total, so that short segments get more or fewer samples than their share and a draw
/// near 1 may lie past the last segment. Such a sample is of kind 0; with a mask it is left out. A
/// segment over which the sum is rounded up has samples before its first point, the first weight
/// being above 1, at most 2. Of an infinite length all samples are of kind 0.
///
/// `mask` may be null.
Locations scatterOnStrands(const StrandView& strands, const StrandSamplerBase* mask,
                           const GenerateLocationOptions& options);

} // namespace Vantor::Sample
