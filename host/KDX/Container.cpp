#include "KDX/Container.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

namespace KDX::TileTree3D {

namespace {

template <class Traits>
int3 tileCoordinates(const Tile<Traits, Traits::kChildCount>& tile) {
    const int extent = tile.tileVoxelWidth();
    return {tile.tijk().x / extent, tile.tijk().y / extent, tile.tijk().z / extent};
}

// One serial walk over a part of a tree.
template <class Traits>
class Walk {
public:
    Walk(const TileTree<Traits>& tree, Visitor<Container<Traits>>& visitor, TraversalMode mode,
         int coarsest, int finest, VisitInteriorVoxelMode voxels)
        : tree_(tree), visitor_(visitor), mode_(mode), coarsest_(coarsest), finest_(finest),
          voxels_(voxels) {}

    void visit(const TreeIndex& index) const {
        const auto* tile = tree_.tile(index);
        if (!tile || tile->depth() > finest_)
            return;
        const bool inRange = tile->depth() >= coarsest_;
        if (inRange && mode_ == TraversalMode::kParentFirst)
            report(*tile);
        forEachCell(Traits::kChildrenPerAxis,
                    [&](const int3& cell) { return visit(tile->childTreeIndex(cell)), true; });
        if (inRange && mode_ == TraversalMode::kChildrenFirst)
            report(*tile);
    }

private:
    using Tile = TileTree3D::Tile<Traits, Traits::kChildCount>;

    template <class F>
    static void forEachCell(int perAxis, const F& f) {
        for (int z = 0; z < perAxis; ++z)
            for (int y = 0; y < perAxis; ++y)
                for (int x = 0; x < perAxis; ++x)
                    if (!f(int3{x, y, z}))
                        return;
    }

    void report(const Tile& tile) const {
        visitor_.beginTile(tile);
        if (voxels_ != VisitInteriorVoxelMode::kNone)
            forEachCell(Traits::kVoxelsPerAxis, [&](const int3& dataIJK) {
                constexpr int B = Traits::kChildrenPerAxis, W = Traits::kVoxelsPerAxis;
                const int3 cell{dataIJK.x * B / W, dataIJK.y * B / W, dataIJK.z * B / W};
                const bool wanted = voxels_ == VisitInteriorVoxelMode::kAll || tile.isLeaf(cell);
                return !wanted || visitor_.visitInteriorVoxel(tile, dataIJK);
            });
        visitor_.endTile(tile);
    }

    const TileTree<Traits>& tree_;
    Visitor<Container<Traits>>& visitor_;
    TraversalMode mode_;
    int coarsest_, finest_;
    VisitInteriorVoxelMode voxels_;
};

} // namespace

template <class Traits>
auto Container<Traits>::ConstTileAccessor::tileNeighbor(const Tile& tile,
                                                        NeighborDirection direction)
    -> const Tile* {
    const int side = static_cast<int>(direction);
    WideIndex ijk{tile.tijk().x, tile.tijk().y, tile.tijk().z};
    std::int64_t& along = side / 2 == 0 ? ijk.x : side / 2 == 1 ? ijk.y : ijk.z;
    along += side % 2 == 0 ? -1 : tile.tileVoxelWidth();
    return tree_->tile(tileImpl(ijk, tile.depth()).treeIndex());
}

template <class Traits>
Container<Traits>::Container(Ostrum::Ptr<const TileTree<Traits>> tree) : tree_(std::move(tree)) {
    if (!tree_)
        throw std::invalid_argument("a container needs a tree");
}

template <class Traits>
auto Container<Traits>::tile(const TreeIndex& index) const -> const Tile& {
    if (const Tile* found = tree_->tile(index))
        return *found;
    throw std::out_of_range("no tile " + std::to_string(index.index) + " at depth " +
                            std::to_string(index.depth));
}

template <class Traits>
std::int64_t Container<Traits>::voxelDataCount(int depth) const {
    std::int64_t tiles = 0;
    for (int d = 0; d <= Traits::kFinestDepth; ++d)
        if (depth == d || depth == -1)
            tiles += std::ranges::count_if(tree_->tiles(d), &Tile::holdsVoxels);
    return tiles * Traits::kVoxelCount;
}

template <class Traits>
void Container<Traits>::tileSpaceBounds(int depth, bbox<int3, int>& bounds) const {
    constexpr int kMax = std::numeric_limits<int>::max(), kMin = std::numeric_limits<int>::min();
    bounds = {{kMax, kMax, kMax}, {kMin, kMin, kMin}};
    for (const Tile& tile : tree_->tiles(depth)) {
        const int3 at = tileCoordinates<Traits>(tile);
        bounds.min = {std::min(bounds.min.x, at.x), std::min(bounds.min.y, at.y),
                      std::min(bounds.min.z, at.z)};
        bounds.max = {std::max(bounds.max.x, at.x), std::max(bounds.max.y, at.y),
                      std::max(bounds.max.z, at.z)};
    }
}

template <class Traits>
void Container<Traits>::reduce(Visitor<Container>& visitor) const {
    reduceInternalNonInlined(visitor, TraversalMode::kParentFirst, {}, 0, Traits::kFinestDepth, 0,
                             0, 0, VisitInteriorVoxelMode::kUncovered);
}

template <class Traits>
void Container<Traits>::reduceInternalNonInlined(Visitor<Container>& visitor, TraversalMode mode,
                                                 const TreeIndex& start, int coarsestDepth,
                                                 int finestDepth, std::size_t, int, int,
                                                 VisitInteriorVoxelMode voxels) const {
    const Walk<Traits> walk(*tree_, visitor, mode, coarsestDepth, finestDepth, voxels);
    if (start.isValid())
        return walk.visit(start);
    for (std::size_t root = 0; root < tree_->tiles(0).size(); ++root)
        walk.visit({static_cast<std::int64_t>(root), 0});
}

#define STRATUM_TREE_SHAPE(B, W) template class Container<Traits<B, W, 1>>;
#include "common/rows.def"

} // namespace KDX::TileTree3D
