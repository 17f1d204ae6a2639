// Random locations inside a volume.
#pragma once

#include "KDX/Object.h"
#include "locations/GenerateLocationOptions.h"
#include "locations/generators.h"

#include <cstdint>

namespace Vantor::Sample {

/// A sample that so many attempts have failed for gets one more.
inline constexpr std::uint64_t kVolumeAttempts = 65536;

/// Scatters locations over the cells of a volume that hold density (sample_type other than Surface,
/// where there is such a channel) or lie inside a surface (signed distance at or below 0),
/// uniformly over the space they cover; see collectCells() and CandidateCells. Each is of kind
/// kVolume, with its world position as weights and, as element, the low 32 bits of its cell's
/// number.
///
/// The amount is a count, rounded at random and limited by max_number, or a density that is
/// multiplied by the volume of the cells' bounding box and not limited. A mask, the channel named
/// by mask_property, has samples drawn again until they are kept, whatever mask_control says; those
/// that are given up are left out. A mask of which no channel or other part has the name is none.
///
/// Replaces `locations` and returns true, also when there are no such cells; returns false where
/// the volume has no tree of this shape, none of these channels or a mask that is no channel of
/// this tree. The seed must have been folded. The job's cancellation, failing memory and parts that
/// belong to different trees leave as exceptions.
template <class Traits>
bool scatterInVolume(const KDX::Object& volume, const GenerateLocationOptions& options,
                     Locations& locations);

} // namespace Vantor::Sample
