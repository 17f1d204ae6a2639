// Where the indices of a tree begin.
#pragma once

#include "KDX/Traits.h"

#include <cstdint>
#include <limits>

namespace KDX::TileTree3D {

/// The lowest index that a tile can hold: that of `int`, or -5^13 with five children an axis, where
/// a tile further down would not begin within `int`.
template <class Traits>
inline constexpr std::int64_t kLowestIndex =
    Traits::kChildrenPerAxis == 2 ? std::int64_t{std::numeric_limits<int>::min()}
                                  : -std::int64_t{Traits::tileExtent(0)};

} // namespace KDX::TileTree3D
