#include "KDX/TilePages.h"

#include <stdexcept>

namespace KDX::TileTree3D {

// Makes the pages of a group, each just as fine as its deepest tile.
template <class Traits>
void TilePages<Traits>::makePages(int group, std::span<const std::vector<Tile>> tilesByDepth) {
    Group& of = groups_[group];
    const int finest = Geometry::finestDepthOf(group);
    for (int level = 1; level <= Geometry::kDepthsPerPage; ++level) {
        const int depth = finest - Geometry::kDepthsPerPage + level;
        if (depth < 0)
            continue;
        Place last{};
        bool isFirst = true;
        for (const Tile& tile : tilesByDepth[depth]) {
            Place place{};
            Geometry::toPlace(tile.tijk(), place);
            const Place page = Geometry::pageAround(Geometry::cellAt(group, place));
            if (!isFirst && page == last) // as for most tiles in the order of a walk
                continue;
            isFirst = false;
            last = page;
            of.pages.add(page) = static_cast<std::uint32_t>(level);
        }
    }
    of.pages.settle();
    std::size_t units = 0;
    of.pages.forEach([&units](std::uint32_t& packed) {
        const auto level = static_cast<int>(packed);
        packed = static_cast<std::uint32_t>(units << 2) | packed;
        units += Geometry::cellCount(level) / Geometry::cellCount(1);
    });
    if (units >= std::size_t{1} << 30)
        throw std::length_error("the tree has too many tiles for its search pages");
    of.cells.assign(units * Geometry::cellCount(1), 0);
}

// Names the tiles of a depth in all cells that they cover; deeper tiles come later and win.
template <class Traits>
void TilePages<Traits>::fillPages(int depth, const std::vector<Tile>& tiles) {
    const int group = Geometry::groupOf(depth);
    Group& of = groups_[group];
    const int level =
        depth - Geometry::finestDepthOf(group) + Geometry::kDepthsPerPage; // 1 .. kDepthsPerPage
    std::uint32_t index = 0;
    std::uint32_t packed = PageTable::kNone;
    Place packedPage{}; // of the tile before, for the same reason
    for (const Tile& tile : tiles) {
        Place place{};
        Geometry::toPlace(tile.tijk(), place);
        const Place cell = Geometry::cellAt(group, place);
        if (const Place page = Geometry::pageAround(cell);
            packed == PageTable::kNone || page != packedPage) {
            packed = of.pages.find(page);
            packedPage = page;
        }
        if (packed == PageTable::kNone)
            continue; // for no tile: makePages() has made a page for each
        const auto pageLevel = static_cast<int>(packed & 3U);
        const std::size_t n = Geometry::cellsPerAxis(pageLevel),
                          covered = n / Geometry::cellsPerAxis(level);
        std::uint32_t* cells = of.cells.data() + (packed >> 2) * Geometry::cellCount(1) +
                               Geometry::cellInPage(cell, pageLevel);
        const std::uint32_t entry = static_cast<std::uint32_t>(level) << kIndexBits | index++;
        for (std::size_t z = 0; z < covered; ++z)
            for (std::size_t y = 0; y < covered; ++y)
                std::fill_n(cells + n * (y + n * z), covered, entry);
    }
}

template <class Traits>
void TilePages<Traits>::build(std::span<const std::vector<Tile>> tilesByDepth) {
    for (int group = 0; group < Geometry::kGroupCount; ++group)
        makePages(group, tilesByDepth);
    for (int depth = 0; depth <= Traits::kFinestDepth; ++depth) {
        if (!tilesByDepth[depth].empty())
            finestGroup_ = Geometry::groupOf(depth);
        fillPages(depth, tilesByDepth[depth]);
    }
}

#define STRATUM_TREE_SHAPE(B, W) template class TilePages<Traits<B, W, 1>>;
#include "common/rows.def"

} // namespace KDX::TileTree3D
