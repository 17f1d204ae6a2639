// What a sparse grid holds, voxel by voxel and in boxes of voxels, whatever library its nodes are
// of.
#pragma once

#include "common/parallel.h"
#include "io/EntrySummary.h"
#include "io/Finding.h"

#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <utility>
#include <vector>

namespace Stratum::io {

enum class Content {
    kBackground, ///< every voxel has the background value
    kConstant,   ///< every voxel has the same value, another one
    kMixed,
};

/// A cell of the topmost level: nodes, or one value throughout.
template <class Access>
struct RootCell {
    const typename Access::Upper* node = nullptr;
    typename Access::Value value{};
    std::vector<std::uint32_t> lowers = {}; ///< by the node's entry, the numbers of lower nodes
    EntrySummary<Access::kUpperLog2> entries = {};
    bool isMixed = false; ///< whether the node holds several values; else `value` is the one
};

/// Reads a tree of nodes: a table of cells, two levels of internal nodes, and leaves of voxels.
/// `Access` gives Value, Upper, Lower and Leaf, `isChild`, `child` and `value` of a node's entry n,
/// the `voxels` of a leaf, and the edges as powers of two; where kReleasesLeaves, also `release` of
/// a leaf's voxels. Entries of a node are ordered with z fastest. Values are compared by their
/// bits, so NaN equals itself; whether voxels are active plays no role.
template <class Access>
class GridRegion {
public:
    using Value = typename Access::Value;
    using Cells = std::map<GridIndex, RootCell<Access>>;

    GridRegion(Cells cells, const Value& background)
        : cells_(std::move(cells)), background_(background), bounds_(boundsOf()) {
        listLowers();
        parallelForIsolated(lowers_.size(), 1, [this](const IndexRange& range) {
            for (std::size_t i = range.begin(); i < range.end(); ++i)
                summarize(lowers_[i]);
        });
        for (auto& [origin, cell] : cells_)
            if (cell.node)
                summarize(cell);
    }

    const Value& background() const { return background_; }

    /// A box of all voxels that are not background; it may be larger than need be.
    const GridBox& bounds() const { return bounds_; }

    /// Safe to call from many threads.
    Content content(const GridBox& box) const {
        const GridBox inside = box.within(bounds_);
        Finding<Value> finding;
        if (inside.empty() || inside != box)
            finding.add(background_);
        if (!inside.empty())
            scan(inside, finding);
        if (finding.mixed)
            return Content::kMixed;
        return isSame(finding.first, background_) ? Content::kBackground : Content::kConstant;
    }

    /// A leaf's number among all entries of lower nodes.
    using LeafNumber = std::size_t;

    /// What covers a voxel: a leaf, or else one value throughout.
    struct Cover {
        const Value* voxels = nullptr; ///< of the leaf, null for none
        LeafNumber leaf = 0;
        Value other{};
    };

    /// Finds what covers voxels, fast where one leaf follows another. One reader serves one thread.
    class Reader {
    public:
        explicit Reader(const GridRegion& region) : region_(region) {}

        /// Valid up to the next call.
        const Cover& cover(const GridIndex& ijk) {
            const GridIndex origin = aligned(ijk, Access::kLeafLog2);
            if (!isKnown_ || origin != origin_) {
                isKnown_ = true;
                origin_ = origin;
                cover_ = region_.find(ijk);
            }
            return cover_;
        }

        Value value(const GridIndex& ijk) {
            const Cover& found = cover(ijk);
            return found.voxels ? found.voxels[voxelOf(ijk)] : found.other;
        }

        /// Calls `f(part, cover)` for the parts of a box that lie in one leaf or none each.
        template <class F>
        void forEachPart(const GridBox& box, const F& f) {
            GridBox part{};
            forEachSpan(box, 0, part, [&] { f(part, cover(part.min)); });
        }

    private:
        template <class F>
        static void forEachSpan(const GridBox& box, std::size_t axis, GridBox& part, const F& f) {
            if (axis == 3)
                return f();
            constexpr int kLast = (1 << Access::kLeafLog2) - 1;
            for (std::int64_t at = box.min[axis]; at <= box.max[axis]; at = part.max[axis] + 1LL) {
                part.min[axis] = static_cast<int>(at);
                part.max[axis] = std::min(part.min[axis] | kLast, box.max[axis]);
                forEachSpan(box, axis + 1, part, f);
            }
        }

