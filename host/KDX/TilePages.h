// Finding the deepest tile at a place without walking the tree.
#pragma once

#include "KDX/PageGeometry.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace KDX::TileTree3D {

/// A page of PageGeometry names for every cell the deepest tile of its group that covers it, as
/// finely as its own tiles ask for, and a table per group finds the page. Since ancestors always
/// exist, the groups that know a place are the coarser ones up to some group: a search begins at
/// the finest group that can matter and gallops towards coarser ones, so that it ends after a few
/// probes whatever the depth of the tree.
///
/// Cost: one page takes at most 2 KiB (B = 2) or 500 bytes (B = 5) and stands for up to 512 or 125
/// tiles of the group's finest depth; pages of coarser tiles take less.
template <class Traits>
class TilePages {
    using Geometry = PageGeometry<Traits>;

public:
    /// An entry can name one of 2^kIndexBits tiles of a depth.
    static constexpr std::uint32_t kIndexBits = 30;

    using Tile = TileTree3D::Tile<Traits, Traits::kChildCount>;
    using Record = TileBinaryNonCompatible<Traits::kChildCount>;
    using Place = TilePlace;

    /// A page's cells: 2^level per axis (B = 2; 5 for B = 5), or null for no page.
    struct Page {
        const std::uint32_t* cells = nullptr;
        int level = 0;
    };

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
        if (!Geometry::toPlace(ijk, place))
            return {};
        int group = std::min(Geometry::groupOf(maxDepth), finestGroup_);
        std::uint32_t entry = entryAt(group, place, cursor);
        if (entry == 0 && (entry = entryBelow(group, place)) == 0)
            return {};
        int depth = depthOf(group, entry);
        std::uint32_t index = entry & kIndexMask;
        for (; depth > maxDepth; --depth)
            index = static_cast<std::uint32_t>(tilesByDepth[depth][index].parentTreeIndex().index);
        return Record(Geometry::originOf(place, depth), TreeIndex{index, depth});
    }

    /// As find() for each of `count` places, whose tiles it writes to `found`; faster for many that
    /// lie apart, since nothing is remembered from one to the next.
    void findEach(const int3* ijk, std::size_t count, int maxDepth,
                  std::span<const std::vector<Tile>> tilesByDepth, Cursor& cursor,
                  TreeIndex* found) const {
        const int group = std::min(Geometry::groupOf(maxDepth), finestGroup_),
                  first = depthOf(group, 0);
        const PageBox pages = groups_[group].pages.box();
        const std::uint32_t* const cells = groups_[group].cells.data();
        for (std::size_t i = 0; i < count; ++i) {
            Place place{};
            std::uint32_t entry = 0;
            if (pages.numbers && Geometry::toPlace(ijk[i], place)) {
                const Place cell = Geometry::cellAt(group, place);
                const std::uint32_t* const page = pages.find(Geometry::pageAround(cell));
                if (page && *page != PageTable::kNone)
                    entry = entryIn(pageNumbered(cells, *page), cell);
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
                   std::array<TreeIndex, 8>& found) const;

    /// Calls use(x, y, z, index) for the tiles of `depth` in a box of `count` tiles that begins at
    /// `first` and lies within one page; those that do not exist at that depth are left out. False,
    /// and no call, where the box reaches beyond every tile.
    template <class Use>
    bool forEachInBox(const WideIndex& first, const int3& count, int depth, Cursor& cursor,
                      const Use& use) const;

    std::size_t memoryUsage() const {
        std::size_t bytes = 0;
        for (const Group& group : groups_)
            bytes += group.pages.memoryUsage() + group.cells.capacity() * sizeof(std::uint32_t);
        return bytes;
    }

private:
    static constexpr std::uint32_t kIndexMask = (1U << kIndexBits) - 1U;
    struct Group {
        // Where a page's cells begin, in units of the smallest page, together with its level in the
        // two low bits.
        PageTable pages;
        std::vector<std::uint32_t, Ostrum::Allocator<std::uint32_t>> cells;
    };

    Page pageAt(int group, const Place& place) const {
        const Group& of = groups_[group];
        const std::uint32_t packed = of.pages.find(place);
        if (packed == PageTable::kNone)
            return {};
        return pageNumbered(of.cells.data(), packed);
    }
    // The page that a number of a group's table stands for.
    static Page pageNumbered(const std::uint32_t* cells, std::uint32_t packed) {
        return {cells + (packed >> 2) * Geometry::cellCount(1), static_cast<int>(packed & 3U)};
    }
    static std::uint32_t entryIn(const Page& page, const Place& cell) {
        // Most searches end in pages of the finest level, whose places cost less to work out.
        return page.level == Geometry::kDepthsPerPage
                   ? page.cells[Geometry::cellInPage(cell, Geometry::kDepthsPerPage)]
                   : page.cells[Geometry::cellInPage(cell, page.level)];
    }

    static int depthOf(int group, std::uint32_t entry) {
        return Geometry::finestDepthOf(group) - Geometry::kDepthsPerPage +
               static_cast<int>(entry >> kIndexBits);
    }

    void enterPage(int group, const Place& page, Cursor& cursor) const {
        if (cursor.group != group || cursor.place != page)
            cursor = {group, page, pageAt(group, page)};
    }

    // The depth's group's entries at the places of a block, 0 where it has none. Bits 2, 1 and 0 of
    // a place stand for x, y and z.
    void blockEntries(const WideIndex& first, const int3& count, int depth, Cursor& cursor,
                      std::array<std::uint32_t, 8>& entries) const;
    static void onePageEntries(const Page& page, const Place& low, const Place& high,
                               std::array<std::uint32_t, 8>& entries);

    // Completes a block: finds the places whose entries are not of its depth; those that it does
    // not extend to hold no tile.
    void findOthers(const WideIndex& first, const int3& count, int depth,
                    std::span<const std::vector<Tile>> tilesByDepth, Cursor& cursor,
                    const std::array<std::uint32_t, 8>& entries, std::uint32_t tag,
                    std::array<TreeIndex, 8>& found) const;

    std::uint32_t entryAt(int group, const Place& place, Cursor& cursor) const {
        const Place cell = Geometry::cellAt(group, place);
        enterPage(group, Geometry::pageAround(cell), cursor);
        return cursor.page.cells ? entryIn(cursor.page, cell) : 0;
    }

    std::uint32_t entryAt(int group, const Place& place) const {
        const Place cell = Geometry::cellAt(group, place);
        const Page page = pageAt(group, Geometry::pageAround(cell));
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

    std::array<Group, Geometry::kGroupCount> groups_;
    int finestGroup_ = 0;
};

} // namespace KDX::TileTree3D
