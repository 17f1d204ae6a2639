#pragma once

#include "KDX/HaloChain.h"
#include "KDX/HaloFilling.h"
#include "KDX/HaloOnDemand-inl.h"
#include "KDX/halo.h"
#include "common/parallel.h"

#include <memory>
#include <stdexcept>

namespace KDX::TileTree3D {

namespace detail {

template <class Traits, class T>
using Plain = Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>;
template <class Traits, class T>
using Halo = Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>;

template <class Traits, class T>
void fillHaloLevel(const HaloTile<Traits, T>& haloTile, const Container<Traits>& container,
                   int depth, const Halo<Traits, T>* coarser, Halo<Traits, T>& halo) {
    const auto& tree = *container.tree();
    // A tile is the unit of work: some 64 make a task worth its overhead.
    constexpr std::size_t kGrain = 64;
    const auto fillRange = [&](const Stratum::IndexRange& range) {
        auto accessor = container.tileAccessor();
        HaloChain<Traits, T> ancestors(haloTile, coarser);
        auto block = haloTile.makeBlock();
        for (std::size_t i = range.begin(); i < range.end(); ++i) {
            const TreeIndex index{static_cast<std::int64_t>(i), depth};
            if (T* out = halo.writableTileData(index))
                haloTile.fill(
                    index, block, accessor,
                    [&] { return ancestors.parentOf(index, tree, accessor); }, out);
        }
    };
    Stratum::parallelForIsolated(tree.tiles(depth).size(), kGrain, fillRange);
}

// From coarse to fine: with all depths asked for, the tiles of coarser ones are ready to be read.
template <class Traits, class T>
void fillHalo(const Plain<Traits, T>& source, const Container<Traits>& container,
              Halo<Traits, T>& halo, int coarsestDepth, int finestDepth) {
    const bool everyDepth = coarsestDepth < 0 && finestDepth < 0;
    halo.setLayout(source.tree(), source.layout(),
                   everyDepth ? Halo<Traits, T>::Values::kUnset
                              : Halo<Traits, T>::Values::kDefault);
    if (source.depth() < 0)
        return;
    const HaloTile<Traits, T> haloTile(source, halo.defaultValue());
    const int coarsest = std::max(source.minDepth(), coarsestDepth);
    const int finest = finestDepth < 0 ? source.depth() : std::min(source.depth(), finestDepth);
    for (int depth = coarsest; depth <= finest; ++depth)
        if (source.layout()->level(depth).slotCount > 0)
            fillHaloLevel(haloTile, container, depth, everyDepth ? &halo : nullptr, halo);
}

// Whether tiles may be left to their first readers: only a source that can be kept alive until then
// allows it.
template <class Traits, class T>
bool leaveToReaders(const Plain<Traits, T>& source, Halo<Traits, T>& halo) {
    const auto owner = source.weak_from_this().lock();
    if (HaloFilling::eager() || !owner || source.depth() < 0)
        return false;
    const int perTile = Halo<Traits, T>::valuesPerTile(source.tree()->offsetType());
    halo.setLayout(source, std::make_unique<HaloOnDemand<Traits, T>>(
                               std::shared_ptr<const Plain<Traits, T>>(owner, &source),
                               static_cast<std::size_t>(perTile), halo.pooledMemory()));
    return true;
}

} // namespace detail

template <class Traits, class T, int, int, int, int>
void computeHalo(const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& source,
                 const Container<Traits>& container,
                 Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>& halo, int coarsestDepth,
                 int finestDepth) {
    if (!source.tree() || source.tree() != container.tree())
        throw std::invalid_argument("the source channel is not laid out on the container's tree");
    try {
        if (coarsestDepth >= 0 || finestDepth >= 0 || !detail::leaveToReaders(source, halo))
            detail::fillHalo(source, container, halo, coarsestDepth, finestDepth);
    } catch (...) {
        halo.clear();
        throw;
    }
}

template <class Traits, class T, int Wd, int F>
void setHaloTile(const Tile<Traits, Traits::kChildCount>& tile,
                 const Tile<Traits, Traits::kChildCount>*,
                 const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& channel,
                 const TileData<T, Wd, F, 0>* parentBuffer, HaloMode,
                 typename Container<Traits>::ConstTileAccessor& accessor,
                 TileData<T, Wd, F, 0>& buffer) {
    const HaloTile<Traits, T> haloTile(channel, channel.defaultValue(),
                                       channel.tree()->offsetType(), F, 1);
    const auto parentValues = [parentBuffer] { return parentBuffer->data(); };
    haloTile.fill(accessor.tileImpl(tile.tijk(), tile.depth()).treeIndex(), accessor, parentValues,
                  buffer.data());
}

template <class Traits, class T, int, int, int, int>
void setHaloTile(const TreeIndex& index,
                 const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& channel, HaloMode,
                 HaloType, typename Container<Traits>::ConstTileAccessor& accessor,
                 TileData<T, Traits::kVoxelsPerAxis + 1, 1, 0>& buffer, const T& defaultValue,
                 float, VoxelOffsetType) {
    buffer.allocate();
    if (!channel.tree() || !channel.tree()->tile(index)) {
        std::fill_n(buffer.data(), TileDataLayout<Traits::kVoxelsPerAxis + 1, 1>::kValueCount,
                    defaultValue);
        return;
    }
    const HaloTile<Traits, T> haloTile(channel, defaultValue, channel.tree()->offsetType(), 1, 2);
    HaloChain<Traits, T> ancestors(haloTile);
    haloTile.fill(
        index, accessor, [&] { return ancestors.parentOf(index, *channel.tree(), accessor); },
        buffer.data());
}

} // namespace KDX::TileTree3D
