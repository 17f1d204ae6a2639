// Finding the deepest tile at a place without walking the tree.
#pragma once

#include "KDX/PageTable.h"
#include "KDX/Tile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <span>
#include <vector>

namespace KDX::TileTree3D {

/// The depths of a tree fall into groups of `kDepthsPerPage`. Space is cut, per group, into pages
/// of kCellsPerAxis^3 cells, each cell as large as a tile of the group's finest depth. A page names
/// for every cell the deepest tile of the group that covers it, as finely as its own tiles ask for,
/// and a table per group finds the page. Since ancestors always exist, the groups that know a
/// place are the coarser ones up to some group: a search begins at the finest group that can matter
/// and gallops towards coarser ones, so that it ends after a few probes whatever the depth of the
/// tree.
///
/// Cost: one page takes at most 2 KiB (B = 2) or 500 bytes (B = 5) and stands for up to 512 or 125
/// tiles of the group's finest depth; pages of coarser tiles take less.
template <class Traits>
class TilePages {
    static constexpr int B = Traits::kChildrenPerAxis;

public:
    static constexpr int kDepthsPerPage = B == 2 ? 3 : 1;
    static constexpr int kCellsPerAxis = B == 2 ? 8 : 5;
    static constexpr int kGroupCount = (Traits::kFinestDepth + kDepthsPerPage) / kDepthsPerPage;
    /// Tiles per depth that an entry can name.
    static constexpr std::uint32_t kIndexBits = 30;

    using Tile = TileTree3D::Tile<Traits, Traits::kChildCount>;
    using Record = TileBinaryNonCompatible<Traits::kChildCount>;

    /// A place in the tree, as distances from the lowest index that a tile can hold.
    using Place = TilePlace;

    /// A page's cells: 2^level per axis (B = 2; 5 for B = 5), or null for no page.
    struct Page {
        const std::uint32_t* cells = nullptr;
        int level = 0;
    };

    /// The lowest index that a tile can hold.
    static constexpr std::int64_t kLowest =
        B == 2 ? std::int64_t{std::numeric_limits<int>::min()} : -Traits::tileExtent(0);

    /// False for an index out of every tile's reach.
    static bool toPlace(const int3& ijk, Place& place) {
        if constexpr (B != 2)
            if (ijk.x < kLowest || ijk.y < kLowest || ijk.z < kLowest)
                return false;
        place = {fromLowest(ijk.x), fromLowest(ijk.y), fromLowest(ijk.z)};
        return true;
    }
    static bool toPlace(const WideIndex& ijk, Place& place) {
        constexpr std::int64_t kEnd = kLowest + (std::int64_t{1} << 32);
        if (std::min({ijk.x, ijk.y, ijk.z}) < kLowest || std::max({ijk.x, ijk.y, ijk.z}) >= kEnd)
            return false;
        place = {fromLowest(ijk.x), fromLowest(ijk.y), fromLowest(ijk.z)};
        return true;
    }

    /// The group that a depth belongs to; the groups' finest depths end at Traits::kFinestDepth.
    static constexpr int groupOf(int depth) { return kGroups[static_cast<std::size_t>(depth)]; }

    /// Remembers the page of the last search of one caller.
    struct Cursor {
        int group = -1;
        Place place{};
        Page page;
    };

    void build(std::span<const std::vector<Tile>> tilesByDepth);

    /// The deepest tile of depth at most `maxDepth` (0 to the finest) that holds the index; no tile
    /// when there is none.
    template <class Index>
    Record find(const Index& ijk, int maxDepth, std::span<const std::vector<Tile>> tilesByDepth,
                Cursor& cursor) const {
        Place place{};
        if (!toPlace(ijk, place))
            return {};
        int group = std::min(groupOf(maxDepth), finestGroup_);
        std::uint32_t entry = entryAt(group, place, cursor);
        if (entry == 0 && (entry = entryBelow(group, place)) == 0)
            return {};
        int depth = depthOf(group, entry);
        std::uint32_t index = entry & kIndexMask;
        for (; depth > maxDepth; --depth)
            index = static_cast<std::uint32_t>(tilesByDepth[depth][index].parentTreeIndex().index);
        return Record(originOf(place, depth), TreeIndex{index, depth});
    }

