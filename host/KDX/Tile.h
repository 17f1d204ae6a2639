// One node of a tile tree.
#pragma once

#include "KDX/TreeIndex.h"

#include <array>
#include <bit>
#include <cstdint>
#include <limits>

namespace KDX::TileTree3D {

/// A cube of space that holds a small block of voxels and may be refined, each of its child cells
/// for itself. The children of a tile stand side by side in the next depth, in the order of their
/// cells (x fastest), so a mask and the first child's index name them all.
template <class Traits, int ChildCount>
class OSTRUM_API Tile {
    static constexpr int B = Traits::kChildrenPerAxis;
    static constexpr int kWords = (ChildCount + 31) / 32;
    static_assert(ChildCount == Traits::kChildCount);

public:
    static constexpr std::uint32_t kNoTile = std::numeric_limits<std::uint32_t>::max();

    Tile(const int3& tijk, int depth, bool holdsVoxels, std::uint32_t parent)
        : tijk_(tijk), parent_(parent), depth_(static_cast<std::uint8_t>(depth)),
          holdsVoxels_(holdsVoxels) {}

    /// The tile's lower corner, in index units.
    const int3& tijk() const { return tijk_; }
    int depth() const { return depth_; }

    /// Whether the tree counts this tile's voxels among those stored.
    bool holdsVoxels() const { return holdsVoxels_; }

    /// Whether the index lies in the tile.
    bool contains(const int3& ijk) const {
        return TileBinaryNonCompatible<ChildCount>(tijk_, {}).contains(ijk, tileVoxelWidth());
    }

    /// Edge of the tile, of one of its data voxels and of one of a child's, in index units. The
    /// finest tiles have no children; their child's voxel counts as wide as their own.
    int tileVoxelWidth() const { return Traits::tileExtent(depth_); }
    int voxelDataWidth() const { return Traits::voxelWidth(depth_); }
    int childVoxelDataWidth() const {
        return Traits::voxelWidth(depth_ < Traits::kFinestDepth ? depth_ + 1 : depth_);
    }

    /// The child cell, 0 to B - 1 per axis, that holds an index inside the tile.
    int3 childIJK(const int3& ijk) const {
        const int cell = tileVoxelWidth() / B;
        return {(ijk.x - tijk_.x) / cell, (ijk.y - tijk_.y) / cell, (ijk.z - tijk_.z) / cell};
    }

    /// The data index, inside the child that covers it, of an index inside the tile.
    int3 childDataIJK(const int3& ijk) const {
        const int cell = tileVoxelWidth() / B, width = childVoxelDataWidth();
        return {(ijk.x - tijk_.x) % cell / width, (ijk.y - tijk_.y) % cell / width,
                (ijk.z - tijk_.z) % cell / width};
    }

    /// Whether no child covers a child cell.
    bool isLeaf(const int3& childCell) const {
        const int bit = cellBit(childCell);
        return bit < 0 || !(children_[wordOf(bit)] >> (bit % 32) & 1U);
    }

    bool hasChildren() const { return children_ != std::array<std::uint32_t, kWords>{}; }

    /// The child that covers a child cell, or the invalid handle.
    TreeIndex childTreeIndex(const int3& childCell) const {
        if (isLeaf(childCell))
            return {};
        const int bit = cellBit(childCell);
        int before = std::popcount(children_[wordOf(bit)] & ((1U << (bit % 32)) - 1U));
        for (std::size_t word = 0; word < wordOf(bit); ++word)
            before += std::popcount(children_[word]);
        return {static_cast<std::int64_t>(firstChild_) + before, depth_ + 1};
    }

    /// The tile's parent; invalid at depth 0.
    TreeIndex parentTreeIndex() const {
        return parent_ == kNoTile ? TreeIndex{} : TreeIndex{parent_, depth_ - 1};
    }

    /// Notes a child while the tree is built: children come in the order of their cells.
    void adoptChild(std::uint32_t index, const int3& childCell) {
        if (!hasChildren())
            firstChild_ = index;
        const int bit = cellBit(childCell);
        children_[wordOf(bit)] |= 1U << (bit % 32);
    }

private:
    static constexpr std::size_t wordOf(int bit) { return static_cast<std::size_t>(bit / 32); }
    static constexpr int cellBit(const int3& c) {
        const bool inside = c.x >= 0 && c.x < B && c.y >= 0 && c.y < B && c.z >= 0 && c.z < B;
        return inside ? c.x + B * (c.y + B * c.z) : -1;
    }

    int3 tijk_;
    std::uint32_t parent_;
    std::uint32_t firstChild_ = kNoTile;
    std::array<std::uint32_t, kWords> children_{};
    std::uint8_t depth_;
    bool holdsVoxels_;
};

} // namespace KDX::TileTree3D
