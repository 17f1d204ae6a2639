// What a sparse grid holds in boxes of voxels.
#pragma once

#include "io/GridNodes.h"

namespace Stratum::io {

enum class Content {
    kBackground, ///< every voxel has the background value
    kConstant,   ///< every voxel has the same value, another one
    kMixed,
};

/// Finds out what boxes of a tree of nodes hold.
template <class Access>
class GridRegion : public GridNodes<Access> {
    using Nodes = GridNodes<Access>;
    using Nodes::addWhole;
    using Nodes::aligned;
    using Nodes::cube;
    using Nodes::entryOf;
    using Nodes::kLowerLog2;
    using Nodes::kRow;
    using Nodes::kUpperLog2;
    using typename Nodes::Leaf;
    using typename Nodes::Lower;

public:
    using Nodes::background;
    using Nodes::bounds;
    using Nodes::Nodes;
    using Nodes::voxelOf;
    using typename Nodes::Value;

    /// Safe to call from many threads.
    Content content(const GridBox& box) const {
        const GridBox inside = box.within(bounds());
        Finding<Value> finding;
        if (inside.empty() || inside != box)
            finding.add(background());
        if (!inside.empty())
            scan(inside, finding);
        if (finding.mixed)
            return Content::kMixed;
        return isSame(finding.first, background()) ? Content::kBackground : Content::kConstant;
    }

private:
    void scan(const GridBox& box, Finding<Value>& finding) const {
        const GridIndex origin = aligned(box.min, kUpperLog2);
        if (origin != aligned(box.max, kUpperLog2))
            return scanRoot(box, finding);
        if (const auto cell = this->cells().find(origin); cell == this->cells().end())
            finding.add(background());
        else if (cell->second.node && isNear(box))
            scanNear(cell->second, box, finding);
        else if (cell->second.node)
            scanUpper(cell->second, origin, box, finding);
        else
            finding.add(cell->second.value);
    }

    // Whether a box lies in one lower node and touches two leaves at most on every axis.
    static bool isNear(const GridBox& box) {
        return box.max[0] - box.min[0] < int{kRow} && box.max[1] - box.min[1] < int{kRow} &&
               box.max[2] - box.min[2] < int{kRow} &&
               aligned(box.min, kLowerLog2) == aligned(box.max, kLowerLog2);
    }

    // Most boxes are such ones, around a tile of the finest depth: all their leaves share what is
    // compared with.
    void scanNear(const RootCell<Access>& cell, const GridBox& inGrid,
                  Finding<Value>& finding) const {
        const auto n = entryOf(inGrid.min, kUpperLog2, kLowerLog2);
        if (!Access::isChild(*cell.node, n)) {
            finding.add(Access::value(*cell.node, n));
            return;
        }
        const auto& lower = *this->lower(cell, n).node;
        // Counted from the node's origin, since a loop may end where `int` does.
        const GridBox box = inGrid.from(aligned(inGrid.min, kLowerLog2));
        if (!finding.add(valueIn(lower, box.min)))
            return;
        constexpr int kLast = int{kRow} - 1;
        const auto inRow = [](int z) { return static_cast<unsigned>(z) % kRow; };
        const int firstLast = std::min(box.min[2] | kLast, box.max[2]);
        std::array<RowComparison<Value, kRow>, 2> rows{
            {{finding.first, inRow(box.min[2]), inRow(firstLast)},
             {finding.first, 0, inRow(box.max[2])}}};
        for (GridIndex at = box.min; at[0] <= box.max[0]; at[0] = (at[0] | kLast) + 1)
            for (at[1] = box.min[1]; at[1] <= box.max[1]; at[1] = (at[1] | kLast) + 1) {
                const GridBox part{at,
                                   {std::min(at[0] | kLast, box.max[0]),
                                    std::min(at[1] | kLast, box.max[1]), firstLast}};
                if (!compare(lower, part, rows[0]) ||
                    (firstLast < box.max[2] && !compare(lower,
                                                        {{at[0], at[1], firstLast + 1},
                                                         {part.max[0], part.max[1], box.max[2]}},
                                                        rows[1]))) {
                    finding.addMixed();
                    return;
                }
            }
    }

    static Value valueIn(const typename Access::Lower& lower, const GridIndex& ijk) {
        const auto m = entryOf(ijk, kLowerLog2, Access::kLeafLog2);
        return Access::isChild(lower, m) ? Access::voxels(*Access::child(lower, m))[voxelOf(ijk)]
                                         : Access::value(lower, m);
    }

    // Whether an entry of a lower node holds nothing but the value that rows are compared with; the
    // part's extent along z is that of the rows.
    static bool compare(const typename Access::Lower& lower, const GridBox& part,
                        RowComparison<Value, kRow>& rows) {
        const auto m = entryOf(part.min, kLowerLog2, Access::kLeafLog2);
        if (!Access::isChild(lower, m))
            return isSame(Access::value(lower, m), rows.wanted());
        const Value* const voxels =
            Access::voxels(*Access::child(lower, m)) + voxelOf({part.min[0], part.min[1], 0});
        for (int x = 0; x <= part.max[0] - part.min[0]; ++x)
            for (int y = 0; y <= part.max[1] - part.min[1]; ++y)
                rows.add(voxels + int{kRow} * (int{kRow} * x + y));
        return !rows.differs();
    }

