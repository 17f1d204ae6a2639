// Finding the deepest tile at a place without walking the tree.
#pragma once

#include "KDX/Tile.h"
#include "Ostrum/Memory.h"

#include <array>
#include <bit>
#include <cstdint>
#include <span>
#include <vector>

namespace KDX::TileTree3D {

/// The depths of a tree fall into groups of `kDepthsPerPage`. Space is cut, per group, into pages
/// of kCellsPerAxis^3 cells, each cell as large as a tile of the group's finest depth; a page names
/// for every cell the deepest tile of the group that covers it, and a hash table per group finds
/// the page. Since ancestors always exist, the groups that know a place are the coarser ones up to
/// some group, and a binary search over the groups ends every search after a few probes, whatever
/// the depth of the tree.
///
/// Cost: one page is 2 KiB (B = 2) or 500 bytes (B = 5) and stands for up to 512 or 125 tiles.
template <class Traits>
class TilePages {
    static constexpr int B = Traits::kChildrenPerAxis;

public:
    static constexpr int kDepthsPerPage = B == 2 ? 3 : 1;
    static constexpr int kCellsPerAxis = B == 2 ? 8 : 5;
    static constexpr int kGroupCount = (Traits::kFinestDepth + kDepthsPerPage) / kDepthsPerPage;
    static constexpr std::size_t kCellsPerPage =
        static_cast<std::size_t>(kCellsPerAxis) * kCellsPerAxis * kCellsPerAxis;

    /// Tiles per depth that an entry can name.
    static constexpr std::uint32_t kIndexBits = 30;

    using Tile = TileTree3D::Tile<Traits, Traits::kChildCount>;
    using Record = TileBinaryNonCompatible<Traits::kChildCount>;

    /// A place in the tree, as unsigned distances from the lowest index that a tile can hold.
    struct Place {
        std::uint32_t x, y, z;
    };

    /// False for an index below every tile's reach.
    static bool toPlace(const int3& ijk, Place& place) {
        if constexpr (B != 2)
            if (ijk.x < kLowest || ijk.y < kLowest || ijk.z < kLowest)
                return false;
        place = {fromLowest(ijk.x), fromLowest(ijk.y), fromLowest(ijk.z)};
        return true;
    }

    /// The group that a depth belongs to; the groups' finest depths end at Traits::kFinestDepth.
    static constexpr int groupOf(int depth) {
        return kGroupCount - 1 - (Traits::kFinestDepth - depth) / kDepthsPerPage;
    }

    /// Remembers the page of the last search of one caller.
    struct Cursor {
        int group = -1;
        Place page{};
        const std::uint32_t* cells = nullptr;
    };

    void build(std::span<const std::vector<Tile>> tilesByDepth);

    /// The deepest tile of depth at most `maxDepth` (0 to the finest) that holds the index; no tile
    /// when there is none.
    Record find(const int3& ijk, int maxDepth, std::span<const std::vector<Tile>> tilesByDepth,
                Cursor& cursor) const {
        Place place{};
        if (!toPlace(ijk, place))
            return {};
        int group = groupOf(maxDepth);
        std::uint32_t entry = entryAt(group, place, cursor);
        if (entry == 0 && (entry = entryBelow(group, place)) == 0)
            return {};
        int depth = finestDepthOf(group) - kDepthsPerPage + static_cast<int>(entry >> kIndexBits);
        std::uint32_t index = entry & kIndexMask;
        for (; depth > maxDepth; --depth)
            index = static_cast<std::uint32_t>(tilesByDepth[depth][index].parentTreeIndex().index);
        return Record(originOf(place, depth), TreeIndex{index, depth});
    }

    std::size_t memoryUsage() const {
        std::size_t bytes = 0;
        for (const Group& group : groups_)
            bytes += group.slots.capacity() * sizeof(Slot) +
                     group.cells.capacity() * sizeof(std::uint32_t);
        return bytes;
    }

private:
    static constexpr std::int64_t kLowest =
        B == 2 ? std::int64_t{std::numeric_limits<int>::min()} : -Traits::tileExtent(0);
    static constexpr std::uint32_t kIndexMask = (1U << kIndexBits) - 1U;
    static constexpr std::uint32_t kNoPage = std::numeric_limits<std::uint32_t>::max();