        const GridRegion& region_;
        bool isKnown_ = false;
        GridIndex origin_{};
        Cover cover_;
    };

    /// The place of a voxel in its leaf.
    static unsigned voxelOf(const GridIndex& ijk) { return entryOf(ijk, Access::kLeafLog2, 0); }

    /// One more than the largest number of a leaf.
    LeafNumber leafNumberEnd() const { return lowers_.size() * kLowerEntries; }

    /// The leaf of a number, null for what is none.
    const typename Access::Leaf* leaf(LeafNumber number) const {
        const Lower& lower = lowers_[number / kLowerEntries];
        const auto entry = static_cast<unsigned>(number % kLowerEntries);
        return Access::isChild(*lower.node, entry) ? Access::child(*lower.node, entry) : nullptr;
    }

private:
    static constexpr int kLowerLog2 = Access::kLeafLog2 + Access::kLowerLog2;
    static constexpr int kUpperLog2 = kLowerLog2 + Access::kUpperLog2;
    static constexpr unsigned kUpperEntries = 1U << 3 * Access::kUpperLog2;
    static constexpr unsigned kLowerEntries = 1U << 3 * Access::kLowerLog2;
    static constexpr unsigned kRow = 1U << Access::kLeafLog2;
    using Leaf = typename Access::Leaf;

    // A lower node, and whether it, and each of its entries, holds several values.
    struct Lower {
        const typename Access::Lower* node;
        Value first{}; // the only one when there are not several
        bool isMixed = false;
        EntrySummary<Access::kLowerLog2> entries = {};
    };

    void listLowers() {
        for (auto& [origin, cell] : cells_) {
            if (!cell.node)
                continue;
            cell.lowers.resize(kUpperEntries);
            for (unsigned n = 0; n < kUpperEntries; ++n)
                if (Access::isChild(*cell.node, n)) {
                    cell.lowers[n] = static_cast<std::uint32_t>(lowers_.size());
                    lowers_.push_back({Access::child(*cell.node, n)});
                }
        }
    }

    void summarize(Lower& lower) const {
        Finding<Value> all;
        for (unsigned m = 0; m < kLowerEntries; ++m) {
            Finding<Value> entry;
            if (Access::isChild(*lower.node, m))
                scanLeaf(*Access::child(*lower.node, m), {}, cube({}, Access::kLeafLog2), entry);
            else
                entry.add(Access::value(*lower.node, m));
            lower.entries.set(m, kindOf(entry));
            all.add(entry);
        }
        lower.first = all.first;
        lower.isMixed = all.mixed;
    }

    void summarize(RootCell<Access>& cell) const {
        Finding<Value> all;
        for (unsigned n = 0; n < kUpperEntries; ++n) {
            Finding<Value> entry;
            if (Access::isChild(*cell.node, n))
                addWhole(lowers_[cell.lowers[n]], entry);
            else
                entry.add(Access::value(*cell.node, n));
            cell.entries.set(n, kindOf(entry));
            all.add(entry);
        }
        cell.value = all.first;
        cell.isMixed = all.mixed;
    }

    EntryKinds kindOf(const Finding<Value>& entry) const {
        return entry.mixed                        ? kMixedEntry
               : isSame(entry.first, background_) ? kBackgroundEntry
                                                  : kConstantEntry;
    }

    // A cell or lower node that lies in a box as a whole. False once there is nothing more to
    // learn, as below.
    static bool addWhole(const Lower& lower, Finding<Value>& finding) {
        return lower.isMixed ? finding.addMixed() : finding.add(lower.first);
    }
    static bool addWhole(const RootCell<Access>& cell, Finding<Value>& finding) {
        return cell.isMixed ? finding.addMixed() : finding.add(cell.value);
    }

    Cover find(const GridIndex& ijk) const {
        const auto cell = cells_.find(aligned(ijk, kUpperLog2));
        if (cell == cells_.end())
            return {.other = background_};
        if (!cell->second.node)
            return {.other = cell->second.value};
        const auto& upper = *cell->second.node;
        const auto n = entryOf(ijk, kUpperLog2, kLowerLog2);
        if (!Access::isChild(upper, n))
            return {.other = Access::value(upper, n)};
        const std::uint32_t number = cell->second.lowers[n];
        const auto& lower = *lowers_[number].node;
        const auto m = entryOf(ijk, kLowerLog2, Access::kLeafLog2);
        if (!Access::isChild(lower, m))
            return {.other = Access::value(lower, m)};
        return {
            Access::voxels(*Access::child(lower, m)), LeafNumber{number} * kLowerEntries + m, {}};
    }

