// Copying a stencil's values together from the tiles they lie in.
#pragma once

#include "KDX/Traits.h"
#include "volume/CubicStencil.h"

#include <algorithm>
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
        : tiles_(tiles), beginX_(begin.x) {
        for (int i = 0; i < 4; ++i) {
            const auto at = static_cast<std::size_t>(i);
            const int upperY = begin.y + i >= W, upperZ = begin.z + i >= W;
            y_[at] = {2 * upperY, W * (begin.y + i - W * upperY)};
            z_[at] = {upperZ, W * W * (begin.z + i - W * upperZ)};
        }
    }

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

    // What a step along y or z adds to the place of a tile and to that of a value in it.
    struct Step {
        int tile, value;
    };
    struct Source {
        std::size_t tile;
        int row;
    };
    Source source(int y, int z) const {
        const Step &alongY = y_[static_cast<std::size_t>(y)],
                   &alongZ = z_[static_cast<std::size_t>(z)];
        return {static_cast<std::size_t>(alongY.tile + alongZ.tile), alongY.value + alongZ.value};
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
        const V* lower = tiles_[tile] + row + beginX_;
        for (int x = 0; x < 4 && x < kLower; ++x)
            stencil.set(x, y, z, lower[x]);
        const V* upper = tiles_[4 + tile] + row;
        for (int x = kLower; x < 4; ++x)
            stencil.set(x, y, z, upper[x - kLower]);
    }

    const std::array<const V*, 8>& tiles_;
    int beginX_;
    std::array<Step, 4> y_, z_;
};

// Whole tiles begin at a cache line; where a plane of one is no longer than that, its first value
// will do.
template <int W, class V>
[[gnu::always_inline]] inline void prefetchRows(const V* first, int rows) {
    constexpr std::ptrdiff_t kLine = 64;
    if constexpr (W * W * sizeof(V) == kLine) {
        __builtin_prefetch(first);
    } else {
        const auto* bytes = reinterpret_cast<const char*>(first);
        const std::ptrdiff_t size = rows * W * static_cast<std::ptrdiff_t>(sizeof(V));
        for (std::ptrdiff_t at = 0; at < size; at += kLine)
            __builtin_prefetch(bytes + at);
        if (size > 0)
            __builtin_prefetch(bytes + size - 1);
    }
}

/// Asks for the values that a StencilGather will read. Inlined, because compilers drop calls of
/// functions that do nothing but prefetch.
template <int W, class V>
[[gnu::always_inline]] inline void prefetchStencil(const std::array<const V*, 8>& tiles,
                                                   const int3& begin) {
    const int rowsBelow = std::min(W - begin.y, 4);
    for (int z = 0; z < 4; ++z) {
        const int k = begin.z + z, upperZ = k >= W;
        const int plane = W * W * (k - W * upperZ);
        const V* const* const tile = &tiles[static_cast<std::size_t>(upperZ)];
        prefetchRows<W>(tile[0] + plane + W * begin.y, rowsBelow);
        prefetchRows<W>(tile[4] + plane + W * begin.y, rowsBelow);
        prefetchRows<W>(tile[2] + plane, 4 - rowsBelow);
        prefetchRows<W>(tile[6] + plane, 4 - rowsBelow);
    }
}

} // namespace KDX::TileTree3D::detail
