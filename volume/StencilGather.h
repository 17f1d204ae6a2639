// Copying a stencil's values together from the tiles they lie in.
#pragma once

#include "KDX/Traits.h"
#include "volume/CubicStencil.h"
#include "volume/stencilRows.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>

namespace KDX::TileTree3D::detail {

// Row by row along x, of which the first `kLower`, if as many, come from the lower tile.
template <int kLower, int W, class V>
STRATUM_ALWAYS_INLINE void copyComponents(const V* const* tiles, const int3& begin,
                                          CubicStencil<V>& stencil) {
    const StencilRows<W> rows(begin);
    for (int y = 0; y < 4; ++y)
        for (int z = 0; z < 4; ++z) {
            const V* const* const tile = tiles + rows.tile(y, z);
            const V* const lower = tile[0] + rows.value(y, z) + (W - kLower);
            for (int x = 0; x < 4 && x < kLower; ++x)
                stencil.set(x, y, z, lower[x]);
            if constexpr (kLower < 4) {
                const V* const upper = tile[4] + rows.value(y, z);
                for (int x = kLower; x < 4; ++x)
                    stencil.set(x, y, z, upper[x - kLower]);
            }
        }
}

/// Copies the 4^3 values from index `begin` onwards in the first of 2 x 2 x 2 tiles of W^3 values,
/// place (i, j, k) at tiles[(i * 2 + j) * 2 + k].
template <int W, class V>
void gatherStencil(const V* const* tiles, const int3& begin, CubicStencil<V>& stencil) {
    if constexpr (std::is_arithmetic_v<V>)
        copyStencil<W, 4>(tiles, begin, stencil.values());
    else
        withLowerPart<W>(begin.x, [&]<int kLower>() STRATUM_INLINED {
            copyComponents<kLower, W>(tiles, begin, stencil);
        });
    stencil.finish();
}

// Whole tiles begin at a cache line; where a plane of one is no longer than that, its first value
// will do.
template <int W, class V>
STRATUM_ALWAYS_INLINE void prefetchRows(const V* first, int rows) {
    constexpr std::ptrdiff_t kLine = 64;
    if constexpr (W * W * sizeof(V) == kLine) {
        __builtin_prefetch(first);
    } else {
        const auto* bytes = reinterpret_cast<const char*>(first);
        const std::ptrdiff_t size = rows * W * static_cast<std::ptrdiff_t>(sizeof(V));
        for (std::ptrdiff_t at = 0; at < size; at += kLine)
            __builtin_prefetch(bytes + at);
        __builtin_prefetch(bytes + size - 1);
    }
}

/// Asks for the values that gatherStencil() will read. Inlined, because compilers drop calls of
/// functions that do nothing but prefetch.
template <int W, class V>
STRATUM_ALWAYS_INLINE void prefetchStencil(const V* const* tiles, const int3& begin) {
    const int rowsBelow = std::min(W - begin.y, 4), lastX = begin.x + 3 >= W ? 4 : 0;
    for (int z = 0; z < 4; ++z) {
        const int k = begin.z + z, upperZ = k >= W;
        const int plane = W * W * (k - W * upperZ);
        for (int x = 0; x <= lastX; x += 4) {
            const V* const* const tile = tiles + x + upperZ;
            prefetchRows<W>(tile[0] + plane + W * begin.y, rowsBelow);
            if (rowsBelow < 4)
                prefetchRows<W>(tile[2] + plane, 4 - rowsBelow);
        }
    }
}

} // namespace KDX::TileTree3D::detail
