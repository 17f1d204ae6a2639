#pragma once

#include "KDX/HaloOnDemand.h"
#include "KDX/HaloTile.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace KDX::TileTree3D {

template <class Traits, class T>
HaloOnDemand<Traits, T>::HaloOnDemand(std::shared_ptr<const Plain> source,
                                      std::size_t valuesPerTile, bool pooled)
    : source_(std::move(source)), valuesPerTile_(valuesPerTile),
      arena_(valuesPerTile * sizeof(T),
             static_cast<std::size_t>(source_->elementCount(-1)) / Traits::kVoxelCount / 8,
             pooled) {
    static_assert(std::is_trivially_destructible_v<Place>);
    if (valuesPerTile_ > std::numeric_limits<std::size_t>::max() / sizeof(T))
        throw std::bad_array_new_length();
    const auto& layout = *source_->layout();
    std::size_t places = 0, groups = 0;
    for (int depth = 0; depth <= Traits::kFinestDepth; ++depth) {
        places += layout.level(depth).slotCount;
        groups += (layout.level(depth).tileCount + kGroup - 1) / kGroup;
    }
    memory_ = ChannelMemory(places * sizeof(Place) + groups * sizeof(std::atomic<bool>), pooled);
    auto* place = static_cast<Place*>(memory_.get());
    auto* group = reinterpret_cast<std::atomic<bool>*>(place + places);
    std::uninitialized_value_construct_n(place, places);
    std::uninitialized_value_construct_n(group, groups);
    for (int depth = 0; depth <= Traits::kFinestDepth; ++depth) {
        const auto& from = layout.level(depth);
        if (from.slotCount == 0)
            continue;
        Level& level = levels_[static_cast<std::size_t>(depth)];
        level.places = place;
        level.groupBegun = group;
        level.tileCount = from.tileCount;
        place += from.slotCount;
        group += (from.tileCount + kGroup - 1) / kGroup;
    }
}

template <class Traits, class T>
const T* HaloOnDemand<Traits, T>::fill(const TreeIndex& index, const Halo& halo) {
    const auto tile = static_cast<std::size_t>(index.index);
    Level& level = levels_[static_cast<std::size_t>(index.depth)];
    if (beginGroup(level, tile)) {
        const std::size_t begin = tile / kGroup * kGroup;
        fillTiles(index.depth, begin, std::min(begin + kGroup, level.tileCount), halo);
    } else {
        fillTiles(index.depth, tile, tile + 1, halo);
        level.filledAlone.fetch_add(1, std::memory_order_relaxed);
    }
    return placeOf(index)->load(std::memory_order_acquire);
}

template <class Traits, class T>
std::size_t HaloOnDemand<Traits, T>::memoryUsage() const {
    return sizeof(*this) + memory_.size() + arena_.memoryUsage();
}

// Whether this thread is to fill the whole group of the tile; no second one is told to.
template <class Traits, class T>
bool HaloOnDemand<Traits, T>::beginGroup(Level& level, std::size_t tile) {
    return level.filledAlone.load(std::memory_order_relaxed) >= level.tileCount / kAloneAtMost &&
           !level.groupBegun[tile / kGroup].exchange(true, std::memory_order_relaxed);
}

// Fills those tiles of a range that hold data and that nobody has published yet.
template <class Traits, class T>
void HaloOnDemand<Traits, T>::fillTiles(int depth, std::size_t begin, std::size_t end,
                                        const Halo& halo) {
    std::array<std::pair<TreeIndex, Place*>, kGroup> wanted;
    std::size_t count = 0;
    for (std::size_t i = begin; i < end; ++i) {
        const TreeIndex index{static_cast<std::int64_t>(i), depth};
        if (Place* place = placeOf(index); place && !place->load(std::memory_order_relaxed))
            wanted[count++] = {index, place};
    }
    if (count == 0)
        return;
    const HaloTile<Traits, T> haloTile(*source_, halo.defaultValue());
    auto accessor = typename HaloTile<Traits, T>::Accessor(*source_->tree());
    HaloChain<Traits, T> ancestors(haloTile, &halo);
    T* const memory = static_cast<T*>(arena_.take(count));
    T* out = memory;
    for (std::size_t i = 0; i < count; ++i) {
        const auto [index, place] = wanted[i];
        haloTile.fill(
            index, accessor, [&] { return ancestors.parentOf(index, *source_->tree(), accessor); },
            out);
        const T* nobodys = nullptr;
        if (place->compare_exchange_strong(nobodys, out, std::memory_order_release,
                                           std::memory_order_relaxed))
            out += valuesPerTile_;
    }
    const auto published = static_cast<std::size_t>(out - memory) / valuesPerTile_;
    if (published < count)
        arena_.giveBack(memory, count, count - published);
}

template <class Traits, class T>
auto HaloOnDemand<Traits, T>::placeOf(const TreeIndex& index) const -> Place* {
    const Level& level = levels_[static_cast<std::size_t>(index.depth)];
    const auto slot = source_->layout()->level(index.depth).slotOf(index.index);
    return slot == ChannelLayout<Traits>::kNoSlot ? nullptr : level.places + slot;
}

} // namespace KDX::TileTree3D
