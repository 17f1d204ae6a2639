// The one routine behind every halo: what a channel has, at a tile's own depth, in and around it.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Container.h"
#include "KDX/RestrictedTiles.h"

#include <algorithm>
#include <array>
#include <vector>

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

    int valueCount() const { return width_ * width_ * width_; }

    /// Fills `out` for the tile. `parentValues()` gives the parent's halo tile of the same layout;
    /// it is asked for only where a coarser neighbour holds data.
    template <class ParentValues>
    void fill(const TreeIndex& index, Accessor& accessor, const ParentValues& parentValues,
              T* out) const {
        const Tree& tree = *channel_.tree();
        const auto& tile = *tree.tile(index);
        for (int dz = lower_ > 0 ? -1 : 0; dz <= 1; ++dz)
            for (int dy = lower_ > 0 ? -1 : 0; dy <= 1; ++dy)
                for (int dx = lower_ > 0 ? -1 : 0; dx <= 1; ++dx)
                    fillBlock(tile, index, {dx, dy, dz}, accessor, parentValues, out);
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

    // The deepest tile, not deeper than the tile itself, that covers its neighbour cell.
    static typename Tree::Record neighbour(const Tile& tile, const TreeIndex& index, const int3& d,
                                           Accessor& accessor) {
        if (d == int3{0, 0, 0})
            return {tile.tijk(), index};
        const std::int64_t extent = tile.tileVoxelWidth();
        const int3& origin = tile.tijk();
        return accessor.tileImpl(
            WideIndex{origin.x + d.x * extent, origin.y + d.y * extent, origin.z + d.z * extent},
            tile.depth());
    }

    template <class ParentValues>
    void fillBlock(const Tile& tile, const TreeIndex& index, const int3& d, Accessor& accessor,
                   const ParentValues& parentValues, T* out) const {
        const auto found = neighbour(tile, index, d, accessor);
        if (found && found.depth() == tile.depth()) {
            const auto values = tileValues(channel_, found.treeIndex());
            if (values)
                return copyBlock(d, values, out);
        } else if (found && channel_.tileData(found.treeIndex())) {
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

/// The halo tiles of a tile's ancestors, one slot a depth: while tiles of one parent are filled in
/// turn, each ancestor is made once.
template <class Traits, class T>
class HaloChain {
public:
    explicit HaloChain(const HaloTile<Traits, T>& halo) : halo_(halo) {}

    /// The halo tile of the parent of the tile, resolved through its own parents as far as values
    /// call for it. The tile must have a parent.
    const T* parentOf(const TreeIndex& index, const TileTree<Traits>& tree,
                      typename Container<Traits>::ConstTileAccessor& accessor) {
        const TreeIndex parent = tree.tile(index)->parentTreeIndex();
        Slot& slot = slots_[parent.depth];
        if (slot.index != parent.index) {
            slot.values.resize(static_cast<std::size_t>(halo_.valueCount()));
            slot.index = -1;
            halo_.fill(
                parent, accessor, [&] { return parentOf(parent, tree, accessor); },
                slot.values.data());
            slot.index = parent.index;
        }
        return slot.values.data();
    }

private:
    struct Slot {
        std::int64_t index = -1;
        std::vector<T, Ostrum::Allocator<T>> values;
    };
    const HaloTile<Traits, T>& halo_;
    std::array<Slot, Traits::kDepthCount> slots_;
};

} // namespace KDX::TileTree3D
