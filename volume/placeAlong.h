// From a position to a voxel, along one axis: the same arithmetic for one position and for many.
#pragma once

#include "volume/PositionBlock.h"
#include "volume/alwaysInline.h"

namespace KDX::TileTree3D {

STRATUM_ALWAYS_INLINE float roundDown(float v) {
    return __builtin_floorf(v);
}
STRATUM_ALWAYS_INLINE double roundDown(double v) {
    return __builtin_floor(v);
}

/// Whether a coordinate in index units lies in the range of an `int`; false for NaN.
template <class S>
STRATUM_ALWAYS_INLINE bool isIndexAlong(S v) {
    return v >= static_cast<S>(-0x1p31) && v < static_cast<S>(0x1p31);
}

/// Splits u, the distance from the tile's first sample in its data voxels, into voxel and fraction.
///
/// The distance from the tile's origin is taken in double: for tiles that begin where `S` can no
/// longer tell neighbouring indices apart it would come out wrong by whole voxels, and everywhere
/// else the result is the same. Voxel `lowest` at fraction 0 stands for distances below it, which
/// there are none of unless a topology's offset disagrees with its type or is not finite.
template <class S>
STRATUM_ALWAYS_INLINE void placeAlong(S position, std::int32_t origin, S scale, S offset, S lowest,
                                      S highest, std::int32_t& voxel, S& fraction) {
    constexpr auto kSnap = static_cast<S>(-1e-5F);
    S u = static_cast<S>(static_cast<double>(position) - origin) * scale - offset;
    u = u > kSnap && u < S{0} ? S{0} : u;
    const S below = roundDown(u);
    const S n = highest < below ? highest : below;
    const bool isInside = n >= lowest;
    voxel = static_cast<std::int32_t>(isInside ? n : lowest);
    fraction = isInside ? u - n : S{0};
}

} // namespace KDX::TileTree3D