    void scan(const GridBox& box, Finding<Value>& finding) const {
        const GridIndex origin = aligned(box.min, kUpperLog2);
        if (origin != aligned(box.max, kUpperLog2))
            return scanRoot(box, finding);
        if (const auto cell = cells_.find(origin); cell == cells_.end())
            finding.add(background_);
        else if (cell->second.node && isNear(box))
            scanNear(cell->second, box, finding);
        else if (cell->second.node)
            scanUpper(cell->second, origin, box, finding);
        else
            finding.add(cell->second.value);
    }

    static GridIndex aligned(const GridIndex& ijk, int log2) {
        const auto down = [log2](int v) { return v & ~((1 << log2) - 1); };
        return {down(ijk[0]), down(ijk[1]), down(ijk[2])};
    }

    // The entry of a node with an edge of 2^log2 whose children have one of 2^childLog2.
    static unsigned entryOf(const GridIndex& ijk, int log2, int childLog2) {
        const auto cell = [&](std::size_t axis) {
            return (static_cast<unsigned>(ijk[axis]) & ((1U << log2) - 1U)) >> childLog2;
        };
        const int shift = log2 - childLog2;
        return (cell(0) << 2 * shift) + (cell(1) << shift) + cell(2);
    }

    static GridBox cube(const GridIndex& origin, int log2) {
        const int last = (1 << log2) - 1;
        return {origin, {origin[0] + last, origin[1] + last, origin[2] + last}};
    }

    GridBox boundsOf() const {
        constexpr int kMax = std::numeric_limits<int>::max(),
                      kMin = std::numeric_limits<int>::min();
        GridBox bounds{{kMax, kMax, kMax}, {kMin, kMin, kMin}};
        for (const auto& [origin, cell] : cells_) {
            if (!cell.node && isSame(cell.value, background_))
                continue;
            const GridBox box = cube(origin, kUpperLog2);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                bounds.min[axis] = std::min(bounds.min[axis], box.min[axis]);
                bounds.max[axis] = std::max(bounds.max[axis], box.max[axis]);
            }
        }
        return bounds;
    }

    // Whether a box lies in one lower node and touches two leaves at most on every axis.
    static bool isNear(const GridBox& box) {
        return box.max[0] - box.min[0] < int{kRow} && box.max[1] - box.min[1] < int{kRow} &&
               box.max[2] - box.min[2] < int{kRow} &&
               aligned(box.min, kLowerLog2) == aligned(box.max, kLowerLog2);
    }

    // Most boxes are such ones, around a tile of the finest depth: all their leaves share what is
    // compared with.
    void scanNear(const RootCell<Access>& cell, const GridBox& box, Finding<Value>& finding) const {
        const auto n = entryOf(box.min, kUpperLog2, kLowerLog2);
        if (!Access::isChild(*cell.node, n)) {
            finding.add(Access::value(*cell.node, n));
            return;
        }
        const auto& lower = *lowers_[cell.lowers[n]].node;
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
                    (firstLast < box.max[2] &&
                     !compare(lower, {{at[0], at[1], firstLast + 1}, part.max}, rows[1]))) {
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
        for (auto at = cells_.lower_bound({firstX, kLowest, kLowest});
             at != cells_.end() && at->first[0] <= box.max[0]; ++at) {
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
            finding.add(background_);
    }

    bool scanUpper(const RootCell<Access>& cell, const GridIndex& origin, const GridBox& part,
                   Finding<Value>& finding) const {
        return scanEntries<kUpperLog2, kLowerLog2>(
            cell.entries, origin, part, finding,
            [&](unsigned n) {
                return Access::isChild(*cell.node, n) ? lowers_[cell.lowers[n]].first
                                                      : Access::value(*cell.node, n);
            },
            [&](unsigned n, const GridIndex& at, const GridBox& inChild) {
                return scanLower(lowers_[cell.lowers[n]], at, inChild, finding);
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
        if ((kinds & kBackgroundEntry) != 0 && !finding.add(background_))
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
                return finding.add(kind == kBackgroundEntry ? background_ : valueOf(entry));
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

    Cells cells_;
    std::vector<Lower> lowers_;
    Value background_;
    GridBox bounds_;
};

} // namespace Stratum::io
