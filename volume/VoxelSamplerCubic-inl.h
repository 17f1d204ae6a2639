#pragma once

#include "KDX/partsFit.h"
#include "volume/CubicGeneralPath.h"
#include "volume/VoxelSamplerCubic.h"

#include <cmath>
#include <stdexcept>

namespace KDX::TileTree3D {

namespace detail {

// The nearest fraction in [0, 1).
template <class S>
S toFraction(S f) {
    if (!(f > 0))
        return 0;
    return f < 1 ? f : std::nextafter(S{1}, S{0});
}

inline bool isCell(const int3& n, int width) {
    const auto inside = [width](int i) { return i >= -1 && i < width; };
    return inside(n.x) && inside(n.y) && inside(n.z);
}

} // namespace detail

template <class Tr, class V, class S, class P, int A, int B>
VoxelSamplerCubic<Tr, V, S, P, A, B>::VoxelSamplerCubic(
    const Container<Tr>& tree, const VoxelTopology<Tr>& voxels, const PlainChannel& plain,
    InterpolationMode interpolation, bool clamp, std::uint32_t policy, const MaskChannel* mask,
    std::uint32_t bits, std::uint64_t cacheSize)
    : Base(tree, voxels), tileAccessor(tree.tileAccessor()), container(&tree), channel(&plain),
      topology(&voxels), inverseVoxelSize(S{1} / static_cast<S>(tree.voxelSize())),
      defaultValue(plain.defaultValue()), mode(interpolation), clampToCellRange(clamp),
      jumpPolicy(policy), maskChannel(mask), maskBits(bits), minDepth(plain.minDepth()),
      maxDepth(plain.depth()), haloTiles(cacheSize), plainCells(tree, &plain, voxels.offsetType()) {
    if (!partsFit(tree, voxels, plain) || (mask && !partsFit(tree, voxels, *mask)))
        throw std::invalid_argument("container, topology and channels are not parts of one tree");
}

template <class Tr, class V, class S, class P, int A, int B>
Ostrum::String VoxelSamplerCubic<Tr, V, S, P, A, B>::modeName() const {
    return TileTree3D::modeName(mode);
}

template <class Tr, class V, class S, class P, int A, int B>
Ostrum::String VoxelSamplerCubic<Tr, V, S, P, A, B>::name() const {
    return modeName();
}

template <class Tr, class V, class S, class P, int A, int B>
V VoxelSamplerCubic<Tr, V, S, P, A, B>::sample(const TreeIndex& index, const int3& in_lijk,
                                               const P& in_frac, int depth, bool debug) {
    const V* own = index.depth >= minDepth ? channel->tileData(index).data() : nullptr;
    if (!own || !detail::isCell(in_lijk, W))
        return defaultValue;
    // The tile that was located last, as a rule; then the tree's own record is left alone.
    const int3& tijk = this->currentTilePtr->treeIndex() == index ? this->currentTilePtr->tijk()
                                                                  : container->tile(index).tijk();
    const std::int64_t vdw = Tr::voxelWidth(index.depth);
    Place place{index,
                tijk,
                in_lijk,
                {detail::toFraction(in_frac.x), detail::toFraction(in_frac.y),
                 detail::toFraction(in_frac.z)},
                {tijk.x + vdw * in_lijk.x, tijk.y + vdw * in_lijk.y, tijk.z + vdw * in_lijk.z}};
    const V value = jumpPolicy == 1 ? sampleTileLocal(place, own)
                                    : sampleGeneral(place, own, std::min(maxDepth, depth), debug);
    if (detail::hasNan(value)) [[unlikely]]
        reportNan("voxelSamplerCubic: output is NAN", place, stencilTiles);
    return value;
}

template <class Tr, class V, class S, class P, int A, int B>
V VoxelSamplerCubic<Tr, V, S, P, A, B>::sampleTileLocal(const Place& place, const V* own) {
    if (lastCell.index != place.index || lastCell.n != place.n) {
        lastCell.index = {};
        lastCell.atJump = !loadFromHaloTile(place) && !loadFromTiles(place);
        lastCell.index = place.index;
        lastCell.n = place.n;
    }
    if (lastCell.atJump)
        return trilinear(plainCells.read(place.index, own, place.n), place.f);
    return lastCell.stencil.interpolate(mode, place.f, clampToCellRange);
}

// Loads the stencil from the halo tile of the cell's tile, or, for a cell that begins below it, of
// the lower neighbour; false where no halo tile serves.
template <class Tr, class V, class S, class P, int A, int B>
bool VoxelSamplerCubic<Tr, V, S, P, A, B>::loadFromHaloTile(const Place& place) {
    if (haloTiles.size() == 0 || jumpPolicy != 1)
        return false;
    TreeIndex index = place.index;
    int3 n = place.n;
    if (n.x < 0 || n.y < 0 || n.z < 0) {
        index = tileAccessor.tileImpl(place.llc, index.depth).treeIndex();
        if (index.depth != place.index.depth || !channel->tileData(index))
            return false;
        const auto wrap = [](int v) { return v < 0 ? v + W : v; };
        n = {wrap(n.x), wrap(n.y), wrap(n.z)};
    }
    const V* values = haloTiles.values(index, *channel, defaultValue, tileAccessor);
    constexpr int kStride = HaloTileRecency<Tr, V>::kStride;
    for (int x = 0; x < 4; ++x)
        for (int y = 0; y < 4; ++y)
            for (int z = 0; z < 4; ++z)
                lastCell.stencil.set(
                    x, y, z, values[(n.x + x) + kStride * ((n.y + y) + kStride * (n.z + z))]);
    lastCell.stencil.finish();
    return true;
}

// Loads the stencil from the tiles around the cell; false at a resolution jump.
template <class Tr, class V, class S, class P, int A, int B>
bool VoxelSamplerCubic<Tr, V, S, P, A, B>::loadFromTiles(const Place& place) {
    stencilTiles.fetch(place.index, place.tijk, place.n, kAllAxes, *container, *channel,
                       tileAccessor);
    if (stencilTiles.atResolutionJump())
        return false;
    gather(stencilTiles.stencilBegin(place.n));
    return true;
}

namespace detail {

// Copies 4^3 values from the tiles of a block, from index `begin` in the first one onwards. Of
// every row of four along x, the first `kLower` lie in the lower tile.
template <int kLower, int W, class V>
void gatherStencil(const std::array<const V*, 8>& tiles, const int3& begin,
                   CubicStencil<V>& stencil) {
    for (int y = 0; y < 4; ++y)
        for (int z = 0; z < 4; ++z) {
            const int j = begin.y + y, k = begin.z + z;
            const int upperY = j >= W, upperZ = k >= W;
            const auto tile = static_cast<std::size_t>(2 * upperY + upperZ);
            const int row = begin.x + W * (j - W * upperY + W * (k - W * upperZ));
            const V* lower = tiles[tile] + row;
            for (int x = 0; x < kLower; ++x)
                stencil.set(x, y, z, lower[x]);
            const V* upper = tiles[4 + tile] + (row - begin.x);
            for (int x = kLower; x < 4; ++x)
                stencil.set(x, y, z, upper[x - kLower]);
        }
    stencil.finish();
}

} // namespace detail

template <class Tr, class V, class S, class P, int A, int B>
void VoxelSamplerCubic<Tr, V, S, P, A, B>::gather(const int3& begin) {
    std::array<const V*, 8> tiles = stencilTiles.data();
    for (const V*& tile : tiles)
        if (!tile) [[unlikely]]
            tile = absentValues();
    switch (W - begin.x) {
    case 1:
        return detail::gatherStencil<1, W>(tiles, begin, lastCell.stencil);
    case 2:
        return detail::gatherStencil<2, W>(tiles, begin, lastCell.stencil);
    case 3:
        return detail::gatherStencil<3, W>(tiles, begin, lastCell.stencil);
    default:
        return detail::gatherStencil<4, W>(tiles, begin, lastCell.stencil);
    }
}

template <class Tr, class V, class S, class P, int A, int B>
const V* VoxelSamplerCubic<Tr, V, S, P, A, B>::absentValues() {
    if (absentTile.empty())
        absentTile.assign(static_cast<std::size_t>(Tr::kVoxelCount), defaultValue);
    return absentTile.data();
}

template <class Tr, class V, class S, class P, int A, int B>
V VoxelSamplerCubic<Tr, V, S, P, A, B>::sampleGeneral(Place& place, const V* own, int deepest,
                                                      bool debug) {
    const AxisSet axes{{place.f.x != 0, place.f.y != 0, place.f.z != 0}};
    const int nzc = axes.has[0] + axes.has[1] + axes.has[2];
    // Without a fraction the cell is its lower voxel. A stored value counts, whatever the mask
    // says.
    if (nzc == 0)
        return plainCells.read(place.index, own, place.n).at(0, 0, 0);
    stencilTiles.fetch(place.index, place.tijk, place.n, axes, *container, *channel, tileAccessor);
    if (nzc == 3 && !stencilTiles.atResolutionJump() && place.index.depth == deepest)
        return sampleTileLocal(place, own);
    const CubicSource<Tr, V> source{*container,   *channel, maskChannel,     maskBits,
                                    defaultValue, mode,     this->offsetType};
    CubicGeneralPath<Tr, V, P> path(source, place, deepest, debug, stencilTiles, plainCells,
                                    tileAccessor);
    const int first = axes.has[0] ? 0 : axes.has[1] ? 1 : 2;
    const int last = axes.has[2] ? 2 : axes.has[1] ? 1 : 0;
    const V value = nzc == 1   ? path.along(first)
                    : nzc == 2 ? path.along(first, last)
                               : path.alongAll();
    return path.hasCollapsed() ? trilinear(plainCells.read(place.index, own, place.n), place.f)
                               : value;
}

} // namespace KDX::TileTree3D
