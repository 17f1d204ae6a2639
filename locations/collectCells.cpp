#include "locations/collectCells.h"

#include "common/parallel.h"
#include "locations/cancellation.h"

namespace Vantor::Sample {

namespace {

using namespace KDX::TileTree3D;

template <class Traits>
using TreeTile = typename Container<Traits>::Tile;

// All tiles, in the order of a walk.
template <class Traits>
class TileList : public Visitor<Container<Traits>> {
public:
    explicit TileList(const Container<Traits>& container) { container.reduce(*this); }

    void beginTile(const TreeTile<Traits>& tile) override { tiles.push_back(&tile); }
    bool visitInteriorVoxel(const TreeTile<Traits>&, const int3&) override { return false; }
    void endTile(const TreeTile<Traits>&) override {}

    std::vector<const TreeTile<Traits>*> tiles;
};

template <class Traits>
class CellFinder {
    static constexpr int B = Traits::kChildrenPerAxis, W = Traits::kVoxelsPerAxis;

public:
    using Values = Channel<Traits, float, W, 0, 0>;
    using ExtendedValues = Channel<Traits, float, W + 1, 0, 0>;

    CellFinder(const Container<Traits>& container, const Values& channel,
               const ExtendedValues* extended, CellRule rule)
        : accessor_(container.tileAccessor()), channel_(&channel), extended_(extended),
          rule_(rule) {}

    CandidateTile<Traits> find(const TreeTile<Traits>& tile) {
        CandidateTile<Traits> found{0, tile.tijk(), tile.depth(), {}};
        const TreeIndex index = accessor_.tileImpl(tile.tijk(), tile.depth()).treeIndex();
        const float* values =
            extended_ ? extended_->tileData(index).data() : channel_->tileData(index).data();
        if (!values)
            return found;
        const bool isDeepest = tile.depth() == channel_->depth();
        for (int voxel = 0; voxel < Traits::kVoxelCount; ++voxel) {
            const int3 n = localVoxel<Traits>(voxel);
            if (follows(extended_ ? mean(values, n) : double{values[voxel]}) &&
                (isDeepest || tile.isLeaf({n.x * B / W, n.y * B / W, n.z * B / W})))
                found.voxels.insert(voxel);
        }
        return found;
    }

private:
    bool follows(double v) const { return rule_ == CellRule::kDensity ? v > 0 : v <= 0; }

    // In double, where neither large nor small values leave the range.
    static double mean(const float* values, const int3& n) {
        double sum = 0;
        for (int corner = 0; corner < 8; ++corner) {
            const int x = n.x + (corner & 1), y = n.y + (corner >> 1 & 1), z = n.z + (corner >> 2);
            sum += double{values[x + (W + 1) * (y + (W + 1) * z)]};
        }
        return sum / 8;
    }

    typename Container<Traits>::ConstTileAccessor accessor_;
    const Values* channel_;
    const ExtendedValues* extended_;
    CellRule rule_;
};

template <class Traits>
std::vector<CandidateTile<Traits>> findAll(const TileList<Traits>& list,
                                           const CellFinder<Traits>& finder) {
    std::vector<CandidateTile<Traits>> found(list.tiles.size());
    Stratum::parallelFor(found.size(), 100, [&](const Stratum::IndexRange& range) {
        CellFinder<Traits> own = finder;
        for (std::size_t i = range.begin(); i < range.end(); ++i)
            found[i] = own.find(*list.tiles[i]);
    });
    Stratum::throwIfCancelled();
    return found;
}

} // namespace

template <class Traits>
std::vector<CandidateTile<Traits>>
collectCells(const Container<Traits>& container,
             const Channel<Traits, float, Traits::kVoxelsPerAxis, 0, 0>& channel,
             const Channel<Traits, float, Traits::kVoxelsPerAxis + 1, 0, 0>* extended,
             CellRule rule) {
    return findAll(TileList<Traits>(container), CellFinder(container, channel, extended, rule));
}

#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    template std::vector<CandidateTile<Traits<B, W, 1>>> collectCells(                             \
        const Container<Traits<B, W, 1>>&, const Channel<Traits<B, W, 1>, float, W, 0, 0>&,        \
        const Channel<Traits<B, W, 1>, float, W + 1, 0, 0>*, CellRule);
#include "common/rows.def"

} // namespace Vantor::Sample
