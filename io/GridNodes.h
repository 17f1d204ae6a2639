// The nodes of a sparse grid, whatever library they are of.
#pragma once

#include "common/parallel.h"
#include "io/EntrySummary.h"
#include "io/Finding.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <utility>
#include <vector>

namespace Stratum::io {

/// A cell of the topmost level: nodes, or one value throughout.
template <class Access>
struct RootCell {
    const typename Access::Upper* node = nullptr;
    typename Access::Value value{};
    std::vector<std::uint32_t> lowers = {}; ///< by the node's entry, the numbers of lower nodes
    EntrySummary<Access::kUpperLog2> entries = {};
    bool isMixed = false; ///< whether the node holds several values; else `value` is the one
};

/// A tree of nodes: a table of cells, two levels of internal nodes, and leaves of voxels.
/// `Access` gives Value, Upper, Lower and Leaf, `isChild`, `child` and `value` of a node's entry n,
/// the `voxels` of a leaf, and the edges as powers of two; where kReleasesLeaves, also `release` of
/// a leaf's voxels. Entries of a node are ordered with z fastest. Values are compared by their
/// bits, so NaN equals itself; whether voxels are active plays no role.
template <class Access>
class GridNodes {
public:
    using Value = typename Access::Value;
    using Cells = std::map<GridIndex, RootCell<Access>>;

    GridNodes(Cells cells, const Value& background)
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
        explicit Reader(const GridNodes& nodes) : nodes_(nodes) {}

        /// Valid up to the next call.
        const Cover& cover(const GridIndex& ijk) {
            const GridIndex origin = aligned(ijk, Access::kLeafLog2);
            if (!isKnown_ || origin != origin_) {
                isKnown_ = true;
                origin_ = origin;
                cover_ = nodes_.find(ijk);
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

        const GridNodes& nodes_;
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

protected:
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

    const Cells& cells() const { return cells_; }
    const Lower& lower(const RootCell<Access>& cell, unsigned entry) const {
        return lowers_[cell.lowers[entry]];
    }

    // A cell or lower node that lies in a box as a whole. False once there is nothing more to
    // learn, as below.
    static bool addWhole(const Lower& lower, Finding<Value>& finding) {
        return lower.isMixed ? finding.addMixed() : finding.add(lower.first);
    }
    static bool addWhole(const RootCell<Access>& cell, Finding<Value>& finding) {
        return cell.isMixed ? finding.addMixed() : finding.add(cell.value);
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

private:
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
        lower.entries.allocate();
        Finding<Value> all;
        for (unsigned m = 0; m < kLowerEntries; ++m) {
            Finding<Value> entry;
            if (Access::isChild(*lower.node, m))
                entry = findingOf(*Access::child(*lower.node, m));
            else
                entry.add(Access::value(*lower.node, m));
            lower.entries.set(m, kindOf(entry));
            all.add(entry);
        }
        lower.first = all.first;
        lower.isMixed = all.mixed;
    }

    void summarize(RootCell<Access>& cell) const {
        cell.entries.allocate();
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

    static Finding<Value> findingOf(const Leaf& leaf) {
        const Value* const voxels = Access::voxels(leaf);
        Finding<Value> finding;
        finding.add(*voxels);
        RowComparison<Value, kRow> rows(*voxels, 0, kRow - 1);
        for (unsigned y = 0; y < kRow * kRow && !finding.mixed; ++y) {
            rows.add(voxels + kRow * y);
            finding.mixed = rows.differs();
        }
        return finding;
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

    Cells cells_;
    std::vector<Lower> lowers_;
    Value background_;
    GridBox bounds_;
};

} // namespace Stratum::io