    /// As find() for each of `count` places, whose tiles it writes to `found`; faster for many that
    /// lie apart, since nothing is remembered from one to the next.
    void findEach(const int3* ijk, std::size_t count, int maxDepth,
                  std::span<const std::vector<Tile>> tilesByDepth, Cursor& cursor,
                  TreeIndex* found) const {
        const int group = std::min(groupOf(maxDepth), finestGroup_), first = depthOf(group, 0);
        const PageBox pages = groups_[group].pages.box();
        const std::uint32_t* const cells = groups_[group].cells.data();
        for (std::size_t i = 0; i < count; ++i) {
            Place place{};
            std::uint32_t entry = 0;
            if (pages.numbers && toPlace(ijk[i], place)) {
                const Place cell = cellAt(group, place);
                const std::uint32_t* const page = pages.find(pageOf(cell));
                if (page && *page != PageTable::kNone)
                    entry = entryIn(pageOf(cells, *page), cell);
            }
            const int depth = first + static_cast<int>(entry >> kIndexBits);
            if (entry != 0 && depth <= maxDepth) [[likely]]
                found[i] = {entry & kIndexMask, depth};
            else
                found[i] = find(ijk[i], maxDepth, tilesByDepth, cursor).treeIndex();
        }
    }

    /// As find() for the tiles of `depth` that begin at `first` and, on each axis that `count` says
    /// 2 of, the next one upward: tile (i, j, k) at found[(i * 2 + j) * 2 + k]. What all of them
    /// share is worked out once.
    void findBlock(const WideIndex& first, const int3& count, int depth,
                   std::span<const std::vector<Tile>> tilesByDepth, Cursor& cursor,
                   std::array<TreeIndex, 8>& found) const {
        std::array<std::uint32_t, 8> entries{};
        blockEntries(first, count, depth, cursor, entries);
        std::uint32_t everywhere = ~0U, anywhere = 0;
        for (unsigned place = 0; place < 8; ++place) {
            found[place] = {entries[place] & kIndexMask, depth};
            everywhere &= entries[place];
            anywhere |= entries[place];
        }
        const auto tag = static_cast<std::uint32_t>(depth - depthOf(groupOf(depth), 0));
        const bool areAllOfDepth = everywhere >> kIndexBits == tag && anywhere >> kIndexBits == tag;
        if (!areAllOfDepth || count.x + count.y + count.z < 6) [[unlikely]]
            findOthers(first, count, depth, tilesByDepth, cursor, entries, tag, found);
    }

    /// Calls use(x, y, z, index) for the tiles of `depth` in a box of `count` tiles that begins at
    /// `first` and lies within one page; those that do not exist at that depth are left out. False,
    /// and no call, where the box reaches beyond every tile.
    template <class Use>
    bool forEachInBox(const WideIndex& first, const int3& count, int depth, Cursor& cursor,
                      const Use& use) const {
        const int group = groupOf(depth);
        const std::int64_t extent = Traits::tileExtent(depth);
        Place place{}, last{};
        if (!toPlace(first, place) ||
            !toPlace(WideIndex{first.x + extent * (count.x - 1), first.y + extent * (count.y - 1),
                               first.z + extent * (count.z - 1)},
                     last))
            return false;
        if (group > finestGroup_)
            return true;
        const Place begin = cellAt(group, place);
        enterPage(group, pageOf(begin), cursor);
        if (!cursor.page.cells)
            return true;
        const Page page = cursor.page;
        const auto step =
            static_cast<std::uint32_t>(extent / Traits::tileExtent(finestDepthOf(group)));
        const auto tag = static_cast<std::uint32_t>(depth - depthOf(group, 0));
        for (int z = 0; z < count.z; ++z)
            for (int y = 0; y < count.y; ++y)
                for (int x = 0; x < count.x; ++x) {
                    const std::uint32_t entry =
                        page.cells[cellInPage({begin.x + step * static_cast<std::uint32_t>(x),
                                               begin.y + step * static_cast<std::uint32_t>(y),
                                               begin.z + step * static_cast<std::uint32_t>(z)},
                                              page.level)];
                    if (entry >> kIndexBits == tag)
                        use(x, y, z, TreeIndex{entry & kIndexMask, depth});
                }
        return true;
    }

    /// Tiles of `depth` an axis of a page.
    static int tilesPerPage(int depth) {
        const std::int64_t extent = Traits::tileExtent(finestDepthOf(groupOf(depth)));
        return static_cast<int>(kCellsPerAxis * extent / Traits::tileExtent(depth));
    }

    std::size_t memoryUsage() const {
        std::size_t bytes = 0;
        for (const Group& group : groups_)
            bytes += group.pages.memoryUsage() + group.cells.capacity() * sizeof(std::uint32_t);
        return bytes;
    }

private:
    static constexpr auto kGroups = [] {
        std::array<int, Traits::kDepthCount> groups{};
        for (int depth = 0; depth < Traits::kDepthCount; ++depth)
            groups[static_cast<std::size_t>(depth)] =
                kGroupCount - 1 - (Traits::kFinestDepth - depth) / kDepthsPerPage;
        return groups;
    }();
    // 2^64 / extent, rounded up: the upper half of its product with a 32-bit number is the number
    // divided by the extent, rounded down.
    static constexpr auto kInverseExtents = [] {
        std::array<std::uint64_t, Traits::kDepthCount> inverses{};
        for (int depth = 0; depth < Traits::kDepthCount; ++depth)
            inverses[static_cast<std::size_t>(depth)] =
                ~std::uint64_t{0} / static_cast<std::uint64_t>(Traits::tileExtent(depth)) + 1;
        return inverses;
    }();
    // A distance in tiles of a depth, rounded down.
    static std::uint32_t inTiles(std::uint32_t distance, int depth) {
        __extension__ using Product = unsigned __int128;
        return static_cast<std::uint32_t>(
            static_cast<Product>(kInverseExtents[static_cast<std::size_t>(depth)]) * distance >>
            64);
    }

