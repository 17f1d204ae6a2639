// Building the tiles of a tree.
#pragma once

#include "KDX/TileTree.h"
#include "Ostrum/Export.h"
#include "Ostrum/Ptr.h"

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

namespace KDX::TileTree3D {

using Vantor::Math::bbox;

/// Collects tiles in any order, several times each if it so happens, and makes a tree of them. The
/// ancestors of a tile come by themselves. A tile that holds voxels counts as stored data, and
/// channels hold values there unless told otherwise; ancestors that nobody asked for hold none.
///
///     TreeBuilder<Traits<2, 4, 1>> builder;
///     builder.addBox(28, {{0, 0, 0}, {255, 255, 255}});
///     auto tree = builder.build(0.1F, VoxelOffsetType::kCellCentre);
template <class Traits>
class OSTRUM_API TreeBuilder {
public:
    using Tree = TileTree<Traits>;

    /// What a refinement rule wants at a tile.
    struct Wish {
        bool holdsVoxels = false;
        bool refine = false;
    };
    /// Asked of a tile (its origin and depth) before its children; safe to call from many threads.
    using Rule = std::function<Wish(const int3& tijk, int depth)>;

    /// The tile of a depth that holds an index. Throws std::invalid_argument for what is no depth
    /// and std::out_of_range for an index that no tile can hold: with 5 children an axis, tiles
    /// begin at -5^13.
    void addTile(int depth, const int3& ijk, bool holdsVoxels = true);

    /// Every tile of a depth that touches a box of indices.
    void addBox(int depth, const bbox<int3, int>& box, bool holdsVoxels = true);

    /// The tiles of depth 0 that touch the box, and from there down whatever the rule wants,
    /// staying with tiles that touch the box. The rule is asked in parallel, depth by depth.
    void addRefined(const bbox<int3, int>& box, const Rule& rule);

    /// The tree of all that was added; the builder is empty afterwards. `voxelSize` is the world
    /// edge length of a voxel at the finest depth; it is not checked (with 0, samplers see index 0
    /// everywhere). Throws std::length_error beyond 2^30 tiles a
    /// depth.
    Ostrum::Ptr<const Tree> build(float voxelSize, VoxelOffsetType offsetType);

private:
    using Tile = typename Tree::Tile;

    // The cells on the way from depth 0 to a tile, most significant first: tiles in the order of
    // their keys are in the order of a walk, and a key shifted right is the parent's.
    __extension__ using Key = unsigned __int128;
    static constexpr int kBitsPerDepth = Traits::kChildrenPerAxis == 2 ? 3 : 7;

    struct Entry {
        Key key;
        int3 tijk;
        bool holdsVoxels;
    };
    using Entries = std::vector<Entry>;

    static Entry entryOf(int depth, const int3& ijk, bool holdsVoxels);
    static int3 childCellOf(Key key);
    static void addChildren(const Entry& tile, int depth, const bbox<int3, int>& box,
                            Entries& children);
    static void append(Entries added, Entries& entries);
    static void sortAndMerge(Entries& entries);
    static void addParents(const Entries& children, int parentDepth, Entries& parents);

    std::array<Entries, Traits::kDepthCount> entries_;
};

} // namespace KDX::TileTree3D
