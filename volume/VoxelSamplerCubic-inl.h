#pragma once

#include "KDX/partsFit.h"
#include "volume/CubicGeneralPath.h"
#include "volume/StencilGather.h"
#include "volume/VoxelSampler-inl.h"
#include "volume/VoxelSamplerCubic.h"

#include <limits>
#include <stdexcept>

namespace KDX::TileTree3D {

namespace detail {

// Whether a cell begins at n, which may be -1 where locate() gives that.
inline bool isCell(const int3& n, int width, VoxelOffsetType type) {
    const int lowest = type == VoxelOffsetType::kCorner ? 0 : -1;
    return std::min({n.x, n.y, n.z}) >= lowest && std::max({n.x, n.y, n.z}) < width;
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
    Ahead ahead;
    if (!open(index, in_lijk, in_frac, ahead))
        return defaultValue;
    if (jumpPolicy == 1)
        return haloTiles.size() == 0 ? evaluate(ahead) : sampleThroughCache(ahead);
    return sampleGeneral(ahead, std::min(maxDepth, depth), debug);
}

template <class Tr, class V, class S, class P, int A, int B>
void VoxelSamplerCubic<Tr, V, S, P, A, B>::sample(const P* positions, std::size_t count, int depth,
                                                  int space, V* values) {
    if (jumpPolicy != 1 || haloTiles.size() > 0 || !isMode(mode)) {
        for (std::size_t i = 0; i < count; ++i)
            values[i] = sample(positions[i], depth, space);
        return;
    }
    constexpr std::size_t kBlock = Base::Block::kSize;
    for (std::size_t begin = 0; begin < count; begin += kBlock)
        sampleBlock(positions + begin, std::min(kBlock, count - begin), depth, space,
                    values + begin);
}

// Sets the place of a sample; false where its value is the default.
template <class Tr, class V, class S, class P, int A, int B>
bool VoxelSamplerCubic<Tr, V, S, P, A, B>::open(const TreeIndex& index, const int3& n, const P& f,
                                                Ahead& ahead) const {
    ahead.own = valuesOf(index);
    if (!ahead.own || !detail::isCell(n, W, this->offsetType))
        return false;
    // The tile that was located last, as a rule; then the tree's own record is left alone.
    const int3& tijk = this->currentTilePtr->treeIndex() == index ? this->currentTilePtr->tijk()
                                                                  : container->tile(index).tijk();
    Place& place = ahead.place;
    place.index = index;
    place.tijk = tijk;
    place.n = n;
    place.f.x = detail::toFraction(f.x);
    place.f.y = detail::toFraction(f.y);
    place.f.z = detail::toFraction(f.z);
    place.dofIsValid = false;
    return true;
}

template <class Tr, class V, class S, class P, int A, int B>
V VoxelSamplerCubic<Tr, V, S, P, A, B>::evaluate(const Ahead& ahead) {
    const Place& place = ahead.place;
    if (!isLastCell(place)) {
        lastCell.index = {};
        fetchTiles(place);
        lastCell.atJump = stencilTiles.atResolutionJump();
        if (!lastCell.atJump)
            detail::gatherStencil<W>(stencilTiles.data().data(), stencilTiles.stencilBegin(place.n),
                                     lastCell.stencil);
        lastCell.index = place.index;
        lastCell.n = place.n;
    }
    return checked(lastCell.atJump ? linear(ahead)
                                   : lastCell.stencil.interpolate(mode, place.f, clampToCellRange),
                   place);
}

// What linear sampling gives.
template <class Tr, class V, class S, class P, int A, int B>
V VoxelSamplerCubic<Tr, V, S, P, A, B>::linear(const Ahead& ahead) {
    return trilinear(plainCells.read(ahead.place.index, ahead.own, ahead.place.n), ahead.place.f);
}

template <class Tr, class V, class S, class P, int A, int B>
V VoxelSamplerCubic<Tr, V, S, P, A, B>::checked(const V& value, const Place& place) {
    if (detail::hasNan(value) && !isNanReported()) [[unlikely]] {
        fetchTiles(place);
        reportNan("voxelSamplerCubic: output is NAN", place, stencilTiles, *container);
    }
    return value;
}

template <class Tr, class V, class S, class P, int A, int B>
V VoxelSamplerCubic<Tr, V, S, P, A, B>::sampleThroughCache(Ahead& ahead) {
    if (!isLastCell(ahead.place)) {
        lastCell.index = {};
        if (loadFromHaloTile(ahead.place)) {
            lastCell.atJump = false;
            lastCell.index = ahead.place.index;
            lastCell.n = ahead.place.n;
        }
    }
    return evaluate(ahead);
}

// Loads the stencil from the halo tile of the cell's tile, or, for a cell that begins below it, of
// the lower neighbour; false where no halo tile serves.
template <class Tr, class V, class S, class P, int A, int B>
bool VoxelSamplerCubic<Tr, V, S, P, A, B>::loadFromHaloTile(const Place& place) {
    TreeIndex index = place.index;
    int3 n = place.n;
    if (n.x < 0 || n.y < 0 || n.z < 0) {
        index = tileAccessor.tileImpl(place.llc(), index.depth).treeIndex();
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

template <class Tr, class V, class S, class P, int A, int B>
V VoxelSamplerCubic<Tr, V, S, P, A, B>::sampleGeneral(Ahead& ahead, int deepest, bool debug) {
    Place& place = ahead.place;
    const AxisSet axes{{place.f.x != 0, place.f.y != 0, place.f.z != 0}};
    const int nzc = axes.has[0] + axes.has[1] + axes.has[2];
    // Without a fraction the cell is its lower voxel. A stored value counts, whatever the mask
    // says.
    if (nzc == 0)
        return checked(std::min({place.n.x, place.n.y, place.n.z}) >= 0
                           ? *Cell<V>(ahead.own, {W, 0}, place.n).lower
                           : plainCells.read(place.index, ahead.own, place.n).at(0, 0, 0),
                       place);
    stencilTiles.fetch(place.index.depth, place.tijk, place.n, axes, *container, *channel,
                       tileAccessor);
    if (nzc == 3 && !stencilTiles.atResolutionJump() && place.index.depth == deepest)
        return evaluate(ahead);
    const CubicSource<Tr, V> source{*container,   *channel, maskChannel,     maskBits,
                                    defaultValue, mode,     this->offsetType};
    CubicGeneralPath<Tr, V, P> path(source, place, deepest, debug, stencilTiles, plainCells,
                                    tileAccessor);
    const int first = axes.has[0] ? 0 : axes.has[1] ? 1 : 2;
    const int last = axes.has[2] ? 2 : axes.has[1] ? 1 : 0;
    // Where other depths may come in all axes count, also those without a fraction: their values
    // are linear across a row, and would step where a fraction reaches 0.
    const bool oneDepth = !stencilTiles.atResolutionJump() && place.index.depth == deepest;
    const V value = nzc == 3 || !oneDepth ? path.alongAll()
                    : nzc == 1            ? path.along(first)
                                          : path.along(first, last);
    return checked(path.hasCollapsed() ? linear(ahead) : value, place);
}

} // namespace KDX::TileTree3D
