// The rows of a stencil, read from the tiles they lie in.
#pragma once

#include "common/Math.h"
#include "volume/lanes.h"

#include <cstddef>

namespace KDX::TileTree3D::detail {

/// The rows along x of the 4^3 values from index `begin` onwards in the first of 2 x 2 x 2 tiles of
/// W^3 values, place (i, j, k) at tiles[(i * 2 + j) * 2 + k].
template <int W>
class StencilRows {
public:
    STRATUM_ALWAYS_INLINE explicit StencilRows(const Vantor::Math::int3& begin)
        : y_(kAlongY[begin.y]), z_(kAlongZ[begin.z]) {}

    /// Which of the lower four tiles holds the lower end of row (y, z), 0 to 3 each.
    STRATUM_ALWAYS_INLINE std::ptrdiff_t tile(int y, int z) const {
        return y_.tile[y] + z_.tile[z];
    }
    /// Where in it, and in the tile above it along x, the tile's row begins.
    STRATUM_ALWAYS_INLINE std::ptrdiff_t value(int y, int z) const {
        return y_.value[y] + z_.value[z];
    }

private:
    // What each of four voxels along an axis adds to the place of a tile and to that of a value in
    // it.
    struct Steps {
        std::ptrdiff_t tile[4], value[4];
    };
    struct Table {
        Steps steps[W];

        constexpr Table(int tileStep, int valueStep) : steps() {
            for (int begin = 0; begin < W; ++begin)
                for (int i = 0; i < 4; ++i) {
                    const bool isUpper = begin + i >= W;
                    steps[begin].tile[i] = isUpper ? tileStep : 0;
                    steps[begin].value[i] = valueStep * (isUpper ? begin + i - W : begin + i);
                }
        }
        STRATUM_ALWAYS_INLINE const Steps& operator[](int begin) const { return steps[begin]; }
    };
    static constexpr Table kAlongY{2, W}, kAlongZ{1, W*W};

    const Steps &y_, &z_;
};

/// Rows y, y + 1, ... at z, four lanes each, of which the first `kLower`, if as many, come from the
/// lower tile.
template <int kLower, int W, int N, class S>
STRATUM_ALWAYS_INLINE void loadRows(const S* const* tiles, const StencilRows<W>& rows, int y, int z,
                                    Lanes<S, N>& lanes) {
    const auto lower = [&](int i) STRATUM_INLINED {
        constexpr int kFirst = kLower < 4 ? W - 4 : W - kLower;
        return tiles[rows.tile(y + i, z)] + rows.value(y + i, z) + kFirst;
    };
    loadFours<S, N>(lanes, lower);
    if constexpr (kLower < 4) {
        const auto upper = [&](int i) STRATUM_INLINED {
            return tiles[4 + rows.tile(y + i, z)] + rows.value(y + i, z);
        };
        Lanes<S, N> below = lanes, above;
        loadFours<S, N>(above, upper);
        shuffle<Following<N, kLower>>(below, above, lanes, std::make_index_sequence<N>{});
    }
}

/// Copies a stencil, z fastest and x slowest: what interpolation along x, then y, then z adds up
/// lies side by side then. N / 4 rows are taken at a time.
template <int kLower, int W, int N, class S>
STRATUM_ALWAYS_INLINE void copyStencil(const S* const* tiles, const StencilRows<W>& rows,
                                       S* values) {
    // In variables, not in arrays: those would be kept in memory.
    for (int y = 0; y < 4; y += N / 4) {
        Lanes<S, N> v0, v1, v2, v3;
        loadRows<kLower, W, N>(tiles, rows, y, 0, v0);
        loadRows<kLower, W, N>(tiles, rows, y, 1, v1);
        loadRows<kLower, W, N>(tiles, rows, y, 2, v2);
        loadRows<kLower, W, N>(tiles, rows, y, 3, v3);
        transpose<N>(v0, v1, v2, v3);
        store(v0, values + 4 * y);
        store(v1, values + 16 + 4 * y);
        store(v2, values + 32 + 4 * y);
        store(v3, values + 48 + 4 * y);
    }
}

/// Calls use<kLower>() for rows that begin at index `begin` of a tile: how many values of them,
/// four or more for all, lie in it.
template <int W, class Use>
STRATUM_ALWAYS_INLINE void withLowerPart(int begin, const Use& use) {
    switch (W - begin) {
    case 1:
        return use.template operator()<1>();
    case 2:
        return use.template operator()<2>();
    case 3:
        return use.template operator()<3>();
    case 4:
        return use.template operator()<4>();
    default:
        return use.template operator()<5>();
    }
}

/// copyStencil() for any `begin`.
template <int W, int N, class S>
STRATUM_ALWAYS_INLINE void copyStencil(const S* const* tiles, const Vantor::Math::int3& begin,
                                       S* values) {
    const StencilRows<W> rows(begin);
    withLowerPart<W>(begin.x, [&]<int kLower>() STRATUM_INLINED {
        copyStencil<kLower, W, N>(tiles, rows, values);
    });
}

} // namespace KDX::TileTree3D::detail
