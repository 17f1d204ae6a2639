// Where pages of a part of the tree's space are kept.
#pragma once

#include "Ostrum/Memory.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace KDX::TileTree3D {

/// A place in space in some unit, as unsigned distances from the lowest one.
struct TilePlace {
    std::uint32_t x, y, z;

    bool operator==(const TilePlace&) const = default;
};

/// Numbers in an array over a box of places; x runs fastest.
struct PageBox {
    const std::uint32_t* numbers = nullptr;
    TilePlace first{}, size{};

    /// Where the place's number is, or null beyond the box.
    const std::uint32_t* find(const TilePlace& place) const {
        const std::size_t x = place.x - first.x, y = place.y - first.y, z = place.z - first.z;
        return x < size.x && y < size.y && z < size.z ? numbers + x + size.x * (y + size.y * z)
                                                      : nullptr;
    }
};

/// A number for each of some places. Places that fill a good part of the box around them are looked
/// up in an array over that box, others in a hash table with open addressing.
class PageTable {
public:
    PageTable() = default;
    // Moved, never copied: a copy's box would point into the original.
    PageTable(PageTable&&) = default;
    PageTable& operator=(PageTable&&) = default;

    /// What find() says of a place that has no number.
    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

    /// The number of a place, made 0 when it is new. To be called before settle().
    std::uint32_t& add(const TilePlace& place);

    /// Chooses how places are looked up from now on.
    void settle();

    std::uint32_t find(const TilePlace& place) const {
        if (box_.numbers) {
            const std::uint32_t* number = box_.find(place);
            return number ? *number : kNone;
        }
        return slots_.empty() ? kNone : slots_[slotOf(place)].number;
    }

    /// The array that places are looked up in, with kNone for those that have no number; null where
    /// it is the hash table.
    const PageBox& box() const { return box_; }

    /// use(number), which may change it, for all places in a fixed order.
    template <class Use>
    void forEach(const Use& use) {
        for (std::uint32_t& number : inBox_)
            if (number != kNone)
                use(number);
        for (Slot& slot : slots_)
            if (slot.number != kNone)
                use(slot.number);
    }

    std::size_t memoryUsage() const {
        return slots_.capacity() * sizeof(Slot) + inBox_.capacity() * sizeof(std::uint32_t);
    }

private:
    // Four bytes a cell against 32 to 64 a place in the hash table.
    static constexpr std::uint64_t kMostCellsAPlace = 12;

    struct Slot {
        TilePlace place{};
        std::uint32_t number = kNone;
    };

    static std::size_t hash(const TilePlace& place) {
        const std::uint64_t mixed = (place.x * 0x9E3779B97F4A7C15ULL) ^
                                    (place.y * 0xC2B2AE3D27D4EB4FULL) ^
                                    (place.z * 0x165667B19E3779F9ULL);
        return static_cast<std::size_t>((mixed * 0x9E3779B97F4A7C15ULL) >> 32);
    }

    // The slot that holds the place, or the free one where it would go. There must be slots.
    std::size_t slotOf(const TilePlace& place) const {
        const std::size_t mask = slots_.size() - 1;
        std::size_t s = hash(place) & mask;
        while (slots_[s].number != kNone && slots_[s].place != place)
            s = (s + 1) & mask;
        return s;
    }

    void grow();

    std::vector<Slot, Ostrum::Allocator<Slot>> slots_; // a power of two, at most half in use
    std::size_t count_ = 0;
    std::vector<std::uint32_t, Ostrum::Allocator<std::uint32_t>> inBox_;
    PageBox box_;
};

} // namespace KDX::TileTree3D
