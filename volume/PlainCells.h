// The eight corners of a cell, read from a plain channel.
#pragma once

#include "KDX/Channel.h"
#include "volume/HaloTileCache.h"
#include "volume/haloLayout.h"

#include <array>
#include <cstdint>

namespace KDX::TileTree3D {

/// A cell's lower corner in some tile's values, and the steps to the next value along y and z.
template <class ValueT>
struct Cell {
    const ValueT* lower = nullptr;
    int stepY = 0, stepZ = 0;

    Cell() = default;
    /// The cell whose lower corner's value stands there, in a cube of values `stride` wide.
    Cell(const ValueT* value, int stride) : lower(value), stepY(stride), stepZ(stride * stride) {}
    /// The cell that begins at local voxel n of values stored as the layout says.
    Cell(const ValueT* values, const HaloLayout& layout, const int3& n)
        : lower(values + layout.base + n.x + layout.stride * (n.y + layout.stride * n.z)),
          stepY(layout.stride), stepZ(layout.stride * layout.stride) {}

    const ValueT& at(int x, int y, int z) const { return lower[x + y * stepY + z * stepZ]; }

    /// Asks for the values, which will be read soon: for all lines that they lie in, because one
    /// that is missing costs as much as all together.
    void expect() const {
        for (int z = 0; z < 2; ++z)
            if constexpr (sizeof(ValueT) <= sizeof(double)) { // two rows, within some 64 bytes
                prefetch(&at(0, 0, z));
                prefetch(&at(1, 1, z));
            } else {
                expectRow(&at(0, 0, z));
                expectRow(&at(0, 1, z));
            }
    }

private:
    // Into the second-level cache. Many more lines can be on their way there than to the first
    // level, where requests that come faster than lines arrive are lost.
    static void prefetch(const void* address) { __builtin_prefetch(address, 0, 2); }

    static void expectRow(const ValueT* first) {
        const auto* bytes = reinterpret_cast<const char*>(first);
        for (std::size_t at = 0; at < 2 * sizeof(ValueT); at += 64)
            prefetch(bytes + at);
        prefetch(bytes + 2 * sizeof(ValueT) - 1);
    }
};

/// Trilinear interpolation in a cell: along x first, then y, then z.
template <class ValueT, class PositionT>
[[gnu::always_inline]] inline ValueT trilinear(const Cell<ValueT>& cell, const PositionT& f) {
    using Vantor::Math::lerp;
    const ValueT c00 = lerp(cell.at(0, 0, 0), cell.at(1, 0, 0), f.x);
    const ValueT c10 = lerp(cell.at(0, 1, 0), cell.at(1, 1, 0), f.x);
    const ValueT c01 = lerp(cell.at(0, 0, 1), cell.at(1, 0, 1), f.x);
    const ValueT c11 = lerp(cell.at(0, 1, 1), cell.at(1, 1, 1), f.x);
    return lerp(lerp(c00, c10, f.y), lerp(c01, c11, f.y), f.z);
}

/// The same for floats, four rows at a time and bit for bit.
[[gnu::always_inline]] inline float trilinear(const Cell<float>& cell,
                                              const Vantor::Math::float3& f) {
    using Four = float __attribute__((vector_size(16)));
    using Two = float __attribute__((vector_size(8)));
    const auto rows = [&](int z) {
        Two lower, upper;
        __builtin_memcpy(&lower, &cell.at(0, 0, z), sizeof lower);
        __builtin_memcpy(&upper, &cell.at(0, 1, z), sizeof upper);
        return __builtin_shufflevector(lower, upper, 0, 1, 2, 3);
    };
    const Four z0 = rows(0), z1 = rows(1);
    const Four low = __builtin_shufflevector(z0, z1, 0, 4, 2, 6),
               high = __builtin_shufflevector(z0, z1, 1, 5, 3, 7);
    // In the order (y, z) = 00, 01, 10, 11.
    const Four alongX = (high - low) * f.x + low;
    const Two y0 = __builtin_shufflevector(alongX, alongX, 0, 1),
              y1 = __builtin_shufflevector(alongX, alongX, 2, 3);
    const Two alongY = (y1 - y0) * f.y + y0;
    return (alongY[1] - alongY[0]) * f.z + alongY[0];
}

/// Reads cells of a plain channel: from their tile where that holds all corners, otherwise from the
/// tiles around, or from a halo tile that is made on demand and kept. A copy starts without halo
/// tiles.
template <class Traits, class ValueT>
class PlainCells {
    static constexpr int W = Traits::kVoxelsPerAxis;

public:
    using Plain = Channel<Traits, ValueT, W, 0, 0>;

    /// `channel` may be null for one that never reads.
    PlainCells(const Container<Traits>& container, const Plain* channel, VoxelOffsetType type)
        : container_(&container), channel_(channel), haloAccessor(container.tileAccessor()),
          corner_(type == VoxelOffsetType::kCorner), layout_(haloLayout<Traits>(type)) {}

    /// The cell that begins at voxel n of the tile, whose values are `tile`. Indices n run from -1
    /// (from 0 for offset type 7) to W - 1. Valid until the next cell is read.
    Cell<ValueT> read(const TreeIndex& index, const ValueT* tile, const int3& n) {
        ++sampleCount;
        // The lowest voxel of a cell-centred tile goes through the halo tile as well, so that all
        // positions nearer than a voxel to the lower face take one path.
        const int lowest = corner_ ? 0 : 1;
        if (n.x >= lowest && n.y >= lowest && n.z >= lowest && n.x + 1 < W && n.y + 1 < W &&
            n.z + 1 < W)
            return {tile, {W, 0}, n};
        // Making a halo tile pays once a second sample needs it.
        if (index != outside_.last && !hasHaloTile(index)) {
            outside_.last = index;
            if (gatherCorners(index, n))
                return {outside_.corners.data(), 2};
        }
        return {haloTile(index), layout_, n};
    }

    /// The same from the tile's halo tile, whether the tile holds all corners or not.
    Cell<ValueT> readHalo(const TreeIndex& index, const int3& n) {
        ++sampleCount;
        return {haloTile(index), layout_, n};
    }

private:
    /// The tile of the last cell that was put together from several tiles, and its values. A copy
    /// belongs to another task, whose positions lie elsewhere.
    struct Outside {
        Outside() {} // nobody reads the values before they are written
        Outside(const Outside&) {}
        Outside& operator=(const Outside&) {
            last = {};
            return *this;
        }

        TreeIndex last;
        std::array<ValueT, 8> corners;
    };

    const ValueT* haloTile(const TreeIndex& index);
    bool hasHaloTile(const TreeIndex& index) const {
        return corner_ ? nodeCache.holds(index) : cellCache.holds(index);
    }
    bool gatherCorners(const TreeIndex& index, const int3& n);

    const Container<Traits>* container_;
    const Plain* channel_;
    typename Container<Traits>::ConstTileAccessor haloAccessor;
    bool corner_;
    HaloLayout layout_;
    /// Halo tiles for offset type 7, and those with a layer below for all other types.
    HaloTileCache<Traits, ValueT, W + 1, 0> nodeCache;
    HaloTileCache<Traits, ValueT, W, 1> cellCache;
    /// Cells read, the stamp of the caches.
    std::uint64_t sampleCount = 0;
    Outside outside_;
};

} // namespace KDX::TileTree3D