    // Cell by cell of those that the root has: the box may be as large as the whole index space.
    void scanRoot(const GridBox& box, Finding<Value>& finding) const {
        __extension__ using Count = unsigned __int128;
        Count seen = 0;
        const auto volume = [](const GridBox& b) {
            Count product = 1;
            for (std::size_t axis = 0; axis < 3; ++axis)
                product *= static_cast<Count>(std::int64_t{b.max[axis]} - b.min[axis] + 1);
            return product;
        };
        const int firstX = aligned(box.min, kUpperLog2)[0];
        constexpr int kLowest = std::numeric_limits<int>::min();
        for (auto at = this->cells().lower_bound({firstX, kLowest, kLowest});
             at != this->cells().end() && at->first[0] <= box.max[0]; ++at) {
            const auto& [origin, cell] = *at;
            const GridBox whole = cube(origin, kUpperLog2), part = whole.within(box);
            if (part.empty())
                continue;
            seen += volume(part);
            if (!(cell.node && part != whole ? scanUpper(cell, origin, part, finding)
                                             : addWhole(cell, finding)))
                return;
        }
        if (seen < volume(box))
            finding.add(background());
    }

    bool scanUpper(const RootCell<Access>& cell, const GridIndex& origin, const GridBox& part,
                   Finding<Value>& finding) const {
        return scanEntries<kUpperLog2, kLowerLog2>(
            cell.entries, origin, part, finding,
            [&](unsigned n) {
                return Access::isChild(*cell.node, n) ? this->lower(cell, n).first
                                                      : Access::value(*cell.node, n);
            },
            [&](unsigned n, const GridIndex& at, const GridBox& inChild) {
                return scanLower(this->lower(cell, n), at, inChild, finding);
            });
    }

    bool scanLower(const Lower& lower, const GridIndex& origin, const GridBox& part,
                   Finding<Value>& finding) const {
        return scanEntries<kLowerLog2, Access::kLeafLog2>(
            lower.entries, origin, part, finding,
            [&](unsigned m) {
                return Access::isChild(*lower.node, m)
                           ? *Access::voxels(*Access::child(*lower.node, m))
                           : Access::value(*lower.node, m);
            },
            [&](unsigned m, const GridIndex& at, const GridBox& inChild) {
                return scanLeaf(*Access::child(*lower.node, m), at, inChild, finding);
            });
    }

    // Adds the entries that a part of a node touches, those that lie in it as a whole first, since
    // they may tell all at once. `valueOf(entry)` is the value of a constant one, and `scanPart(
    // entry, origin, part)` looks into one of several values.
    template <int Log2, int ChildLog2, class ValueOf, class ScanPart>
    bool scanEntries(const EntrySummary<Log2 - ChildLog2>& entries, const GridIndex& origin,
                     const GridBox& part, Finding<Value>& finding, const ValueOf& valueOf,
                     const ScanPart& scanPart) const {
        // In cells, counted from the node's origin: the last cell may end where `int` does.
        constexpr int kLast = (1 << ChildLog2) - 1;
        GridBox touched{}, whole{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const int first = part.min[axis] - origin[axis], last = part.max[axis] - origin[axis];
            touched.min[axis] = first >> ChildLog2;
            touched.max[axis] = last >> ChildLog2;
            whole.min[axis] = (first + kLast) >> ChildLog2;
            whole.max[axis] = ((last + 1) >> ChildLog2) - 1;
        }
        const auto entryAt = [](const GridIndex& cell) {
            return entryOf(cell, Log2 - ChildLog2, 0);
        };
        const unsigned kinds = entries.kindsIn(whole);
        if ((kinds & kMixedEntry) != 0)
            return finding.addMixed();
        if ((kinds & kBackgroundEntry) != 0 && !finding.add(background()))
            return false;
        if ((kinds & kConstantEntry) != 0 && !forEachCell(whole, [&](const GridIndex& cell) {
                return entries.kind(entryAt(cell)) != kConstantEntry ||
                       finding.add(valueOf(entryAt(cell)));
            }))
            return false;
        return forEachCell(touched, [&](const GridIndex& cell) {
            if (whole.contains(cell))
                return true;
            const unsigned entry = entryAt(cell);
            const EntryKinds kind = entries.kind(entry);
            if (kind != kMixedEntry)
                return finding.add(kind == kBackgroundEntry ? background() : valueOf(entry));
            const GridIndex at{origin[0] + (cell[0] << ChildLog2),
                               origin[1] + (cell[1] << ChildLog2),
                               origin[2] + (cell[2] << ChildLog2)};
            return scanPart(entry, at, cube(at, ChildLog2).within(part));
        });
    }

    template <class F>
    static bool forEachCell(const GridBox& cells, const F& f) {
        for (int x = cells.min[0]; x <= cells.max[0]; ++x)
            for (int y = cells.min[1]; y <= cells.max[1]; ++y)
                for (int z = cells.min[2]; z <= cells.max[2]; ++z)
                    if (!f({x, y, z}))
                        return false;
        return true;
    }

    static bool scanLeaf(const Leaf& leaf, const GridIndex& origin, const GridBox& part,
                         Finding<Value>& finding) {
        const Value* const voxels = Access::voxels(leaf);
        const auto at = [&](std::size_t axis, const GridIndex& corner) {
            return static_cast<unsigned>(corner[axis] - origin[axis]);
        };
        if (!finding.add(voxels[voxelOf(part.min)]))
            return false;
        RowComparison<Value, kRow> rows(finding.first, at(2, part.min), at(2, part.max));
        for (unsigned x = at(0, part.min); x <= at(0, part.max); ++x) {
            for (unsigned y = at(1, part.min); y <= at(1, part.max); ++y)
                rows.add(voxels + kRow * (kRow * x + y));
            if (rows.differs())
                return finding.addMixed();
        }
        return true;
    }
};

} // namespace Stratum::io
