// What a grid holds in a box of voxels. Part of readVdb.cpp, the one source that includes OpenVDB.
#pragma once

#include <openvdb/openvdb.h>

#include <cstring>
#include <type_traits>

namespace Stratum::io {

enum class Content {
    kBackground, ///< every voxel has the background value
    kConstant,   ///< every voxel has the same value, another one
    kMixed,
};

/// Walks the nodes of a tree that touch a box and stops at the second value found. Values are
/// compared by their bits, so NaN equals itself; whether voxels are active plays no role.
template <class TreeT>
class RegionScan {
    using Value = typename TreeT::ValueType;
    using Root = typename TreeT::RootNodeType;
    using Upper = typename Root::ChildNodeType;
    using Box = openvdb::CoordBBox;

public:
    explicit RegionScan(const TreeT& tree) : tree_(tree), bounds_(boundsOf(tree)) {}

    /// A box of all voxels that are not background; it may be larger than need be.
    const Box& bounds() const { return bounds_; }

    /// Safe to call from many threads.
    Content content(const Box& box) const {
        Box inside = box;
        inside.intersect(bounds_);
        Finding finding;
        if (inside.empty() || inside != box)
            finding.add(tree_.background());
        if (!inside.empty())
            scanRoot(inside, finding);
        if (finding.mixed)
            return Content::kMixed;
        return same(*finding.first, tree_.background()) ? Content::kBackground : Content::kConstant;
    }

private:
    struct Finding {
        const Value* first = nullptr;
        bool mixed = false;

        /// False once there is nothing more to learn.
        bool add(const Value& value) {
            if (!first)
                first = &value;
            else
                mixed = mixed || !same(*first, value);
            return !mixed;
        }
    };

    static bool same(const Value& a, const Value& b) {
        return std::memcmp(&a, &b, sizeof(Value)) == 0;
    }

    static Box boundsOf(const TreeT& tree) {
        Box bounds;
        for (auto child = tree.root().cbeginChildOn(); child; ++child)
            bounds.expand(child->getNodeBoundingBox());
        for (auto tile = tree.root().cbeginValueAll(); tile; ++tile)
            if (!same(*tile, tree.background()))
                bounds.expand(Box::createCube(tile.getCoord(), Upper::DIM));
        return bounds;
    }

    // Node by node where the box touches few cells of the root, else cell by cell of those that the
    // root has: the box may be as large as the whole index space.
    void scanRoot(const Box& box, Finding& finding) const {
        constexpr int kShift = Upper::TOTAL;
        const auto lower = box.min() >> kShift, upper = box.max() >> kShift;
        const auto cells = [&](int axis) { return std::int64_t{upper[axis]} - lower[axis] + 1; };
        if (cells(0) > 2 || cells(1) > 2 || cells(2) > 2) {
            scanRootTable(box, finding);
            return;
        }
        for (int x = lower.x(); x <= upper.x(); ++x)
            for (int y = lower.y(); y <= upper.y(); ++y)
                for (int z = lower.z(); z <= upper.z(); ++z) {
                    const auto origin = openvdb::Coord(x, y, z) << kShift;
                    const auto* node = tree_.root().template probeConstNode<Upper>(origin);
                    if (!(node ? scanNode(*node, box, finding)
                               : finding.add(tree_.root().getValue(origin))))
                        return;
                }
    }

    void scanRootTable(const Box& box, Finding& finding) const {
        __extension__ using Count = unsigned __int128;
        Count seen = 0;
        const auto volume = [](const Box& b) {
            const auto edge = [&](int axis) {
                return static_cast<Count>(std::int64_t{b.max()[axis]} - b.min()[axis] + 1);
            };
            return edge(0) * edge(1) * edge(2);
        };
        for (auto child = tree_.root().cbeginChildOn(); child; ++child) {
            Box part = child->getNodeBoundingBox();
            part.intersect(box);
            if (part.empty())
                continue;
            seen += volume(part);
            if (!scanNode(*child, box, finding))
                return;
        }
        for (auto tile = tree_.root().cbeginValueAll(); tile; ++tile) {
            Box part = Box::createCube(tile.getCoord(), Upper::DIM);
            part.intersect(box);
            if (part.empty())
                continue;
            seen += volume(part);
            if (!finding.add(*tile))
                return;
        }
        if (seen < volume(box))
            finding.add(tree_.background());
    }

    // False once there is nothing more to learn, as below.
    template <class Node>
    static bool scanNode(const Node& node, const Box& box, Finding& finding) {
        Box part = node.getNodeBoundingBox();
        part.intersect(box);
        if constexpr (Node::LEVEL == 0)
            return scanLeaf(node, part, finding);
        else
            return scanInternal(node, part, finding);
    }

    template <class Node>
    static bool scanInternal(const Node& node, const Box& part, Finding& finding) {
        constexpr int kStep = Node::ChildNodeType::DIM;
        const auto first = part.min() & ~(kStep - 1);
        for (int x = first.x(); x <= part.max().x(); x += kStep)
            for (int y = first.y(); y <= part.max().y(); y += kStep)
                for (int z = first.z(); z <= part.max().z(); z += kStep) {
                    const auto n = Node::coordToOffset(openvdb::Coord(x, y, z));
                    const auto& entry = node.getTable()[n];
                    if (!(node.isChildMaskOn(n) ? scanNode(*entry.getChild(), part, finding)
                                                : finding.add(entry.getValue())))
                        return false;
                }
        return true;
    }

    template <class Leaf>
    static bool scanLeaf(const Leaf& leaf, const Box& part, Finding& finding) {
        const Value* values = leaf.buffer().data();
        for (int x = part.min().x(); x <= part.max().x(); ++x)
            for (int y = part.min().y(); y <= part.max().y(); ++y) {
                const Value* row =
                    values + Leaf::coordToOffset(openvdb::Coord(x, y, part.min().z()));
                const int length = part.max().z() - part.min().z() + 1;
                for (int z = 0; z < length; ++z)
                    if (!finding.add(row[z]))
                        return false;
            }
        return true;
    }

    const TreeT& tree_;
    Box bounds_;
};

} // namespace Stratum::io
