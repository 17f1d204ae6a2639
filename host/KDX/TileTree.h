// The tiles of a tree: what container, topology and channels share.
#pragma once

#include "KDX/TilePages-inl.h"
#include "KDX/VoxelOffsetType.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace KDX::TileTree3D {

/// All tiles, depth by depth. Children of one tile stand side by side and parents stand in the
/// order of their children, so every depth is in the order of a walk through the tree. Immutable
/// once built (see TreeBuilder), and so safe to read from every thread.
template <class Traits>
class OSTRUM_API TileTree {
public:
    using Tile = TileTree3D::Tile<Traits, Traits::kChildCount>;
    using Record = TileBinaryNonCompatible<Traits::kChildCount>;
    using Cursor = typename TilePages<Traits>::Cursor;
    using TilesByDepth = std::array<std::vector<Tile>, Traits::kDepthCount>;

    /// `voxelSize` is the world edge length of a voxel at the finest depth.
    TileTree(TilesByDepth tiles, float voxelSize, VoxelOffsetType offsetType)
        : tiles_(std::move(tiles)), voxelSize_(voxelSize), offsetType_(offsetType) {
        pages_.build(tiles_);
    }

    float voxelSize() const { return voxelSize_; }
    VoxelOffsetType offsetType() const { return offsetType_; }

    /// The tiles of a depth; none for what is no depth.
    std::span<const Tile> tiles(int depth) const {
        return Traits::isDepth(depth) ? std::span<const Tile>(tiles_[depth])
                                      : std::span<const Tile>();
    }

    /// The tile of a handle, or null when the handle names none.
    const Tile* tile(const TreeIndex& index) const {
        const auto ofDepth = tiles(index.depth);
        return static_cast<std::uint64_t>(index.index) < ofDepth.size() ? &ofDepth[index.index]
                                                                        : nullptr;
    }

    /// The deepest tile of depth at most `maxDepth` that holds the index, an int3 or WideIndex. A
    /// limit beyond the finest depth counts as the finest; below 0 nothing is found.
    template <class Index>
    Record find(const Index& ijk, int maxDepth, Cursor& cursor) const {
        if (maxDepth < 0)
            return {};
        return pages_.find(ijk, maxDepth < Traits::kFinestDepth ? maxDepth : Traits::kFinestDepth,
                           tiles_, cursor);
    }

    /// See TilePages::findEach(); limits as for find().
    void findEach(const int3* ijk, std::size_t count, int maxDepth, Cursor& cursor,
                  TreeIndex* found) const {
        if (maxDepth < 0)
            std::fill_n(found, count, TreeIndex{});
        else
            pages_.findEach(ijk, count, std::min(maxDepth, Traits::kFinestDepth), tiles_, cursor,
                            found);
    }

    /// See TilePages::findBlock(); `depth` must be one.
    void findBlock(const WideIndex& first, const int3& count, int depth, Cursor& cursor,
                   std::array<TreeIndex, 8>& found) const {
        pages_.findBlock(first, count, depth, tiles_, cursor, found);
    }

    /// See TilePages.
    template <class Use>
    bool forEachInBox(const WideIndex& first, const int3& count, int depth, Cursor& cursor,
                      const Use& use) const {
        return pages_.forEachInBox(first, count, depth, cursor, use);
    }
    static int tilesPerPage(int depth) { return PageGeometry<Traits>::tilesPerPage(depth); }

    /// Bytes held for the tree itself, without channels.
    std::size_t memoryUsage() const {
        std::size_t bytes = pages_.memoryUsage();
        for (const auto& ofDepth : tiles_)
            bytes += ofDepth.capacity() * sizeof(Tile);
        return bytes;
    }

private:
    TilesByDepth tiles_;
    TilePages<Traits> pages_;
    float voxelSize_;
    VoxelOffsetType offsetType_;
};

} // namespace KDX::TileTree3D
