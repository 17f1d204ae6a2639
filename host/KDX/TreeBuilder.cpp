#include "KDX/TreeBuilder.h"
#include "common/parallel.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

namespace KDX::TileTree3D {

namespace {

template <class Traits>
std::int64_t lowestIndex() {
    return Traits::kChildrenPerAxis == 2 ? std::int64_t{std::numeric_limits<int>::min()}
                                         : -std::int64_t{Traits::tileExtent(0)};
}

std::int64_t roundDown(std::int64_t v, std::int64_t step) {
    return floorDiv(v, step) * step;
}

// Whether a tile's child of edge `extent` touches the box. A child may lie beyond every index.
bool touches(const bbox<int3, int>& box, const int3& tijk, std::int64_t extent, const int3& cell) {
    const auto overlaps = [extent](std::int64_t tile, int c, int lower, int upper) {
        const std::int64_t origin = tile + c * extent;
        return origin <= upper && origin + extent > lower;
    };
    return overlaps(tijk.x, cell.x, box.min.x, box.max.x) &&
           overlaps(tijk.y, cell.y, box.min.y, box.max.y) &&
           overlaps(tijk.z, cell.z, box.min.z, box.max.z);
}

// Calls f with the origin of every tile of the depth that touches the box.
template <class Traits, class F>
void forEachTile(int depth, const bbox<int3, int>& box, const F& f) {
    const std::int64_t step = Traits::tileExtent(depth);
    const auto first = [step](int v) {
        return std::max(roundDown(v, step), lowestIndex<Traits>());
    };
    for (std::int64_t z = first(box.min.z); z <= box.max.z; z += step)
        for (std::int64_t y = first(box.min.y); y <= box.max.y; y += step)
            for (std::int64_t x = first(box.min.x); x <= box.max.x; x += step)
                f(int3{static_cast<int>(x), static_cast<int>(y), static_cast<int>(z)});
}

} // namespace

template <class Traits>
auto TreeBuilder<Traits>::entryOf(int depth, const int3& ijk, bool holdsVoxels) -> Entry {
    if (!Traits::isDepth(depth))
        throw std::invalid_argument("there is no depth " + std::to_string(depth));
    if (std::min({ijk.x, ijk.y, ijk.z}) < lowestIndex<Traits>())
        throw std::out_of_range("an index below " + std::to_string(lowestIndex<Traits>()) +
                                " lies in no tile");
    constexpr std::int64_t B = Traits::kChildrenPerAxis;
    const auto unsignedIndex = [](int v) { return v - lowestIndex<Traits>(); };
    const std::int64_t at[3] = {unsignedIndex(ijk.x), unsignedIndex(ijk.y), unsignedIndex(ijk.z)};
    const auto cell = [&](int axis, int d) { return at[axis] / Traits::tileExtent(d); };
    // At depth 0 there are no more than 4 tiles an axis, which fit the bits of a cell.
    const auto root = static_cast<std::uint64_t>(cell(0, 0) + 4 * (cell(1, 0) + 4 * cell(2, 0)));
    Key key = root;
    for (int d = 1; d <= depth; ++d) {
        const auto child = static_cast<std::uint64_t>(cell(0, d) % B +
                                                      B * (cell(1, d) % B + B * (cell(2, d) % B)));
        key = key << kBitsPerDepth | child;
    }
    const std::int64_t extent = Traits::tileExtent(depth);
    const auto origin = [extent](int v) {
        const std::int64_t base = lowestIndex<Traits>();
        return static_cast<int>(base + roundDown(v - base, extent));
    };
    return {key, {origin(ijk.x), origin(ijk.y), origin(ijk.z)}, holdsVoxels};
}

template <class Traits>
int3 TreeBuilder<Traits>::childCellOf(Key key) {
    constexpr int B = Traits::kChildrenPerAxis;
    const int cell = static_cast<int>(key & ((Key{1} << kBitsPerDepth) - 1));
    return {cell % B, cell / B % B, cell / (B * B)};
}

template <class Traits>
void TreeBuilder<Traits>::addTile(int depth, const int3& ijk, bool holdsVoxels) {
    const Entry entry = entryOf(depth, ijk, holdsVoxels);
    entries_[depth].push_back(entry);
}

template <class Traits>
void TreeBuilder<Traits>::addBox(int depth, const bbox<int3, int>& box, bool holdsVoxels) {
    if (!Traits::isDepth(depth))
        throw std::invalid_argument("there is no depth " + std::to_string(depth));
    forEachTile<Traits>(depth, box, [&](const int3& tijk) { addTile(depth, tijk, holdsVoxels); });
}

template <class Traits>
void TreeBuilder<Traits>::addRefined(const bbox<int3, int>& box, const Rule& rule) {
    constexpr int B = Traits::kChildrenPerAxis;
    std::vector<int3> tiles;
    forEachTile<Traits>(0, box, [&](const int3& tijk) { tiles.push_back(tijk); });
    for (int depth = 0; depth <= Traits::kFinestDepth && !tiles.empty(); ++depth) {
        std::vector<Wish> wishes(tiles.size());
        Stratum::parallelFor(tiles.size(), 64, [&](const Stratum::IndexRange& range) {
            for (std::size_t i = range.begin(); i < range.end(); ++i)
                wishes[i] = rule(tiles[i], depth);
        });
        std::vector<int3> children;
        for (std::size_t i = 0; i < tiles.size(); ++i) {
            if (wishes[i].holdsVoxels)
                addTile(depth, tiles[i]);
            if (!wishes[i].refine || depth == Traits::kFinestDepth)
                continue;
            const int cell = Traits::tileExtent(depth + 1);
            for (int c = 0; c < Traits::kChildCount; ++c) {
                if (touches(box, tiles[i], cell, {c % B, c / B % B, c / (B * B)}))
                    children.push_back(tiles[i] + int3{c % B, c / B % B, c / (B * B)} * cell);
            }
        }
        tiles = std::move(children);
    }
}

template <class Traits>
void TreeBuilder<Traits>::sortAndMerge(Entries& entries) {
    const auto before = [](const Entry& a, const Entry& b) { return a.key < b.key; };
    Stratum::parallelSort(entries.begin(), entries.end(), before);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (kept > 0 && entries[kept - 1].key == entries[i].key)
            entries[kept - 1].holdsVoxels |= entries[i].holdsVoxels;
        else
            entries[kept++] = entries[i];
    }
    entries.resize(kept);
}