    static constexpr std::uint32_t kIndexMask = (1U << kIndexBits) - 1U;
    struct Group {
        // Where a page's cells begin, in units of the smallest page, together with its level in the
        // two low bits.
        PageTable pages;
        std::vector<std::uint32_t, Ostrum::Allocator<std::uint32_t>> cells;
    };

    static std::uint32_t fromLowest(std::int64_t v) {
        return static_cast<std::uint32_t>(v) - static_cast<std::uint32_t>(kLowest);
    }
    static constexpr int finestDepthOf(int group) {
        return Traits::kFinestDepth - (kGroupCount - 1 - group) * kDepthsPerPage;
    }
    static int3 originOf(const Place& place, int depth) {
        const auto extent = static_cast<std::uint32_t>(Traits::tileExtent(depth));
        const auto origin = [extent, depth](std::uint32_t v) {
            const std::uint32_t begin = B == 2 ? v & ~(extent - 1) : inTiles(v, depth) * extent;
            return static_cast<int>(begin + static_cast<std::uint32_t>(kLowest));
        };
        return {origin(place.x), origin(place.y), origin(place.z)};
    }
    static constexpr std::size_t cellsPerAxis(int level) {
        return B == 2 ? std::size_t{1} << level : kCellsPerAxis;
    }
    static constexpr std::size_t cellCount(int level) {
        return cellsPerAxis(level) * cellsPerAxis(level) * cellsPerAxis(level);
    }
    Page pageAt(int group, const Place& place) const {
        const Group& of = groups_[group];
        const std::uint32_t packed = of.pages.find(place);
        if (packed == PageTable::kNone)
            return {};
        return pageOf(of.cells.data(), packed);
    }
    // The page that a number of a group's table stands for.
    static Page pageOf(const std::uint32_t* cells, std::uint32_t packed) {
        return {cells + (packed >> 2) * cellCount(1), static_cast<int>(packed & 3U)};
    }
    static std::uint32_t entryIn(const Page& page, const Place& cell) {
        // Most searches end in pages of the finest level, whose places cost less to work out.
        return page.level == kDepthsPerPage ? page.cells[cellInPage(cell, kDepthsPerPage)]
                                            : page.cells[cellInPage(cell, page.level)];
    }

    static Place cellAt(int group, const Place& place) {
        const int depth = finestDepthOf(group);
        if constexpr (B == 2) {
            constexpr int kLargest = std::countr_zero(static_cast<unsigned>(Traits::tileExtent(0)));
            const int shift = kLargest - depth;
            return {place.x >> shift, place.y >> shift, place.z >> shift};
        } else {
            return {inTiles(place.x, depth), inTiles(place.y, depth), inTiles(place.z, depth)};
        }
    }
    static Place pageOf(const Place& cell) {
        constexpr auto n = static_cast<std::uint32_t>(kCellsPerAxis);
        return {cell.x / n, cell.y / n, cell.z / n};
    }
    // Where a cell lies along an axis of a page of the given level.
    static std::size_t alongPage(std::uint32_t cell, int level) {
        constexpr auto n = static_cast<std::uint32_t>(kCellsPerAxis);
        return cell % n >> (kDepthsPerPage - level); // by 0 for B = 5
    }
    static std::size_t cellInPage(const Place& cell, int level) {
        const std::size_t perAxis = cellsPerAxis(level);
        return alongPage(cell.x, level) +
               perAxis * (alongPage(cell.y, level) + perAxis * alongPage(cell.z, level));
    }

    static int depthOf(int group, std::uint32_t entry) {
        return finestDepthOf(group) - kDepthsPerPage + static_cast<int>(entry >> kIndexBits);
    }

    void enterPage(int group, const Place& page, Cursor& cursor) const {
        if (cursor.group != group || cursor.place != page)
            cursor = {group, page, pageAt(group, page)};
    }

