#pragma once

#include "KDX/HaloChain.h"
#include "KDX/HaloOnDemand.h"

#include <algorithm>
#include <memory>
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
    const auto& layout = *source_->layout();
    std::size_t pointers = 0, groups = 0;
    for (int depth = 0; depth <= Traits::kFinestDepth; ++depth) {
        Level& level = levels_[static_cast<std::size_t>(depth)];
        level.slotCount = layout.level(depth).slotCount;
        groups += level.groupCount();
        pointers += level.slotCount + level.groupCount();
    }
    memory_ = ChannelMemory(pointers * sizeof(Place) + groups, pooled);
    auto* pointer = static_cast<Place*>(memory_.get());
    auto* groupUse = reinterpret_cast<std::atomic<unsigned char>*>(pointer + pointers);
    std::uninitialized_value_construct_n(pointer, pointers);
    std::uninitialized_value_construct_n(groupUse, groups);
    for (Level& level : levels_) {
        if (level.slotCount == 0)
            continue;
        level.groups = pointer;
        level.places = pointer + level.groupCount();
        level.groupUse = groupUse;
        pointer += level.groupCount() + level.slotCount;
        groupUse += level.groupCount();
    }
}

/// What filling some tiles takes, made once for all of them.
template <class Traits, class T>
class HaloOnDemand<Traits, T>::Filler {
public:
    Filler(const Plain& source, const Halo& halo)
        : source_(source), haloTile_(source, halo.defaultValue()), accessor_(*source.tree()),
          ancestors_(haloTile_, &halo) {}

    void fill(const TreeIndex& index, T* out) {
        haloTile_.fill(index, accessor_, parentOf(index), out);
    }
    void fill(const TreeIndex& index, typename HaloTile<Traits, T>::Block& block, T* out) {
        haloTile_.fill(index, block, accessor_, parentOf(index), out);
    }
    auto makeBlock() const { return haloTile_.makeBlock(); }

private:
    auto parentOf(const TreeIndex& index) {
        return [this, index] { return ancestors_.parentOf(index, *source_.tree(), accessor_); };
    }

    const Plain& source_;
    HaloTile<Traits, T> haloTile_;
    typename HaloTile<Traits, T>::Accessor accessor_;
    HaloChain<Traits, T> ancestors_;
};

template <class Traits, class T>
const T* HaloOnDemand<Traits, T>::fill(const TreeIndex& index, const Halo& halo) {
    const std::size_t slot = slotOf(index);
    return beginGroup(levels_[static_cast<std::size_t>(index.depth)], slot / kGroup)
               ? fillGroup(index, slot, halo)
               : fillAlone(index, slot, halo);
}

template <class Traits, class T>
std::size_t HaloOnDemand<Traits, T>::memoryUsage() const {
    return sizeof(*this) + memory_.size() + arena_.memoryUsage();
}

// Whether this thread is to fill the whole group; no second one is told to.
template <class Traits, class T>
bool HaloOnDemand<Traits, T>::beginGroup(Level& level, std::size_t group) {
    constexpr auto kBegun = static_cast<unsigned char>(kAloneInGroup + 1);
    std::atomic<unsigned char>& groupUse = level.groupUse[group];
    unsigned char before = groupUse.load(std::memory_order_relaxed), after{};
    do {
        if (before == kBegun)
            return false;
        const bool isTurn =
            before == kAloneInGroup ||
            level.filledAlone.load(std::memory_order_relaxed) >= level.slotCount / kAloneAtMost;
        after = isTurn ? kBegun : static_cast<unsigned char>(before + 1);
    } while (!groupUse.compare_exchange_weak(before, after, std::memory_order_relaxed));
    return after == kBegun;
}

template <class Traits, class T>
const T* HaloOnDemand<Traits, T>::fillAlone(const TreeIndex& index, std::size_t slot,
                                            const Halo& halo) {
    Level& level = levels_[static_cast<std::size_t>(index.depth)];
    T* const out = static_cast<T*>(arena_.take(1));
    Filler(*source_, halo).fill(index, out);
    level.filledAlone.fetch_add(1, std::memory_order_relaxed);
    const T* published = nullptr;
    if (level.places[slot].compare_exchange_strong(published, out, std::memory_order_acq_rel,
                                                   std::memory_order_acquire))
        return out;
    arena_.giveBack(out);
    return published;
}

template <class Traits, class T>
const T* HaloOnDemand<Traits, T>::fillGroup(const TreeIndex& index, std::size_t slot,
                                            const Halo& halo) {
    Level& level = levels_[static_cast<std::size_t>(index.depth)];
    const std::size_t group = slot / kGroup, begin = group * kGroup,
                      end = std::min(begin + kGroup, level.slotCount);
    T* const memory = static_cast<T*>(arena_.take(end - begin));
    Filler filler(*source_, halo);
    auto block = filler.makeBlock();
    TreeIndex tile{firstTileOf(group, index, slot), index.depth};
    for (std::size_t filled = begin; filled < end; ++tile.index)
        if (slotOf(tile) == filled) // otherwise it holds no data
            filler.fill(tile, block, memory + (filled++ - begin) * valuesPerTile_);
    const T* nobodys = nullptr;
    level.groups[group].compare_exchange_strong(nobodys, memory, std::memory_order_release,
                                                std::memory_order_relaxed);
    return memory + (slot - begin) * valuesPerTile_;
}

// The tile of a group's first slot, given another one's. Slots are in the order of the tiles.
template <class Traits, class T>
std::int64_t HaloOnDemand<Traits, T>::firstTileOf(std::size_t group, const TreeIndex& index,
                                                  std::size_t slot) const {
    TreeIndex tile = index;
    for (std::size_t at = slot; at > group * kGroup;)
        if (--tile.index; slotOf(tile) != ChannelLayout<Traits>::kNoSlot)
            --at;
    return tile.index;
}

template <class Traits, class T>
std::size_t HaloOnDemand<Traits, T>::slotOf(const TreeIndex& index) const {
    return source_->layout()->level(index.depth).slotOf(index.index);
}

} // namespace KDX::TileTree3D
