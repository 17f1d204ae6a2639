#include "KDX/TilePages.h"

#include <stdexcept>

namespace KDX::TileTree3D {

template <class Traits>
void TilePages<Traits>::grow(Group& group, std::size_t slotCount) {
    Group larger;
    larger.slots.resize(slotCount);
    for (const Slot& slot : group.slots)
        if (slot.cells != kNoPage)
            larger.slots[slotOf(larger, slot.page)] = slot;
    group.slots = std::move(larger.slots);
}

// The slot of a page, made (with level 0 and no cells yet) when it is new.
template <class Traits>
std::size_t TilePages<Traits>::addPage(Group& group, const Place& page) {
    if (2 * (group.pageCount + 1) > group.slots.size())
        grow(group, std::max<std::size_t>(4, 2 * group.slots.size()));
    const std::size_t s = slotOf(group, page);
    if (group.slots[s].cells == kNoPage) {
        group.slots[s] = {page, 0};
        ++group.pageCount;
    }
    return s;
}

// Makes the pages of a group, each just as fine as its deepest tile.
template <class Traits>
void TilePages<Traits>::makePages(int group, std::span<const std::vector<Tile>> tilesByDepth) {
    Group& pages = groups_[group];
    const int finest = finestDepthOf(group);
    for (int level = 1; level <= kDepthsPerPage; ++level) {
        const int depth = finest - kDepthsPerPage + level;
        if (depth < 0)
            continue;
        Place last{};
        bool isFirst = true;
        for (const Tile& tile : tilesByDepth[depth]) {
            Place place{};
            toPlace(tile.tijk(), place);
            const Place page = pageOf(cellAt(group, place));
            if (!isFirst && same(page, last)) // as for most tiles in the order of a walk
                continue;
            isFirst = false;
            last = page;
            pages.slots[addPage(pages, page)].cells = static_cast<std::uint32_t>(level);
        }
    }
    std::size_t units = 0;
    for (Slot& slot : pages.slots) {
        if (slot.cells == kNoPage)
            continue;
        const auto level = static_cast<int>(slot.cells);
        slot.cells = static_cast<std::uint32_t>(units << 2) | slot.cells;
        units += cellCount(level) / cellCount(1);
    }
    if (units >= std::size_t{1} << 30)
        throw std::length_error("the tree has too many tiles for its search pages");
    pages.cells.assign(units * cellCount(1), 0);
}

// Names the tiles of a depth in all cells that they cover; deeper tiles come later and win.
template <class Traits>
void TilePages<Traits>::fillPages(int depth, const std::vector<Tile>& tiles) {
    const int group = groupOf(depth);
    Group& pages = groups_[group];
    const int level = depth - finestDepthOf(group) + kDepthsPerPage; // 1 .. kDepthsPerPage
    std::uint32_t index = 0;
    const Slot* slot = nullptr; // of the tile before, for the same reason
    for (const Tile& tile : tiles) {
        Place place{};
        toPlace(tile.tijk(), place);
        const Place cell = cellAt(group, place);
        if (const Place page = pageOf(cell); !slot || !same(slot->page, page))
            slot = &pages.slots[slotOf(pages, page)];
        const std::uint32_t packed = slot->cells;
        const auto pageLevel = static_cast<int>(packed & 3U);
        const std::size_t n = cellsPerAxis(pageLevel), covered = n / cellsPerAxis(level);
        std::uint32_t* cells =
            pages.cells.data() + (packed >> 2) * cellCount(1) + cellInPage(cell, pageLevel);
        const std::uint32_t entry = static_cast<std::uint32_t>(level) << kIndexBits | index++;
        for (std::size_t z = 0; z < covered; ++z)
            for (std::size_t y = 0; y < covered; ++y)
                std::fill_n(cells + n * (y + n * z), covered, entry);
    }
}

template <class Traits>
void TilePages<Traits>::build(std::span<const std::vector<Tile>> tilesByDepth) {
    for (int group = 0; group < kGroupCount; ++group)
        makePages(group, tilesByDepth);
    for (int depth = 0; depth <= Traits::kFinestDepth; ++depth) {
        if (!tilesByDepth[depth].empty())
            finestGroup_ = groupOf(depth);
        fillPages(depth, tilesByDepth[depth]);
    }
}

#define STRATUM_TREE_SHAPE(B, W) template class TilePages<Traits<B, W, 1>>;
#include "common/rows.def"

} // namespace KDX::TileTree3D