template <class Traits>
void TreeBuilder<Traits>::addParents(const Entries& children, int parentDepth, Entries& parents) {
    const std::int64_t extent = Traits::tileExtent(parentDepth);
    const auto origin = [extent](int v) {
        const std::int64_t base = lowestIndex<Traits>();
        return static_cast<int>(base + roundDown(v - base, extent));
    };
    Key last = ~Key{0};
    for (const Entry& child : children) {
        const Key key = child.key >> kBitsPerDepth;
        if (key == last)
            continue;
        last = key;
        parents.push_back(
            {key, {origin(child.tijk.x), origin(child.tijk.y), origin(child.tijk.z)}, false});
    }
}

template <class Traits>
auto TreeBuilder<Traits>::build(float voxelSize, VoxelOffsetType offsetType)
    -> Ostrum::Ptr<const Tree> {
    for (int depth = Traits::kFinestDepth; depth >= 0; --depth) {
        Entries& entries = entries_[depth];
        sortAndMerge(entries);
        if (entries.size() > std::size_t{1} << TilePages<Traits>::kIndexBits)
            throw std::length_error("a depth can hold 2^30 tiles");
        if (depth > 0)
            addParents(entries, depth - 1, entries_[depth - 1]);
    }
    typename Tree::TilesByDepth tiles;
    for (int depth = 0; depth <= Traits::kFinestDepth; ++depth) {
        const auto d = static_cast<std::size_t>(depth);
        tiles[d].reserve(entries_[d].size());
        std::uint32_t parent = depth == 0 ? Tile::kNoTile : 0;
        for (const Entry& entry : entries_[d]) {
            if (depth > 0) {
                while (entries_[d - 1][parent].key != entry.key >> kBitsPerDepth)
                    ++parent;
                tiles[d - 1][parent].adoptChild(static_cast<std::uint32_t>(tiles[d].size()),
                                                childCellOf(entry.key));
            }
            tiles[d].emplace_back(entry.tijk, depth, entry.holdsVoxels, parent);
        }
    }
    entries_ = {};
    return Ostrum::makePtr<const Tree>(std::move(tiles), voxelSize, offsetType);
}

template class TreeBuilder<Traits<2, 4, 1>>;
template class TreeBuilder<Traits<5, 5, 1>>;

} // namespace KDX::TileTree3D
