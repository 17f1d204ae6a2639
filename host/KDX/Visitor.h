// Walking through a tree.
#pragma once

#include "KDX/Tile.h"

namespace KDX::TileTree3D {

/// In which order a walk reports a tile and its children.
enum class TraversalMode { kParentFirst, kChildrenFirst };

/// Which voxels a walk reports: none, those that no child covers, or all of every tile.
enum class VisitInteriorVoxelMode { kNone, kUncovered, kAll };

/// What a walk reports to. Every tile begins, reports its voxels (x fastest) until
/// visitInteriorVoxel() returns false, and ends. With parents first, children follow after
/// their parent has ended; with children first, they come before their parent begins.
template <class ContainerType>
class OSTRUM_API Visitor {
public:
    using Tile = TileTree3D::Tile<typename ContainerType::TraitsType,
                                  ContainerType::TraitsType::kChildCount>;

    virtual ~Visitor() = default;
    virtual void beginTile(const Tile& tile) = 0;
    /// `dataIJK` is the voxel's data index in the tile, 0 to W - 1 per axis.
    virtual bool visitInteriorVoxel(const Tile& tile, const int3& dataIJK) = 0;
    virtual void endTile(const Tile& tile) = 0;
};

} // namespace KDX::TileTree3D
