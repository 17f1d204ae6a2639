// The one routine behind every halo: what a channel has, at a tile's own depth, in and around it.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Container.h"
#include "KDX/HaloBlock.h"
#include "KDX/RestrictedTiles.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace KDX::TileTree3D {

/// Fills halo tiles with `lower` layers below and `upper` above the tile on each axis.
template <class Traits, class T>
class HaloTile {
    static constexpr int B = Traits::kChildrenPerAxis, W = Traits::kVoxelsPerAxis;
    static constexpr int kLayersAtMost = 2;

public:
    using Plain = Channel<Traits, T, W, 0, 0>;
    using Tree = TileTree<Traits>;
    using Accessor = typename Container<Traits>::ConstTileAccessor;

    HaloTile(const Plain& channel, const T& absent, VoxelOffsetType type, int lower, int upper)
        : channel_(channel), absent_(absent), lower_(lower), width_(W + lower + upper),
          upperEnd_(W + upper) {
        for (int axis = 0; axis < 3; ++axis)
            stencils_[axis] =
                (static_cast<int>(type) >> axis & 1) ? &kCornerStencils : &kCentredStencils;
    }

    /// The tiles of a halo channel on the channel's tree.
    HaloTile(const Plain& channel, const T& absent)
        : HaloTile(channel, absent, channel.tree()->offsetType(),
                   channel.tree()->offsetType() == VoxelOffsetType::kCorner ? 0 : 1, 1) {}

    int valueCount() const { return width_ * width_ * width_; }

    using Block = HaloBlock<Traits, T>;
    Block makeBlock() const { return Block(channel_, lower_); }

    /// As fill(), for tiles that mostly follow each other: `block` is the one used for the last.
    template <class ParentValues>
    void fill(const TreeIndex& index, Block& block, Accessor& accessor,
              const ParentValues& parentValues, T* out) const {
        typename Block::Values values;
        if (block.values(*channel_.tree()->tile(index), values)) [[likely]]
            copyTile(values, out);
        else
            fill(index, accessor, parentValues, out);
    }

    /// Fills `out` for the tile. `parentValues()` gives the parent's halo tile of the same layout;
    /// it is asked for only where a coarser neighbour holds data.
    template <class ParentValues>
    void fill(const TreeIndex& index, Accessor& accessor, const ParentValues& parentValues,
              T* out) const {
        const auto& tile = *channel_.tree()->tile(index);
        Neighbours found;
        findNeighbours(tile, index, accessor, found);
        forEachDirection(
            [&](const int3& d) { fillBlock(tile, found[place(d)], d, parentValues, out); });
    }

private:
    using Tile = TileTree3D::Tile<Traits, Traits::kChildCount>;

    // Where a voxel lies between its parent's voxels: between n and n + 1 at fraction f, from the
    // parent's origin. By child cell and local index -1 .. W + 1.
    struct Stencil {
        int n;
        Vantor::Math::ScalarOf<T> f;
    };
    using Stencils = std::array<std::array<Stencil, W + 1 + kLayersAtMost>, B>;

    static constexpr Stencils makeStencils(bool centred) {
        // The parent's coordinate (q + o) / B - o for q = cell * W + m, as an exact fraction.
        const std::int64_t scale = centred ? 2 : 1, denominator = scale * B;
        Stencils stencils{};
        for (int cell = 0; cell < B; ++cell)
            for (int m = -1; m < W + kLayersAtMost; ++m) {
                const std::int64_t numerator = scale * (cell * W + m) + (centred ? 1 - B : 0);
                const std::int64_t n = floorDiv(numerator, denominator);
                stencils[cell][m + 1] = {
                    static_cast<int>(n),
                    static_cast<Vantor::Math::ScalarOf<T>>(numerator - n * denominator) /
                        static_cast<Vantor::Math::ScalarOf<T>>(denominator)};
            }
        return stencils;
    }
    static constexpr Stencils kCentredStencils = makeStencils(true);
    static constexpr Stencils kCornerStencils = makeStencils(false);

    int flat(int i, int j, int k) const {
        return (i + lower_) + width_ * ((j + lower_) + width_ * (k + lower_));
    }

    // The local indices that lie in the neighbour in direction -1, 0 or +1.
    int blockBegin(int d) const { return d < 0 ? -lower_ : d == 0 ? 0 : W; }
    int blockEnd(int d) const { return d < 0 ? 0 : d == 0 ? W : upperEnd_; }

    template <class F>
    void forEachVoxel(const int3& d, const F& f) const {
        for (int k = blockBegin(d.z); k < blockEnd(d.z); ++k)
            for (int j = blockBegin(d.y); j < blockEnd(d.y); ++j)
                for (int i = blockBegin(d.x); i < blockEnd(d.x); ++i)
                    f(i, j, k);
    }

    template <class F>
    void forEachDirection(const F& f) const {
        for (int dz = -lower_; dz <= 1; ++dz)
            for (int dy = -lower_; dy <= 1; ++dy)
                for (int dx = -lower_; dx <= 1; ++dx)
                    f(int3{dx, dy, dz});
    }

    // By direction: the deepest tile, not deeper than the tile itself, that covers the neighbour
    // cell.
    using Neighbours = std::array<TreeIndex, 27>;
    static std::size_t place(const int3& d) { return Block::place(d.x, d.y, d.z); }

