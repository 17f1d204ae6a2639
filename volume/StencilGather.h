// Copying a stencil's values together from the tiles they lie in.
#pragma once

#include "KDX/Traits.h"
#include "volume/CubicStencil.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace KDX::TileTree3D::detail {

/// The 4^3 values from index `begin` onwards in the first of 2 x 2 x 2 tiles of W^3 values, place
/// (i, j, k) at tiles[(i * 2 + j) * 2 + k]. Of a row of four along x the first `kLower`, if as
/// many, lie in the lower tile.
template <int kLower, int W, class V>
class StencilGather {
public:
    StencilGather(const std::array<const V*, 8>& tiles, const int3& begin)
        : tiles_(tiles), begin_(begin) {}

    void into(CubicStencil<V>& stencil) const {
        for (int y = 0; y < 4; ++y)
            if constexpr (CubicStencil<V>::kHasRows) {
                std::array<Row, 4> rows;
                for (int z = 0; z < 4; ++z)
                    loadRow(y, z, rows[static_cast<std::size_t>(z)]);
                stencil.setRows(y, rows[0], rows[1], rows[2], rows[3]);
            } else {
                for (int z = 0; z < 4; ++z)
                    copyRow(y, z, stencil);
            }
    }

private:
    using Row = typename CubicStencil<V>::Row;

    // Where a row begins in a tile, and which of the four tiles along y and z that is.
    struct Source {
        std::size_t tile;
        int row;
    };
    Source source(int y, int z) const {
        const int j = begin_.y + y, k = begin_.z + z;
        const int upperY = j >= W, upperZ = k >= W;
        return {static_cast<std::size_t>(2 * upperY + upperZ),
                W * (j - W * upperY + W * (k - W * upperZ))};
    }

    static void load(const V* values, Row& row) { std::memcpy(&row, values, sizeof(row)); }

    // The last values of the lower tile's row and the first ones of the upper tile's.
    void loadRow(int y, int z, Row& row) const {
        const auto [tile, begin] = source(y, z);
        if constexpr (kLower >= 4) {
            load(tiles_[tile] + begin + (W - kLower), row);
        } else {
            Row lower, upper;
            load(tiles_[tile] + begin + (W - 4), lower);
            load(tiles_[4 + tile] + begin, upper);
            row = __builtin_shufflevector(lower, upper, 4 - kLower, 5 - kLower, 6 - kLower,
                                          7 - kLower);
        }
    }

    void copyRow(int y, int z, CubicStencil<V>& stencil) const {
        const auto [tile, row] = source(y, z);
        const V* lower = tiles_[tile] + row + begin_.x;
        for (int x = 0; x < 4 && x < kLower; ++x)
            stencil.set(x, y, z, lower[x]);
        const V* upper = tiles_[4 + tile] + row;
        for (int x = kLower; x < 4; ++x)
            stencil.set(x, y, z, upper[x - kLower]);
    }

    const std::array<const V*, 8>& tiles_;
    int3 begin_;
};

/// Asks for the values that a StencilGather will read. Inlined, because compilers drop calls of
/// functions that do nothing but prefetch.
template <int W, class V>
[[gnu::always_inline]] inline void prefetchStencil(const std::array<const V*, 8>& tiles,
                                                   const int3& begin) {
    for (int z = 0; z < 4; ++z) {
        const int k = begin.z + z, upperZ = k >= W;
        const int plane = W * W * (k - W * upperZ);
        const V* const* const tile = &tiles[static_cast<std::size_t>(upperZ)];
        __builtin_prefetch(tile[0] + plane + W * begin.y);
        __builtin_prefetch(tile[2] + plane);
        __builtin_prefetch(tile[4] + plane + W * begin.y);
        __builtin_prefetch(tile[6] + plane);
    }
}

} // namespace KDX::TileTree3D::detail
