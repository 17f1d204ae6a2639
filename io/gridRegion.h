// What a sparse grid holds, voxel by voxel and in boxes of voxels, whatever library its nodes are
// of.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>

namespace Stratum::io {

using GridIndex = std::array<int, 3>;

/// Both corners belong to the box; it is empty when any component of `min` exceeds that of `max`.
struct GridBox {
    GridIndex min, max;

    bool operator==(const GridBox&) const = default;
    bool empty() const { return min[0] > max[0] || min[1] > max[1] || min[2] > max[2]; }
    GridBox within(const GridBox& other) const {
        GridBox box = *this;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            box.min[axis] = std::max(box.min[axis], other.min[axis]);
            box.max[axis] = std::min(box.max[axis], other.max[axis]);
        }
        return box;
    }
};

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
};

/// Reads a tree of nodes: a table of cells, two levels of internal nodes, and leaves of voxels.
/// `Access` gives Value, Upper, Lower and Leaf, `isChild`, `child` and `value` of a node's entry n,
/// the `voxels` of a leaf, and the edges as powers of two. Entries of a node are ordered with z
/// fastest. Values are compared by their bits, so NaN equals itself; whether voxels are active
/// plays no role.
template <class Access>
class GridRegion {
public:
    using Value = typename Access::Value;
    using Cells = std::map<GridIndex, RootCell<Access>>;

    GridRegion(Cells cells, const Value& background)
        : cells_(std::move(cells)), background_(background), bounds_(boundsOf()) {}

    const Value& background() const { return background_; }

    /// A box of all voxels that are not background; it may be larger than need be.
    const GridBox& bounds() const { return bounds_; }

    /// Safe to call from many threads.
    Content content(const GridBox& box) const {
        const GridBox inside = box.within(bounds_);
        Finding finding;
        if (inside.empty() || inside != box)
            finding.add(background_);
        if (!inside.empty())
            scan(inside, finding);
        if (finding.mixed)
            return Content::kMixed;
        return same(finding.first, background_) ? Content::kBackground : Content::kConstant;
    }

    /// What covers a voxel: an entry of a lower node that is a leaf, or else one value throughout.
    struct Cover {
        const typename Access::Lower* lower = nullptr;
        unsigned entry = 0;
        const Value* voxels = nullptr; ///< of the leaf, null for none
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

    /// Calls `f(lower)` for every lower node.
    template <class F>
    void forEachLower(const F& f) const {
        for (const auto& [origin, cell] : cells_)
            for (unsigned n = 0; cell.node && n < kUpperEntries; ++n)
                if (Access::isChild(*cell.node, n))
                    f(*Access::child(*cell.node, n));
    }

    /// Entries of a lower node.
    static constexpr unsigned kLowerEntries = 1U << 3 * Access::kLowerLog2;

private:
    static constexpr int kLowerLog2 = Access::kLeafLog2 + Access::kLowerLog2;
    static constexpr int kUpperLog2 = kLowerLog2 + Access::kUpperLog2;
    static constexpr unsigned kUpperEntries = 1U << 3 * Access::kUpperLog2;

    struct Finding {
        Value first{};
        bool isEmpty = true, mixed = false;

        /// False once there is nothing more to learn.
        bool add(const Value& value) { return add(&value, 1); }

        /// The same for values side by side, which are compared without a stop in between.
        bool add(const Value* values, unsigned count) {
            if (isEmpty)
                first = *values;
            isEmpty = false;
            bool differs = false;
            for (unsigned i = 0; i < count; ++i)
                differs |= !same(first, values[i]);
            mixed |= differs;
            return !mixed;
        }
    };

    static bool same(const Value& a, const Value& b) {
        return std::memcmp(&a, &b, sizeof(Value)) == 0;
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
        const auto& lower = *Access::child(upper, n);
        const auto m = entryOf(ijk, kLowerLog2, Access::kLeafLog2);
        if (!Access::isChild(lower, m))
            return {.other = Access::value(lower, m)};
        return {&lower, m, Access::voxels(*Access::child(lower, m)), {}};
    }

    void scan(const GridBox& box, Finding& finding) const {
        const GridIndex origin = aligned(box.min, kUpperLog2);
        if (origin != aligned(box.max, kUpperLog2))
            return scanRoot(box, finding);
        if (const auto cell = cells_.find(origin); cell == cells_.end())
            finding.add(background_);
        else if (cell->second.node)
            scanInternal<kUpperLog2, kLowerLog2>(*cell->second.node, origin, box, finding);
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
            if (!cell.node && same(cell.value, background_))
                continue;
            const GridBox box = cube(origin, kUpperLog2);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                bounds.min[axis] = std::min(bounds.min[axis], box.min[axis]);
                bounds.max[axis] = std::max(bounds.max[axis], box.max[axis]);
            }
        }
        return bounds;
    }

    // Cell by cell of those that the root has: the box may be as large as the whole index space.
    void scanRoot(const GridBox& box, Finding& finding) const {
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
            const GridBox part = cube(origin, kUpperLog2).within(box);
            if (part.empty())
                continue;
            seen += volume(part);
            if (!(cell.node
                      ? scanInternal<kUpperLog2, kLowerLog2>(*cell.node, origin, part, finding)
                      : finding.add(cell.value)))
                return;
        }
        if (seen < volume(box))
            finding.add(background_);
    }

    // False once there is nothing more to learn, as below.
    template <int Log2, int ChildLog2, class Node>
    static bool scanInternal(const Node& node, const GridIndex& origin, const GridBox& part,
                             Finding& finding) {
        constexpr int kStep = 1 << ChildLog2;
        const GridIndex first = aligned(part.min, ChildLog2);
        // Counted from the node's origin: the last cell may end where `int` does.
        for (int x = first[0] - origin[0]; x <= part.max[0] - origin[0]; x += kStep)
            for (int y = first[1] - origin[1]; y <= part.max[1] - origin[1]; y += kStep)
                for (int z = first[2] - origin[2]; z <= part.max[2] - origin[2]; z += kStep) {
                    const GridIndex ijk{origin[0] + x, origin[1] + y, origin[2] + z};
                    const auto n = entryOf(ijk, Log2, ChildLog2);
                    if (!(Access::isChild(node, n)
                              ? scanChild<ChildLog2>(*Access::child(node, n), ijk, part, finding)
                              : finding.add(Access::value(node, n))))
                        return false;
                }
        return true;
    }

    template <int Log2, class Node>
    static bool scanChild(const Node& node, const GridIndex& origin, const GridBox& box,
                          Finding& finding) {
        const GridBox part = cube(origin, Log2).within(box);
        if constexpr (Log2 == Access::kLeafLog2)
            return scanLeaf(node, origin, part, finding);
        else
            return scanInternal<Log2, Access::kLeafLog2>(node, origin, part, finding);
    }

    template <class Leaf>
    static bool scanLeaf(const Leaf& leaf, const GridIndex& origin, const GridBox& part,
                         Finding& finding) {
        const Value* const voxels = Access::voxels(leaf);
        const auto length = static_cast<unsigned>(part.max[2] - part.min[2] + 1);
        for (int x = part.min[0] - origin[0]; x <= part.max[0] - origin[0]; ++x)
            for (int y = part.min[1] - origin[1]; y <= part.max[1] - origin[1]; ++y)
                if (!finding.add(voxels + voxelOf({x, y, part.min[2]}), length))
                    return false;
        return true;
    }

    Cells cells_;
    Value background_;
    GridBox bounds_;
};

} // namespace Stratum::io
