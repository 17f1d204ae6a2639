#pragma once

#include "KDX/HaloTile.h"
#include "KDX/halo.h"
#include "common/parallel.h"

#include <stdexcept>

namespace KDX::TileTree3D {

namespace detail {

template <class Traits, class T>
void computeHaloLevel(const HaloTile<Traits, T>& haloTile, const Container<Traits>& container,
                      int depth, Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>& halo) {
    const auto& tree = *container.tree();
    // A tile is the unit of work: some 64 make a task worth its overhead.
    constexpr std::size_t kGrain = 64;
    const auto fillRange = [&](const Stratum::IndexRange& range) {
        auto accessor = container.tileAccessor();
        HaloChain<Traits, T> ancestors(haloTile);
        for (std::size_t i = range.begin(); i < range.end(); ++i) {
            const TreeIndex index{static_cast<std::int64_t>(i), depth};
            if (T* out = halo.writableTileData(index))
                haloTile.fill(
                    index, accessor, [&] { return ancestors.parentOf(index, tree, accessor); },
                    out);
        }
    };
    Stratum::parallelForIsolated(tree.tiles(depth).size(), kGrain, fillRange);
}

template <class Traits, class T>
void fillHalo(const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& source,
              const Container<Traits>& container,
              Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>& halo, int coarsestDepth,
              int finestDepth) {
    if (source.depth() < 0)
        return;
    const auto type = source.tree()->offsetType();
    const HaloTile<Traits, T> haloTile(source, halo.defaultValue(), type,
                                       type == VoxelOffsetType::kCorner ? 0 : 1, 1);
    const int coarsest = std::max(source.minDepth(), coarsestDepth);
    const int finest = finestDepth < 0 ? source.depth() : std::min(source.depth(), finestDepth);
    for (int depth = coarsest; depth <= finest; ++depth)
        if (source.layout()->level(depth).slotCount > 0)
            computeHaloLevel(haloTile, container, depth, halo);
}

} // namespace detail

template <class Traits, class T, int, int, int, int>
void computeHalo(const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& source,
                 const Container<Traits>& container,
                 Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>& halo, int coarsestDepth,
                 int finestDepth) {
    if (!source.tree() || source.tree() != container.tree())
        throw std::invalid_argument("the source channel is not laid out on the container's tree");
    const bool everyDepth = coarsestDepth < 0 && finestDepth < 0;
    using Values = typename Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>::Values;
    halo.setLayout(source.tree(), source.layout(), everyDepth ? Values::kUnset : Values::kDefault);
    try {
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