    // Two cells an axis are found at a time: those at 0 and 1, or at -1 and 0 and then at 1.
    void findNeighbours(const Tile& tile, const TreeIndex& index, Accessor& accessor,
                        Neighbours& found) const {
        const std::int64_t extent = tile.tileVoxelWidth();
        const int3& origin = tile.tijk();
        for (int z = -lower_; z <= 1; z += 2)
            for (int y = -lower_; y <= 1; y += 2)
                for (int x = -lower_; x <= 1; x += 2) {
                    const int3 count{x < 1 ? 2 : 1, y < 1 ? 2 : 1, z < 1 ? 2 : 1};
                    std::array<TreeIndex, 8> block;
                    accessor.tileBlock(WideIndex{origin.x + x * extent, origin.y + y * extent,
                                                 origin.z + z * extent},
                                       count, index.depth, block);
                    for (int i = 0; i < count.x; ++i)
                        for (int j = 0; j < count.y; ++j)
                            for (int k = 0; k < count.z; ++k)
                                found[place({x + i, y + j, z + k})] =
                                    block[static_cast<std::size_t>((i * 2 + j) * 2 + k)];
                }
    }

    // The whole tile from neighbours that all hold values at its depth, row by row.
    void copyTile(const typename Block::Values& values, T* out) const {
        if (lower_ == 0)
            copyRows<0, 1>(values, out);
        else if (upperEnd_ == W + 1)
            copyRows<1, 1>(values, out);
        else
            copyRows<1, kLayersAtMost>(values, out);
    }

    template <int lower, int upper>
    static void copyRows(const typename Block::Values& values, T* out) {
        const auto planes = [&](int dz, int begin, int end) {
            for (int k = begin; k < end; ++k) {
                const auto rows = [&](int dy, int first, int last) {
                    const T* const* const along = &values[Block::place(0, dy, dz)];
                    const int row = W * (first + W * k);
                    const T *below = lower > 0 ? along[-1] + row : nullptr, *own = along[0] + row,
                            *above = along[1] + row;
                    for (int j = first; j < last; ++j) {
                        if constexpr (lower > 0) {
                            *out++ = below[W - 1];
                            below += W;
                        }
                        std::memcpy(out, own, W * sizeof(T));
                        std::memcpy(out + W, above, upper * sizeof(T));
                        out += W + upper;
                        own += W;
                        above += W;
                    }
                };
                if constexpr (lower > 0)
                    rows(-1, W - lower, W);
                rows(0, 0, W);
                rows(1, 0, upper);
            }
        };
        if constexpr (lower > 0)
            planes(-1, W - lower, W);
        planes(0, 0, W);
        planes(1, 0, upper);
    }

    template <class ParentValues>
    void fillBlock(const Tile& tile, const TreeIndex& found, const int3& d,
                   const ParentValues& parentValues, T* out) const {
        if (found.depth == tile.depth()) {
            const auto values = tileValues(channel_, found);
            if (values)
                return copyBlock(d, values, out);
        } else if (found.isValid() && channel_.tileData(found)) {
            return interpolateBlock(tile, d, parentValues(), out);
        }
        forEachVoxel(d, [&](int i, int j, int k) { out[flat(i, j, k)] = absent_; });
    }

    // A whole row has a length that the compiler knows: a call to copy so few values would cost
    // more than the copying.
    static void copyRow(const T* from, int count, T* to) {
        if (count == W) {
            for (int i = 0; i < W; ++i)
                to[i] = from[i];
        } else {
            to[0] = from[0];
            if (count == kLayersAtMost)
                to[1] = from[1];
        }
    }

    void copyBlock(const int3& d, const TileValues<Traits, T>& from, T* out) const {
        const int shift = W * (d.x + W * (d.y + W * d.z));
        const int count = blockEnd(d.x) - blockBegin(d.x);
        for (int k = blockBegin(d.z); k < blockEnd(d.z); ++k)
            for (int j = blockBegin(d.y); j < blockEnd(d.y); ++j) {
                const int source = blockBegin(d.x) + W * (j + W * k) - shift;
                T* target = out + flat(blockBegin(d.x), j, k);
                if (!from.present)
                    copyRow(from.values + source, count, target);
                else
                    for (int i = 0; i < count; ++i)
                        target[i] = from.has(source + i) ? from.values[source + i] : absent_;
            }
    }

    // Trilinear in the parent's halo tile. A fraction of 0 takes the value itself, and never looks
    // at what lies beyond it.
    void interpolateBlock(const Tile& tile, const int3& d, const T* parent, T* out) const {
        using Vantor::Math::lerp;
        const int3 cell = channel_.tree()->tile(tile.parentTreeIndex())->childIJK(tile.tijk());
        const auto stencil = [&](int axis, int childCell, int m) {
            return (*stencils_[axis])[childCell][m + 1];
        };
        forEachVoxel(d, [&](int i, int j, int k) {
            const Stencil x = stencil(0, cell.x, i), y = stencil(1, cell.y, j),
                          z = stencil(2, cell.z, k);
            const auto alongX = [&](int py, int pz) {
                const T& a = parent[flat(x.n, py, pz)];
                return x.f == 0 ? a : lerp(a, parent[flat(x.n + 1, py, pz)], x.f);
            };
            const auto alongY = [&](int pz) {
                const T a = alongX(y.n, pz);
                return y.f == 0 ? a : lerp(a, alongX(y.n + 1, pz), y.f);
            };
            const T a = alongY(z.n);
            out[flat(i, j, k)] = z.f == 0 ? a : lerp(a, alongY(z.n + 1), z.f);
        });
    }

    const Plain& channel_;
    T absent_;
    int lower_, width_, upperEnd_;
    std::array<const Stencils*, 3> stencils_;
};

} // namespace KDX::TileTree3D
