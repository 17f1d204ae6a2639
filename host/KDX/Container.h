// The tile tree as a component of a volume, and the cursor that searches it.
#pragma once

#include "KDX/Object.h"
#include "KDX/TileTree.h"
#include "KDX/Visitor.h"
#include "Ostrum/Ptr.h"

#include <concepts>

namespace KDX::TileTree3D {

using Vantor::Math::bbox;
using Vantor::Math::float3;

/// The directions to the six tiles that share a face with a tile.
enum class NeighborDirection { kLowerX, kUpperX, kLowerY, kUpperY, kLowerZ, kUpperZ };

template <class Traits>
class OSTRUM_API Container : public Component {
public:
    using TraitsType = Traits;
    using Tile = TileTree3D::Tile<Traits, Traits::kChildCount>;
    using Record = TileBinaryNonCompatible<Traits::kChildCount>;

    /// Searches the tree and remembers where it last was, so that searches close to each other are
    /// cheap. Copyable; one accessor must not serve two threads at once. The container must outlive
    /// it.
    class ConstTileAccessor {
    public:
        explicit ConstTileAccessor(const TileTree<Traits>& tree) : tree_(&tree) {}

        /// The deepest tile of depth at most `maxDepth` that holds the index, or no tile.
        Record tileImpl(const int3& ijk, int maxDepth) {
            return tree_->find(ijk, maxDepth, cursor_);
        }

        template <std::same_as<WideIndex> Index>
        Record tileImpl(const Index& ijk, int maxDepth) {
            return tree_->find(ijk, maxDepth, cursor_);
        }

        /// The handles of what tileImpl() finds at each of `count` indices.
        void tilesAt(const int3* ijk, std::size_t count, int maxDepth, TreeIndex* found) {
            tree_->findEach(ijk, count, maxDepth, cursor_, found);
        }

        /// What tileImpl() finds at `first` and, on each axis that `count` says 2 of (else 1), at
        /// one tile of the depth further up: place (i, j, k) at found[(i * 2 + j) * 2 + k].
        void tileBlock(const WideIndex& first, const int3& count, int depth,
                       std::array<TreeIndex, 8>& found) {
            tree_->findBlock(first, count, depth, cursor_, found);
        }

        /// The tile that lies beside the given one, across the face in that direction: of the same
        /// depth, or the deepest coarser one, or null where there is none.
        const Tile* tileNeighbor(const Tile& tile, NeighborDirection direction);

    private:
        const TileTree<Traits>* tree_;
        typename TileTree<Traits>::Cursor cursor_;
    };

    /// Throws std::invalid_argument for no tree.
    explicit Container(Ostrum::Ptr<const TileTree<Traits>> tree);

    /// The tile of a handle; throws std::out_of_range for a handle that names none.
    const Tile& tile(const TreeIndex& index) const;
    const Tile& tile(std::int64_t index, int depth) const { return tile(TreeIndex{index, depth}); }

    ConstTileAccessor tileAccessor() const { return ConstTileAccessor(*tree_); }

    /// A position in index units as a position in world units: times voxelSize().
    float3 toWorldSpace(const float3& voxelSpace) const { return voxelSpace * voxelSize(); }

    /// World edge length of a voxel at the finest depth.
    float voxelSize() const { return tree_->voxelSize(); }

    /// Voxels that the tree stores at a depth, or (-1) at all depths.
    std::int64_t voxelDataCount(int depth) const;

    /// The bounds of a depth's tiles, in units of that depth's tiles; min exceeds max when the
    /// depth has none.
    void tileSpaceBounds(int depth, bbox<int3, int>& bounds) const;

    /// Walks all tiles, parents before children; see Visitor.
    void reduce(Visitor<Container>& visitor) const;

    /// Walks the tiles of the given range of depths below and including `start` (the whole tree for
    /// the invalid handle). `threads`, `reserved0` and `reserved1` have no effect: the walk is
    /// serial.
    void reduceInternalNonInlined(Visitor<Container>& visitor, TraversalMode mode,
                                  const TreeIndex& start, int coarsestDepth, int finestDepth,
                                  std::size_t threads, int reserved0, int reserved1,
                                  VisitInteriorVoxelMode voxels) const;

    const Ostrum::Ptr<const TileTree<Traits>>& tree() const { return tree_; }

private:
    Ostrum::Ptr<const TileTree<Traits>> tree_;
};

} // namespace KDX::TileTree3D
