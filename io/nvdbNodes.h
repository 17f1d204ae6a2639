// The nodes of a grid in memory, once they are known to lie there. Part of readNvdb.cpp, the one
// source that includes NanoVDB.
#pragma once

#include "io/byteOrder.h"
#include "io/gridRegion.h"

#include <nanovdb/NanoVDB.h>

#include <stdexcept>
#include <string_view>
#include <vector>

namespace Stratum::io {

/// How GridRegion reads the nodes of a grid.
template <class ValueT>
struct NvdbAccess {
    using Value = ValueT;
    using Root = typename nanovdb::NanoTree<ValueT>::RootType;
    using Upper = typename nanovdb::NanoTree<ValueT>::Node2;
    using Lower = typename nanovdb::NanoTree<ValueT>::Node1;
    using Leaf = typename nanovdb::NanoTree<ValueT>::Node0;
    static constexpr int kLeafLog2 = Leaf::LOG2DIM, kLowerLog2 = Lower::LOG2DIM,
                         kUpperLog2 = Upper::LOG2DIM;

    template <class Node>
    static bool isChild(const Node& node, unsigned n) {
        return node.data()->mChildMask.isOn(n);
    }
    template <class Node>
    static const typename Node::ChildNodeType* child(const Node& node, unsigned n) {
        return node.data()->getChild(n);
    }
    template <class Node>
    static Value value(const Node& node, unsigned n) {
        return node.data()->getValue(n);
    }
    static const Value* voxels(const Leaf& leaf) { return leaf.data()->mValues; }
    static constexpr bool kReleasesLeaves = false; // all of a grid is one block
};

/// Follows every offset of a grid in a buffer, and no offset out of it. A node that two parents
/// share is refused: such a grid could claim more voxels than its bytes could ever hold.
template <class ValueT>
class NvdbNodes {
    using Access = NvdbAccess<ValueT>;
    using RootData = typename Access::Root::DataType;
    using Tile = typename RootData::Tile;
    using Region = GridRegion<Access>;

public:
    /// `grid` holds one grid and begins at a multiple of NANOVDB_DATA_ALIGNMENT.
    explicit NvdbNodes(std::string_view grid) : grid_(grid), seen_(grid.size() / kAlignment + 1) {}

    Region region() {
        using Header = nanovdb::GridData;
        const auto* tree = node<nanovdb::TreeData<3>>(sizeof(Header));
        const auto* root = node<RootData>(sizeof(Header) + tree->mNodeOffset[3]);
        const std::uint64_t table = offsetOf(root) + sizeof(RootData);
        if (root->mTableSize > (grid_.size() - table) / sizeof(Tile))
            fail();
        typename Region::Cells cells;
        for (std::uint32_t i = 0; i < root->mTableSize; ++i) {
            const Tile& tile = *root->tile(i);
            const auto origin = tile.origin();
            RootCell<Access> cell{nullptr, tile.value};
            if (tile.isChild())
                cell.node = internal<typename Access::Upper>(offsetOf(root), tile.child);
            const GridIndex at{origin[0], origin[1], origin[2]};
            constexpr int kEdge = 1
                                  << (Access::kLeafLog2 + Access::kLowerLog2 + Access::kUpperLog2);
            const bool isAligned = at[0] % kEdge == 0 && at[1] % kEdge == 0 && at[2] % kEdge == 0;
            if (!isAligned || !cells.emplace(at, cell).second)
                fail();
        }
        return {std::move(cells), root->mBackground};
    }

private:
    static constexpr std::uint64_t kAlignment = NANOVDB_DATA_ALIGNMENT;

    [[noreturn]] static void fail() {
        throw std::runtime_error("it is damaged: an offset leads out of a grid or into another "
                                 "node");
    }

    template <class Node>
    std::uint64_t offsetOf(const Node* node) const {
        return static_cast<std::uint64_t>(reinterpret_cast<const char*>(node) - grid_.data());
    }

    template <class Node>
    const Node* node(std::uint64_t offset) {
        if (offset % kAlignment != 0 || offset > grid_.size() ||
            sizeof(Node) > grid_.size() - offset || seen_[offset / kAlignment])
            fail();
        seen_[offset / kAlignment] = true;
        return reinterpret_cast<const Node*>(grid_.data() + offset);
    }

    template <class Node>
    const Node* child(std::uint64_t parent, std::int64_t distance) {
        return node<Node>(parent + static_cast<std::uint64_t>(distance));
    }

    template <class Node>
    const Node* internal(std::uint64_t parent, std::int64_t distance) {
        const Node* found = child<Node>(parent, distance);
        const auto& mask = found->data()->mChildMask;
        for (auto on = mask.beginOn(); on; ++on) {
            const std::int64_t next = found->data()->mTable[*on].child;
            using Child = typename Node::ChildNodeType;
            if constexpr (std::is_same_v<Child, typename Access::Leaf>)
                child<Child>(offsetOf(found), next);
            else
                internal<Child>(offsetOf(found), next);
        }
        return found;
    }

    std::string_view grid_;
    std::vector<bool> seen_; // places where a node begins
};

} // namespace Stratum::io
