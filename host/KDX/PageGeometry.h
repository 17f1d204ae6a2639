// How the space of a tree is cut into pages, and where a place lies in them.
#pragma once

#include "KDX/PageTable.h"
#include "KDX/Tile.h"
#include "KDX/lowestIndex.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace KDX::TileTree3D {

/// The depths of a tree fall into groups of `kDepthsPerPage`. Space is cut, per group, into pages
/// of kCellsPerAxis^3 cells, each cell as large as a tile of the group's finest depth. A page of a
/// group whose tiles are all coarser has fewer and larger cells: its level says how many.
template <class Traits>
class PageGeometry {
    static constexpr int B = Traits::kChildrenPerAxis;

public:
    static constexpr int kDepthsPerPage = B == 2 ? 3 : 1;
    static constexpr int kCellsPerAxis = B == 2 ? 8 : 5;
    static constexpr int kGroupCount = (Traits::kFinestDepth + kDepthsPerPage) / kDepthsPerPage;

    /// A place in the tree, as distances from the lowest index that a tile can hold.
    using Place = TilePlace;

    /// The lowest index that a tile can hold.
    static constexpr std::int64_t kLowest = kLowestIndex<Traits>;

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

    /// As toPlace(), for an index with others `extent` above it on every axis.
    static bool toPlaceBelow(const WideIndex& ijk, std::int64_t extent, Place& place) {
        const std::uint64_t end = (std::uint64_t{1} << 32) - static_cast<std::uint64_t>(extent);
        const auto x = static_cast<std::uint64_t>(ijk.x - kLowest),
                   y = static_cast<std::uint64_t>(ijk.y - kLowest),
                   z = static_cast<std::uint64_t>(ijk.z - kLowest);
        place = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                 static_cast<std::uint32_t>(z)};
        return x < end && y < end && z < end;
    }

    /// The group that a depth belongs to; the groups' finest depths end at Traits::kFinestDepth.
    static constexpr int groupOf(int depth) { return kGroups[static_cast<std::size_t>(depth)]; }

    static constexpr int finestDepthOf(int group) {
        return Traits::kFinestDepth - (kGroupCount - 1 - group) * kDepthsPerPage;
    }

    /// The index of the tile of a depth that holds the place.
    static int3 originOf(const Place& place, int depth) {
        const auto extent = static_cast<std::uint32_t>(Traits::tileExtent(depth));
        const auto origin = [extent, depth](std::uint32_t v) {
            const std::uint32_t begin = B == 2 ? v & ~(extent - 1) : inTiles(v, depth) * extent;
            return static_cast<int>(begin + static_cast<std::uint32_t>(kLowest));
        };
        return {origin(place.x), origin(place.y), origin(place.z)};
    }
    /// The cell of a group that holds the place, counted from the lowest one.
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
    /// The page that holds the cell, counted likewise.
    static Place pageAround(const Place& cell) {
        constexpr auto n = static_cast<std::uint32_t>(kCellsPerAxis);
        return {cell.x / n, cell.y / n, cell.z / n};
    }

    /// Cells of a page of the given level: 2^level an axis for B = 2, 5 for B = 5.
    static constexpr std::size_t cellsPerAxis(int level) {
        return B == 2 ? std::size_t{1} << level : kCellsPerAxis;
    }
    static constexpr std::size_t cellCount(int level) {
        return cellsPerAxis(level) * cellsPerAxis(level) * cellsPerAxis(level);
    }

    /// Where a cell of the group lies along an axis of a page of the given level.
    static std::size_t alongPage(std::uint32_t cell, int level) {
        constexpr auto n = static_cast<std::uint32_t>(kCellsPerAxis);
        return cell % n >> (kDepthsPerPage - level); // by 0 for B = 5
    }
    /// Where it lies among all cells of the page; x runs fastest.
    static std::size_t cellInPage(const Place& cell, int level) {
        const std::size_t perAxis = cellsPerAxis(level);
        return alongPage(cell.x, level) +
               perAxis * (alongPage(cell.y, level) + perAxis * alongPage(cell.z, level));
    }

    /// Tiles of `depth` an axis of a page.
    static int tilesPerPage(int depth) {
        const std::int64_t extent = Traits::tileExtent(finestDepthOf(groupOf(depth)));
        return static_cast<int>(kCellsPerAxis * extent / Traits::tileExtent(depth));
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

    static std::uint32_t fromLowest(std::int64_t v) {
        return static_cast<std::uint32_t>(v) - static_cast<std::uint32_t>(kLowest);
    }
};

} // namespace KDX::TileTree3D
