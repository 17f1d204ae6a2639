#include "KDX/PageTable.h"

#include <algorithm>

namespace KDX::TileTree3D {

std::uint32_t& PageTable::add(const TilePlace& place) {
    if (2 * (count_ + 1) > slots_.size())
        grow();
    Slot& slot = slots_[slotOf(place)];
    if (slot.number == kNone) {
        slot = {place, 0};
        ++count_;
    }
    return slot.number;
}

void PageTable::grow() {
    PageTable larger;
    larger.slots_.resize(std::max<std::size_t>(4, 2 * slots_.size()));
    for (const Slot& slot : slots_)
        if (slot.number != kNone)
            larger.slots_[larger.slotOf(slot.place)] = slot;
    slots_ = std::move(larger.slots_);
}

void PageTable::settle() {
    TilePlace first{kNone, kNone, kNone}, last{};
    for (const Slot& slot : slots_)
        if (slot.number != kNone) {
            const TilePlace& p = slot.place;
            first = {std::min(first.x, p.x), std::min(first.y, p.y), std::min(first.z, p.z)};
            last = {std::max(last.x, p.x), std::max(last.y, p.y), std::max(last.z, p.z)};
        }
    const std::uint64_t most = kMostCellsAPlace * count_;
    const auto along = [](std::uint32_t a, std::uint32_t b) { return std::uint64_t{b} - a + 1; };
    if (count_ == 0)
        return;
    const std::uint64_t x = along(first.x, last.x), y = along(first.y, last.y),
                        z = along(first.z, last.z);
    if (x > most || y > most / x || z > most / x / y)
        return;
    inBox_.assign(x * y * z, kNone);
    box_ = {inBox_.data(),
            first,
            {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
             static_cast<std::uint32_t>(z)}};
    for (const Slot& slot : slots_)
        if (slot.number != kNone)
            inBox_[static_cast<std::size_t>(box_.find(slot.place) - box_.numbers)] = slot.number;
    slots_ = decltype(slots_)(); // {} would empty it and keep its memory
}

} // namespace KDX::TileTree3D