    struct Slot {
        Place page{};
        std::uint32_t number = kNoPage;
    };
    struct Group {
        std::vector<Slot, Ostrum::Allocator<Slot>> slots; // a power of two, at most half in use
        std::vector<std::uint32_t, Ostrum::Allocator<std::uint32_t>> cells;
    };

    static std::uint32_t fromLowest(int v) {
        return static_cast<std::uint32_t>(v) - static_cast<std::uint32_t>(kLowest);
    }
    static constexpr int finestDepthOf(int group) {
        return Traits::kFinestDepth - (kGroupCount - 1 - group) * kDepthsPerPage;
    }
    static int3 originOf(const Place& place, int depth) {
        const auto extent = static_cast<std::uint32_t>(Traits::tileExtent(depth));
        const auto origin = [extent](std::uint32_t v) {
            return static_cast<int>(v - v % extent + static_cast<std::uint32_t>(kLowest));
        };
        return {origin(place.x), origin(place.y), origin(place.z)};
    }
    static std::size_t hash(const Place& page, std::size_t slotCount) {
        const std::uint64_t mixed = (page.x * 0x9E3779B97F4A7C15ULL) ^
                                    (page.y * 0xC2B2AE3D27D4EB4FULL) ^
                                    (page.z * 0x165667B19E3779F9ULL);
        return static_cast<std::size_t>((mixed * 0x9E3779B97F4A7C15ULL) >> 32) & (slotCount - 1);
    }

    const std::uint32_t* pageCells(const Group& group, const Place& page) const {
        if (group.slots.empty())
            return nullptr;
        for (std::size_t s = hash(page, group.slots.size());;
             s = (s + 1) & (group.slots.size() - 1)) {
            const Slot& slot = group.slots[s];
            if (slot.number == kNoPage)
                return nullptr;
            if (slot.page.x == page.x && slot.page.y == page.y && slot.page.z == page.z)
                return group.cells.data() + slot.number * kCellsPerPage;
        }
    }

    static Place cellAt(int group, const Place& place) {
        const auto extent = static_cast<std::uint32_t>(Traits::tileExtent(finestDepthOf(group)));
        if constexpr (B == 2) {
            const int shift = std::countr_zero(extent);
            return {place.x >> shift, place.y >> shift, place.z >> shift};
        } else {
            return {place.x / extent, place.y / extent, place.z / extent};
        }
    }
    static Place pageOf(const Place& cell) {
        constexpr auto n = static_cast<std::uint32_t>(kCellsPerAxis);
        return {cell.x / n, cell.y / n, cell.z / n};
    }
    static std::size_t cellInPage(const Place& cell) {
        constexpr auto n = static_cast<std::uint32_t>(kCellsPerAxis);
        return cell.x % n + n * (cell.y % n + n * (cell.z % n));
    }

    std::uint32_t entryAt(int group, const Place& place, Cursor& cursor) const {
        const Place cell = cellAt(group, place), page = pageOf(cell);
        if (cursor.group != group || cursor.page.x != page.x || cursor.page.y != page.y ||
            cursor.page.z != page.z) {
            cursor.group = group;
            cursor.page = page;
            cursor.cells = pageCells(groups_[group], page);
        }
        return cursor.cells ? cursor.cells[cellInPage(cell)] : 0;
    }

    // The entry of the finest group coarser than `group` that knows the place; sets `group` to it.
    std::uint32_t entryBelow(int& group, const Place& place) const {
        int known = -1, unknown = group;
        std::uint32_t entry = 0;
        while (unknown - known > 1) {
            const int middle = (known + unknown) / 2;
            const Place cell = cellAt(middle, place);
            const std::uint32_t* cells = pageCells(groups_[middle], pageOf(cell));
            const std::uint32_t found = cells ? cells[cellInPage(cell)] : 0;
            if (found != 0) {
                entry = found;
                known = middle;
            } else {
                unknown = middle;
            }
        }
        group = known;
        return entry;
    }

    std::uint32_t pageNumber(Group& group, const Place& page);
    void grow(Group& group, std::size_t slotCount);

    std::array<Group, kGroupCount> groups_;
};

} // namespace KDX::TileTree3D
