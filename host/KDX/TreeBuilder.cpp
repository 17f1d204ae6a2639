#include "KDX/TreeBuilder.h"
#include "KDX/lowestIndex.h"
#include "common/parallel.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace KDX::TileTree3D {

namespace {

int roundDown(int v, std::int64_t step) {
    return static_cast<int>(floorDiv(v, step) * step);
}

// The origin of the tile of an edge that holds an index; tiles of every depth begin at multiples of
// their edge.
int3 originOf(const int3& ijk, std::int64_t extent) {
    return {roundDown(ijk.x, extent), roundDown(ijk.y, extent), roundDown(ijk.z, extent)};
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
        return std::max(floorDiv(v, step) * step, kLowestIndex<Traits>);
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
    constexpr std::int64_t kLowest = kLowestIndex<Traits>, B = Traits::kChildrenPerAxis;
    if (std::min({ijk.x, ijk.y, ijk.z}) < kLowest)
        throw std::out_of_range("an index below " + std::to_string(kLowest) + " lies in no tile");
    const std::int64_t extent = Traits::tileExtent(depth);
    std::int64_t x = (ijk.x - kLowest) / extent, y = (ijk.y - kLowest) / extent,
                 z = (ijk.z - kLowest) / extent;
    Key key = 0;
    for (int d = depth; d > 0; --d) {
        const auto cell = static_cast<std::uint64_t>(x % B + B * (y % B + B * (z % B)));
        key |= Key{cell} << (kBitsPerDepth * (depth - d));
        x /= B;
        y /= B;
        z /= B;
    }
    // At depth 0 there are no more than 4 tiles an axis.
    const auto root = static_cast<std::uint64_t>(x + 4 * (y + 4 * z));
    key |= Key{root} << (kBitsPerDepth * depth);
    return {key, originOf(ijk, extent), holdsVoxels};
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

// The children of a tile that touch the box, in the order of their keys.
template <class Traits>
void TreeBuilder<Traits>::addChildren(const Entry& tile, int depth, const bbox<int3, int>& box,
                                      Entries& children) {
    constexpr int B = Traits::kChildrenPerAxis;
    const int extent = Traits::tileExtent(depth + 1);
    for (int c = 0; c < Traits::kChildCount; ++c) {
        const int3 cell{c % B, c / B % B, c / (B * B)};
        if (touches(box, tile.tijk, extent, cell))
            children.push_back(
                {tile.key << kBitsPerDepth | Key(c), tile.tijk + cell * extent, true});
    }
}

// There is memory for the entries but once where they are the first.
template <class Traits>
void TreeBuilder<Traits>::append(Entries added, Entries& entries) {
    if (entries.empty())
        entries = std::move(added);
    else
        entries.insert(entries.end(), added.begin(), added.end());
}

template <class Traits>
void TreeBuilder<Traits>::addRefined(const bbox<int3, int>& box, const Rule& rule) {
    Entries tiles;
    forEachTile<Traits>(0, box, [&](const int3& tijk) { tiles.push_back(entryOf(0, tijk, true)); });
    for (int depth = 0; depth <= Traits::kFinestDepth && !tiles.empty(); ++depth) {
        std::vector<Wish> wishes(tiles.size());
        Stratum::parallelForIsolated(tiles.size(), 64, [&](const Stratum::IndexRange& range) {
            for (std::size_t i = range.begin(); i < range.end(); ++i)
                wishes[i] = rule(tiles[i].tijk, depth);
        });
        Entries children;
        if (depth < Traits::kFinestDepth) {
            const auto refined = std::ranges::count_if(wishes, &Wish::refine);
            children.reserve(static_cast<std::size_t>(refined) * Traits::kChildCount);
            for (std::size_t i = 0; i < tiles.size(); ++i)
                if (wishes[i].refine)
                    addChildren(tiles[i], depth, box, children);
        }
        std::size_t kept = 0;
        for (std::size_t i = 0; i < tiles.size(); ++i)
            if (wishes[i].holdsVoxels)
                tiles[kept++] = tiles[i];
        tiles.resize(kept);
        append(std::move(tiles), entries_[depth]);
        tiles = std::move(children);
    }
}

template <class Traits>
void TreeBuilder<Traits>::sortAndMerge(Entries& entries) {
    const auto before = [](const Entry& a, const Entry& b) { return a.key < b.key; };
    if (!std::ranges::is_sorted(entries, before))
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
    Key last = ~Key{0};
    for (const Entry& child : children) {
        const Key key = child.key >> kBitsPerDepth;
        if (key == last)
            continue;
        last = key;
        parents.push_back({key, originOf(child.tijk, extent), false});
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

#define STRATUM_TREE_SHAPE(B, W) template class TreeBuilder<Traits<B, W, 1>>;
#include "common/rows.def"

} // namespace KDX::TileTree3D