    // The depth's group's entries at the places of a block, 0 where it has none. Bits 2, 1 and 0 of
    // a place stand for x, y and z.
    void blockEntries(const WideIndex& first, const int3& count, int depth, Cursor& cursor,
                      std::array<std::uint32_t, 8>& entries) const {
        const int group = groupOf(depth);
        Place lowest{};
        if (group > finestGroup_ || !toPlaceBelow(first, Traits::tileExtent(depth), lowest))
            return;
        const Place low = cellAt(group, lowest);
        const auto step = static_cast<std::uint32_t>(Traits::tileExtent(depth) /
                                                     Traits::tileExtent(finestDepthOf(group)));
        const Place high{low.x + (count.x > 1 ? step : 0), low.y + (count.y > 1 ? step : 0),
                         low.z + (count.z > 1 ? step : 0)};
        const Place lowPage = pageOf(low), highPage = pageOf(high);
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
                enterPage(group, pageOf(cell), cursor);
                pages[place] = cursor.page;
            }
            const Page& page = pages[place & split];
            if (page.cells)
                entries[place] = page.cells[cellInPage(cell, page.level)];
        }
    }

    static void onePageEntries(const Page& page, const Place& low, const Place& high,
                               std::array<std::uint32_t, 8>& entries) {
        const std::size_t perAxis = cellsPerAxis(page.level);
        const auto along = [&](std::uint32_t cell) { return alongPage(cell, page.level); };
        const std::uint32_t* const first = page.cells + cellInPage(low, page.level);
        const std::size_t x = along(high.x) - along(low.x),
                          y = perAxis * (along(high.y) - along(low.y)),
                          z = perAxis * perAxis * (along(high.z) - along(low.z));
        entries = {first[0], first[z],     first[y],     first[y + z],
                   first[x], first[x + z], first[x + y], first[x + y + z]};
    }

    // As toPlace(), for an index with others `extent` above it on every axis.
    static bool toPlaceBelow(const WideIndex& ijk, std::int64_t extent, Place& place) {
        const std::uint64_t end = (std::uint64_t{1} << 32) - static_cast<std::uint64_t>(extent);
        const auto x = static_cast<std::uint64_t>(ijk.x - kLowest),
                   y = static_cast<std::uint64_t>(ijk.y - kLowest),
                   z = static_cast<std::uint64_t>(ijk.z - kLowest);
        place = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                 static_cast<std::uint32_t>(z)};
        return x < end && y < end && z < end;
    }

    // Completes a block: finds the places whose entries are not of its depth; those that it does
    // not extend to hold no tile.
    void findOthers(const WideIndex& first, const int3& count, int depth,
                    std::span<const std::vector<Tile>> tilesByDepth, Cursor& cursor,
                    const std::array<std::uint32_t, 8>& entries, std::uint32_t tag,
                    std::array<TreeIndex, 8>& found) const {
        const std::int64_t extent = Traits::tileExtent(depth);
        for (unsigned place = 0; place < 8; ++place) {
            const int x = place >> 2, y = place >> 1 & 1, z = place & 1;
            if (x >= count.x || y >= count.y || z >= count.z)
                found[place] = {};
            else if (entries[place] >> kIndexBits != tag)
                found[place] = find(WideIndex{first.x + x * extent, first.y + y * extent,
                                              first.z + z * extent},
                                    depth, tilesByDepth, cursor)
                                   .treeIndex();
        }
    }

    std::uint32_t entryAt(int group, const Place& place, Cursor& cursor) const {
        const Place cell = cellAt(group, place);
        enterPage(group, pageOf(cell), cursor);
        return cursor.page.cells ? entryIn(cursor.page, cell) : 0;
    }

    std::uint32_t entryAt(int group, const Place& place) const {
        const Place cell = cellAt(group, place);
        const Page page = pageAt(group, pageOf(cell));
        return page.cells ? entryIn(page, cell) : 0;
    }

    // The entry of the finest group coarser than `group` that knows the place; sets `group` to it.
    // Gallops: tiles near the finest are what most searches end at.
    std::uint32_t entryBelow(int& group, const Place& place) const {
        int unknown = group, known = -1;
        std::uint32_t entry = 0;
        for (int step = 1; known < 0 && unknown > 0; step *= 2) {
            const int probe = std::max(unknown - step, 0);
            entry = entryAt(probe, place);
            (entry != 0 ? known : unknown) = probe;
        }
        while (unknown - known > 1 && known >= 0) {
            const int middle = (known + unknown) / 2;
            const std::uint32_t found = entryAt(middle, place);
            (found != 0 ? known : unknown) = middle;
            entry = found != 0 ? found : entry;
        }
        group = known;
        return entry;
    }

    void makePages(int group, std::span<const std::vector<Tile>> tilesByDepth);
    void fillPages(int depth, const std::vector<Tile>& tiles);

    std::array<Group, kGroupCount> groups_;
    int finestGroup_ = 0;
};

} // namespace KDX::TileTree3D
