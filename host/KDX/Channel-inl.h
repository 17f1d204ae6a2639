#pragma once

#include "KDX/Channel.h"
#include "KDX/HaloOnDemand.h"
#include "KDX/RestrictedTiles.h"
#include "common/parallel.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>

namespace KDX::TileTree3D {

template <class Traits, class T, int Wd, int Hf, int Reserved>
Channel<Traits, T, Wd, Hf, Reserved>::Channel(const Ostrum::String& name, const T& defaultValue,
                                              bool pooledMemory, bool callElementConstructor,
                                              int coarsestDepth, int finestDepth)
    : name_(name), defaultValue_(defaultValue), pooledMemory_(pooledMemory),
      callElementConstructor_(callElementConstructor), coarsestAllowed_(coarsestDepth),
      finestAllowed_(finestDepth) {}

template <class Traits, class T, int Wd, int Hf, int Reserved>
Channel<Traits, T, Wd, Hf, Reserved>::~Channel() = default;

template <class Traits, class T, int Wd, int Hf, int Reserved>
void Channel<Traits, T, Wd, Hf, Reserved>::update(const VoxelTopology<Traits>& topology) {
    const auto holdsVoxels = [](const typename Tree::Tile& tile, const TreeIndex&) {
        return tile.holdsVoxels();
    };
    setLayout(topology.tree(),
              Ostrum::makePtr<const Layout>(*topology.tree(), coarsestAllowed_, finestAllowed_,
                                            holdsVoxels),
              callElementConstructor_ ? Values::kDefault : Values::kUnset);
}

template <class Traits, class T, int Wd, int Hf, int Reserved>
void Channel<Traits, T, Wd, Hf, Reserved>::setLayout(Ostrum::Ptr<const Tree> tree,
                                                     Ostrum::Ptr<const Layout> layout,
                                                     Values initial) {
    const auto perTile = static_cast<std::size_t>(valuesPerTile(tree->offsetType()));
    decltype(memory_) memory;
    decltype(levels_) levels;
    for (int depth = 0; depth <= Traits::kFinestDepth; ++depth) {
        const auto& from = layout->level(depth);
        if (from.slotCount == 0)
            continue;
        if (from.slotCount > std::numeric_limits<std::size_t>::max() / sizeof(T) / perTile)
            throw std::bad_array_new_length();
        const std::size_t count = from.slotCount * perTile;
        const auto d = static_cast<std::size_t>(depth);
        memory[d] = ChannelMemory(count * sizeof(T), pooledMemory_);
        T* first = static_cast<T*>(memory[d].get());
        if (initial == Values::kDefault)
            Stratum::parallelForIsolated(
                from.slotCount, 1024, [&](const Stratum::IndexRange& tiles) {
                    std::uninitialized_fill(first + tiles.begin() * perTile,
                                            first + tiles.end() * perTile, defaultValue_);
                });
        levels[d] = {first, nullptr, nullptr, from.slots.empty() ? nullptr : from.slots.data(),
                     from.tileCount};
    }
    levels_ = levels;
    memory_ = std::move(memory);
    restricted_.reset();
    onDemand_.reset();
    valuesPerTile_ = static_cast<int>(perTile);
    minDepth_ = layout->minDepth();
    depth_ = layout->depth();
    tree_ = std::move(tree);
    layout_ = std::move(layout);
}

template <class Traits, class T, int Wd, int Hf, int Reserved>
void Channel<Traits, T, Wd, Hf, Reserved>::setLayout(
    const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& source,
    std::unique_ptr<HaloOnDemand<Traits, T>> tiles) {
    static_assert(kTilesPerGroup == HaloOnDemand<Traits, T>::kGroup);
    clear();
    tree_ = source.tree();
    layout_ = source.layout();
    minDepth_ = layout_->minDepth();
    depth_ = layout_->depth();
    valuesPerTile_ = valuesPerTile(tree_->offsetType());
    for (int depth = 0; depth <= Traits::kFinestDepth; ++depth) {
        const auto& from = layout_->level(depth);
        if (from.slotCount > 0)
            levels_[static_cast<std::size_t>(depth)] = {
                nullptr, tiles->groups(depth), tiles->places(depth),
                from.slots.empty() ? nullptr : from.slots.data(), from.tileCount};
    }
    onDemand_ = std::move(tiles);
}

template <class Traits, class T, int Wd, int Hf, int Reserved>
int Channel<Traits, T, Wd, Hf, Reserved>::valuesPerTile(VoxelOffsetType type) {
    const int width =
        Traits::kVoxelsPerAxis + (kIsHalo ? (type == VoxelOffsetType::kCorner ? 1 : 2) : 0);
    return width * width * width;
}

template <class Traits, class T, int Wd, int Hf, int Reserved>
const T* Channel<Traits, T, Wd, Hf, Reserved>::fillOnDemand(const TreeIndex& index) const {
    if constexpr (kIsHalo)
        return onDemand_->fill(index, *this);
    else
        return nullptr;
}

template <class Traits, class T, int Wd, int Hf, int Reserved>
void Channel<Traits, T, Wd, Hf, Reserved>::clear() noexcept {
    levels_ = {};
    memory_ = {};
    restricted_.reset();
    onDemand_.reset();
    layout_ = {};
    minDepth_ = depth_ = -1;
}

template <class Traits, class T, int Wd, int Hf, int Reserved>
std::int64_t Channel<Traits, T, Wd, Hf, Reserved>::elementCount(const TreeIndex& index) const {
    const bool holdsData =
        Traits::isDepth(index.depth) &&
        slotIn(levels_[static_cast<std::size_t>(index.depth)], index) != kNowhere;
    return holdsData ? valuesPerTile_ : 0;
}

template <class Traits, class T, int Wd, int Hf, int Reserved>
std::int64_t Channel<Traits, T, Wd, Hf, Reserved>::elementCount(int depth) const {
    std::int64_t tiles = 0;
    for (int d = 0; layout_ && d <= Traits::kFinestDepth; ++d)
        if (depth == d || depth == -1)
            tiles += static_cast<std::int64_t>(layout_->level(d).slotCount);
    return tiles * valuesPerTile_;
}

template <class Traits, class T, int Wd, int Hf, int Reserved>
void Channel<Traits, T, Wd, Hf, Reserved>::setRestricted(
    std::unique_ptr<const RestrictedTiles<Traits, T>> restricted) {
    restricted_ = std::move(restricted);
}

template <class Traits, class T, int Wd, int Hf, int Reserved>
std::size_t Channel<Traits, T, Wd, Hf, Reserved>::memoryUsage() const {
    std::size_t bytes = sizeof(*this);
    for (const ChannelMemory& memory : memory_)
        bytes += memory.size();
    if (layout_)
        bytes += layout_->memoryUsage();
    if (restricted_)
        bytes += restricted_->memoryUsage();
    if constexpr (kIsHalo)
        if (onDemand_)
            bytes += onDemand_->memoryUsage();
    return bytes;
}

template <class Traits, class T, int Wd, int Hf>
Ostrum::Ptr<Channel<Traits, T, Wd, Hf, 0>>
ChannelPool::allocate(const T& defaultValue, bool callElementConstructor, bool pooledMemory,
                      int coarsestDepth, int finestDepth, std::size_t, const Component* layout) {
    const auto* topology = dynamic_cast<const VoxelTopology<Traits>*>(layout);
    if (!topology)
        throw std::invalid_argument("a channel can only be laid out like a voxel topology");
    auto channel = Ostrum::makePtr<Channel<Traits, T, Wd, Hf, 0>>(
        "", defaultValue, pooledMemory, callElementConstructor, coarsestDepth, finestDepth);
    channel->setLayout(topology->tree(), Ostrum::makePtr<const ChannelLayout<Traits>>(),
                       Channel<Traits, T, Wd, Hf, 0>::Values::kUnset);
    return channel;
}

} // namespace KDX::TileTree3D
