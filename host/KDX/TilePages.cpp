#include "KDX/TilePages.h"

#include <algorithm>

namespace KDX::TileTree3D {

template <class Traits>
void TilePages<Traits>::grow(Group& group, std::size_t slotCount) {
    decltype(group.slots) old(slotCount);
    old.swap(group.slots);
    for (const Slot& slot : old) {
        if (slot.number == kNoPage)
            continue;
        std::size_t s = hash(slot.page, slotCount);
        while (group.slots[s].number != kNoPage)
            s = (s + 1) & (slotCount - 1);
        group.slots[s] = slot;
    }
}

// The number of a page, made when it is new.
template <class Traits>
std::uint32_t TilePages<Traits>::pageNumber(Group& group, const Place& page) {
    const std::size_t pages = group.cells.size() / kCellsPerPage;
    if (2 * (pages + 1) > group.slots.size())
        grow(group, std::max<std::size_t>(4, 2 * group.slots.size()));
    std::size_t s = hash(page, group.slots.size());
    for (; group.slots[s].number != kNoPage; s = (s + 1) & (group.slots.size() - 1)) {
        const Place& p = group.slots[s].page;
        if (p.x == page.x && p.y == page.y && p.z == page.z)
            return group.slots[s].number;
    }
    group.cells.resize(group.cells.size() + kCellsPerPage, 0);
    group.slots[s] = {page, static_cast<std::uint32_t>(pages)};
    return group.slots[s].number;
}

template <class Traits>
void TilePages<Traits>::build(std::span<const std::vector<Tile>> tilesByDepth) {
    for (int depth = 0; depth <= Traits::kFinestDepth; ++depth) {
        const int group = groupOf(depth);
        Group& pages = groups_[group];
        const int inPage = depth - finestDepthOf(group) + kDepthsPerPage; // 1 .. kDepthsPerPage
        const std::size_t covered = static_cast<std::size_t>(
            Traits::tileExtent(depth) / Traits::tileExtent(finestDepthOf(group)));
        std::uint32_t index = 0;
        for (const Tile& tile : tilesByDepth[depth]) {
            Place place{};
            toPlace(tile.tijk(), place);
            const Place cell = cellAt(group, place);
            const std::size_t firstCell = pageNumber(pages, pageOf(cell)) * kCellsPerPage;
            std::uint32_t* cells = pages.cells.data() + firstCell;
            const std::size_t first = cellInPage(cell), n = kCellsPerAxis;
            const std::uint32_t entry = static_cast<std::uint32_t>(inPage) << kIndexBits | index++;
            for (std::size_t z = 0; z < covered; ++z)
                for (std::size_t y = 0; y < covered; ++y)
                    std::fill_n(cells + first + n * (y + n * z), covered, entry);
        }
    }
    for (Group& group : groups_)
        group.cells.shrink_to_fit();
}

template class TilePages<Traits<2, 4, 1>>;
template class TilePages<Traits<5, 5, 1>>;

} // namespace KDX::TileTree3D
