// Searches for several tiles that lie side by side.
#pragma once

#include "KDX/TilePages.h"

namespace KDX::TileTree3D {

template <class Traits>
inline void TilePages<Traits>::findBlock(const WideIndex& first, const int3& count, int depth,
                                         std::span<const std::vector<Tile>> tilesByDepth,
                                         Cursor& cursor, std::array<TreeIndex, 8>& found) const {
    std::array<std::uint32_t, 8> entries{};
    blockEntries(first, count, depth, cursor, entries);
    std::uint32_t everywhere = ~0U, anywhere = 0;
    for (unsigned place = 0; place < 8; ++place) {
        found[place] = {entries[place] & kIndexMask, depth};
        everywhere &= entries[place];
        anywhere |= entries[place];
    }
    const auto tag = static_cast<std::uint32_t>(depth - depthOf(Geometry::groupOf(depth), 0));
    const bool areAllOfDepth = everywhere >> kIndexBits == tag && anywhere >> kIndexBits == tag;
    if (!areAllOfDepth || count.x + count.y + count.z < 6) [[unlikely]]
        findOthers(first, count, depth, tilesByDepth, cursor, entries, tag, found);
}

template <class Traits>
inline void TilePages<Traits>::blockEntries(const WideIndex& first, const int3& count, int depth,
                                            Cursor& cursor,
                                            std::array<std::uint32_t, 8>& entries) const {
    const int group = Geometry::groupOf(depth);
    Place lowest{};
    if (group > finestGroup_ || !Geometry::toPlaceBelow(first, Traits::tileExtent(depth), lowest))
        return;
    const Place low = Geometry::cellAt(group, lowest);
    const auto step = static_cast<std::uint32_t>(
        Traits::tileExtent(depth) / Traits::tileExtent(Geometry::finestDepthOf(group)));
    const Place high{low.x + (count.x > 1 ? step : 0), low.y + (count.y > 1 ? step : 0),
                     low.z + (count.z > 1 ? step : 0)};
    const Place lowPage = Geometry::pageAround(low), highPage = Geometry::pageAround(high);
    if (lowPage == highPage) [[likely]] {
        enterPage(group, lowPage, cursor);
        if (cursor.page.cells)
            onePageEntries(cursor.page, low, high, entries);
        return;
    }
    const unsigned split = (lowPage.x != highPage.x ? 4U : 0U) |
                           (lowPage.y != highPage.y ? 2U : 0U) |
                           (lowPage.z != highPage.z ? 1U : 0U);
    std::array<Page, 8> pages; // at the first place of each
    for (unsigned place = 0; place < 8; ++place) {
        const Place cell{place & 4 ? high.x : low.x, place & 2 ? high.y : low.y,
                         place & 1 ? high.z : low.z};
        if ((place & split) == place) {
            enterPage(group, Geometry::pageAround(cell), cursor);
            pages[place] = cursor.page;
        }
        const Page& page = pages[place & split];
        if (page.cells)
            entries[place] = page.cells[Geometry::cellInPage(cell, page.level)];
    }
}

template <class Traits>
inline void TilePages<Traits>::onePageEntries(const Page& page, const Place& low, const Place& high,
                                              std::array<std::uint32_t, 8>& entries) {
    const std::size_t perAxis = Geometry::cellsPerAxis(page.level);
    const auto along = [&](std::uint32_t cell) { return Geometry::alongPage(cell, page.level); };
    const std::uint32_t* const first = page.cells + Geometry::cellInPage(low, page.level);
    const std::size_t x = along(high.x) - along(low.x),
                      y = perAxis * (along(high.y) - along(low.y)),
                      z = perAxis * perAxis * (along(high.z) - along(low.z));
    entries = {first[0], first[z],     first[y],     first[y + z],
               first[x], first[x + z], first[x + y], first[x + y + z]};
}

template <class Traits>
inline void
TilePages<Traits>::findOthers(const WideIndex& first, const int3& count, int depth,
                              std::span<const std::vector<Tile>> tilesByDepth, Cursor& cursor,
                              const std::array<std::uint32_t, 8>& entries, std::uint32_t tag,
                              std::array<TreeIndex, 8>& found) const {
    const std::int64_t extent = Traits::tileExtent(depth);
    for (unsigned place = 0; place < 8; ++place) {
        const int x = place >> 2, y = place >> 1 & 1, z = place & 1;
        if (x >= count.x || y >= count.y || z >= count.z)
            found[place] = {};
        else if (entries[place] >> kIndexBits != tag)
            found[place] =
                find(WideIndex{first.x + x * extent, first.y + y * extent, first.z + z * extent},
                     depth, tilesByDepth, cursor)
                    .treeIndex();
    }
}

template <class Traits>
template <class Use>
inline bool TilePages<Traits>::forEachInBox(const WideIndex& first, const int3& count, int depth,
                                            Cursor& cursor, const Use& use) const {
    const int group = Geometry::groupOf(depth);
    const std::int64_t extent = Traits::tileExtent(depth);
    Place place{}, last{};
    if (!Geometry::toPlace(first, place) ||
        !Geometry::toPlace(WideIndex{first.x + extent * (count.x - 1),
                                     first.y + extent * (count.y - 1),
                                     first.z + extent * (count.z - 1)},
                           last))
        return false;
    if (group > finestGroup_)
        return true;
    const Place begin = Geometry::cellAt(group, place);
    enterPage(group, Geometry::pageAround(begin), cursor);
    if (!cursor.page.cells)
        return true;
    const Page page = cursor.page;
    const auto step =
        static_cast<std::uint32_t>(extent / Traits::tileExtent(Geometry::finestDepthOf(group)));
    const auto tag = static_cast<std::uint32_t>(depth - depthOf(group, 0));
    for (int z = 0; z < count.z; ++z)
        for (int y = 0; y < count.y; ++y)
            for (int x = 0; x < count.x; ++x) {
                const std::uint32_t entry = page.cells[Geometry::cellInPage(
                    {begin.x + step * static_cast<std::uint32_t>(x),
                     begin.y + step * static_cast<std::uint32_t>(y),
                     begin.z + step * static_cast<std::uint32_t>(z)},
                    page.level)];
                if (entry >> kIndexBits == tag)
                    use(x, y, z, TreeIndex{entry & kIndexMask, depth});
            }
    return true;
}

} // namespace KDX::TileTree3D
