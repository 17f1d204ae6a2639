#include "io/coarsen.h"

#include "KDX/TreeBuilder.h"
#include "common/parallel.h"
#include "io/coarseChannel.h"

#include <limits>
#include <memory>
#include <stdexcept>

namespace Stratum::io {

namespace {

using KDX::TileTree3D::Traits;

// Chooses the tiles. What a coarse tile does to its neighbours' stencils, and they to its own, is
// only known once all tiles are chosen, so the choice is made for a tile among its like first and
// then checked with the stencils that the samplers will read. Where the check fails, the coarser
// neighbours are refined, or the tile itself where it has none. Each turn refines some tile, and
// the finest tiles alone are the uniform volume, so this comes to an end.
template <class Shape>
class Coarsener {
    using Tree = TileTree<Shape>;
    using TreePtr = Ostrum::Ptr<const Tree>;
    using Builder = KDX::TileTree3D::TreeBuilder<Shape>;
    using Box = Vantor::Math::bbox<int3, int>;
    using Channels = std::vector<std::unique_ptr<CoarseChannel<Shape>>>;

public:
    Coarsener(TreePtr source, Channels channels)
        : source_(std::move(source)), channels_(std::move(channels)), box_(boxOf(*source_)) {}

    TreePtr choose() {
        for (const auto& channel : channels_)
            channel->requireUniform();
        prepare();
        for (;;) {
            TreePtr tree = buildTree();
            for (const auto& channel : channels_)
                channel->build(tree);
            if (!refineWhereTooCoarse(*tree))
                return tree;
        }
    }

    const Channels& channels() const { return channels_; }

private:
    static constexpr int kFinest = Shape::kFinestDepth;
    static constexpr int kCoarsest = kFinest - (Shape::kChildrenPerAxis == 2 ? 4 : 2);

    // By depth and tile of the source: for tiles with children, whether they take their place; for
    // others, the depth of the tiles that take theirs.
    struct Plan {
        std::vector<std::uint8_t> replaces, depth;
    };

    static std::size_t at(std::int64_t i) { return static_cast<std::size_t>(i); }
    Plan& plan(int depth) { return plans_[at(depth)]; }
    const Plan& plan(int depth) const { return plans_[at(depth)]; }

    void prepare() {
        plans_.resize(Shape::kDepthCount);
        for (int depth = kFinest; depth >= 0; --depth) {
            const auto tiles = source_->tiles(depth);
            plan(depth).replaces.resize(tiles.size());
            plan(depth).depth.assign(tiles.size(), static_cast<std::uint8_t>(depth));
            if (depth == kFinest || depth < kCoarsest)
                continue;
            parallelFor(tiles.size(), 4, [&](const IndexRange& range) {
                for (std::size_t i = range.begin(); i < range.end(); ++i)
                    if (!Ostrum::isJobCancelled())
                        plan(depth).replaces[i] = canReplace(tiles[i], depth, i);
            });
            throwIfInterrupted();
        }
    }

    template <class Tile>
    bool canReplace(const Tile& tile, int depth, std::size_t i) const {
        if (!tile.hasChildren() || !isInside(tile.tijk(), depth))
            return false;
        int stored = 0;
        for (int cell = 0; cell < Shape::kChildCount; ++cell) {
            constexpr int B = Shape::kChildrenPerAxis;
            const auto child = tile.childTreeIndex({cell % B, cell / B % B, cell / (B * B)});
            if (child.isValid() && source_->tile(child)->hasChildren() &&
                plan(depth + 1).replaces[at(child.index)] == 0)
                return false;
            stored += child.isValid() &&
                      (source_->tile(child)->hasChildren() || source_->tile(child)->holdsVoxels());
        }
        // Hardly anything would be saved, and the data would seem to reach where they do not.
        if (2 * stored < Shape::kChildCount)
            return false;
        for (const auto& channel : channels_)
            if (!channel->canBeCoarse({static_cast<std::int64_t>(i), depth}))
                return false;
        return true;
    }

    // All tiles that hold voxels; empty, its lower corner above the upper one, when none does.
    static Box boxOf(const Tree& tree) {
        constexpr int kMax = std::numeric_limits<int>::max();
        constexpr int kMin = std::numeric_limits<int>::min();
        Box box{{kMax, kMax, kMax}, {kMin, kMin, kMin}};
        for (int depth = 0; depth <= kFinest; ++depth)
            for (const auto& tile : tree.tiles(depth))
                if (tile.holdsVoxels()) {
                    const int last = Shape::tileExtent(depth) - 1;
                    const int3 &o = tile.tijk(), end = o + int3{last, last, last};
                    box.min = {std::min(box.min.x, o.x), std::min(box.min.y, o.y),
                               std::min(box.min.z, o.z)};
                    box.max = {std::max(box.max.x, end.x), std::max(box.max.y, end.y),
                               std::max(box.max.z, end.z)};
                }
        return box;
    }

    bool isInside(const int3& tijk, int depth) const {
        const std::int64_t last = Shape::tileExtent(depth) - 1;
        return tijk.x >= box_.min.x && tijk.x + last <= box_.max.x && tijk.y >= box_.min.y &&
               tijk.y + last <= box_.max.y && tijk.z >= box_.min.z && tijk.z + last <= box_.max.z;
    }

    TreePtr buildTree() const {
        Builder builder;
        if (box_.min.x <= box_.max.x)
            builder.addRefined(box_,
                               [this](const int3& tijk, int depth) { return wish(tijk, depth); });
        throwIfInterrupted();
        return builder.build(source_->voxelSize(), source_->offsetType());
    }

    typename Builder::Wish wish(const int3& tijk, int depth) const {
        typename Tree::Cursor cursor;
        const auto found = source_->find(tijk, depth, cursor);
        if (!found || Ostrum::isJobCancelled())
            return {};
        const auto* tile = source_->tile(found.treeIndex());
        const std::size_t i = at(found.treeIndex().index);
        const bool leaf = tile->hasChildren() ? plan(found.depth()).replaces[i] != 0
                                              : depth >= plan(found.depth()).depth[i];
        if (tile->hasChildren() ? found.depth() < depth : !tile->holdsVoxels())
            return {};
        return {leaf, !leaf};
    }

    // Whether anything had to be refined.
    bool refineWhereTooCoarse(const Tree& tree) {
        bool any = false;
        for (int depth = 0; depth <= kFinest; ++depth) {
            const auto tiles = tree.tiles(depth);
            std::vector<std::uint8_t> misfits(tiles.size());
            parallelFor(tiles.size(), 16, [&](const IndexRange& range) {
                for (std::size_t i = range.begin(); i < range.end(); ++i)
                    if (tiles[i].holdsVoxels() && !Ostrum::isJobCancelled())
                        misfits[i] = !fits(tree, {static_cast<std::int64_t>(i), depth});
            });
            throwIfInterrupted();
            for (std::size_t i = 0; i < tiles.size(); ++i)
                if (misfits[i] != 0) {
                    refineAround(tree, tiles[i].tijk(), depth);
                    any = true;
                }
        }
        return any;
    }

    bool fits(const Tree& tree, const TreeIndex& index) const {
        if (index.depth == kFinest &&
            coarserNeighbours(tree, tree.tile(index)->tijk(), kFinest).empty())
            return true;
        for (const auto& channel : channels_)
            if (!channel->fits(index))
                return false;
        return true;
    }

    std::vector<typename Tree::Record> coarserNeighbours(const Tree& tree, const int3& tijk,
                                                         int depth) const {
        std::vector<typename Tree::Record> coarser;
        typename Tree::Cursor cursor;
        const std::int64_t extent = Shape::tileExtent(depth);
        for (int n = 0; n < 27; ++n) {
            const WideIndex beside{tijk.x + (n % 3 - 1) * extent, tijk.y + (n / 3 % 3 - 1) * extent,
                                   tijk.z + (n / 9 - 1) * extent};
            const auto found = tree.find(beside, depth, cursor);
            if (found && found.depth() < depth && tree.tile(found.treeIndex())->holdsVoxels())
                coarser.push_back(found);
        }
        return coarser;
    }

    void refineAround(const Tree& tree, const int3& tijk, int depth) {
        const auto coarser = coarserNeighbours(tree, tijk, depth);
        for (const auto& neighbour : coarser)
            refine(neighbour.tijk(), neighbour.depth());
        if (coarser.empty())
            refine(tijk, depth);
    }

    void refine(const int3& tijk, int depth) {
        typename Tree::Cursor cursor;
        const auto found = source_->find(tijk, depth, cursor);
        const std::size_t i = at(found.treeIndex().index);
        if (source_->tile(found.treeIndex())->hasChildren())
            plan(found.depth()).replaces[i] = 0;
        else
            plan(found.depth()).depth[i] = static_cast<std::uint8_t>(
                std::max<int>(plan(found.depth()).depth[i], std::min(depth + 1, kFinest)));
    }

    TreePtr source_;
    Channels channels_;
    Box box_;
    std::vector<Plan> plans_;
};

template <class Shape>
std::size_t tileCount(const TileTree<Shape>& tree) {
    std::size_t count = 0;
    for (int depth = 0; depth <= Shape::kFinestDepth; ++depth)
        count += tree.tiles(depth).size();
    return count;
}

template <class Shape>
std::unique_ptr<CoarseChannel<Shape>> findChannel(const Vantor::Object& object,
                                                  const std::string& name, double tolerance,
                                                  Ostrum::Ptr<const TileTree<Shape>>& tree) {
    std::unique_ptr<CoarseChannel<Shape>> channel;
    using namespace Vantor::Math;
    const auto tryType = [&]<class T>(std::type_identity<T>) {
        using Plain = KDX::TileTree3D::Channel<Shape, T, Shape::kVoxelsPerAxis, 0, 0>;
        if (const auto found = object.volumeParts().component<Plain>(name)) {
            tree = found->tree();
            channel = std::make_unique<TypedCoarseChannel<Shape, T>>(found, tolerance);
        }
    };
#define STRATUM_VALUE_TYPE(T) tryType(std::type_identity<T>{});
#include "common/rows.def"
    return channel;
}

// False when the volume has no tree of this shape.
template <class Shape>
bool coarsenShape(const Volume& volume, double tolerance, Volume& result) {
    std::vector<std::unique_ptr<CoarseChannel<Shape>>> found;
    Ostrum::Ptr<const TileTree<Shape>> before;
    for (const auto& info : volume.channels)
        if (auto channel = findChannel<Shape>(*volume.object, info.name, tolerance, before))
            found.push_back(std::move(channel));
    if (found.size() != volume.channels.size())
        return false;
    Coarsener<Shape> coarsener(before, std::move(found));
    const auto after = coarsener.choose();
    Vantor::Geometry::addTree<Shape>(*result.object, after);
    Saving saving{tolerance,
                  {tileCount(*before), 0, before->memoryUsage()},
                  {tileCount(*after), 0, after->memoryUsage()}};
    for (std::size_t c = 0; c < volume.channels.size(); ++c) {
        const auto& channel = *coarsener.channels()[c];
        std::vector<std::string> names = volume.channels[c].alsoNamed;
        names.insert(names.begin(), volume.channels[c].name);
        channel.addTo(*result.object, names);
        saving.before.voxels += channel.voxels(true);
        saving.before.bytes += channel.bytes(true);
        saving.after.voxels += channel.voxels(false);
        saving.after.bytes += channel.bytes(false);
    }
    result.saving = saving;
    return true;
}

} // namespace

Volume coarsen(const Volume& volume, double tolerance) {
    Volume result{Ostrum::makePtr<Vantor::Object>(), volume.channels, volume.warnings, {}};
#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    if (coarsenShape<Traits<B, W, 1>>(volume, tolerance, result))                                  \
        return result;
#include "common/rows.def"
    throw std::invalid_argument("there is no tree with all channels");
}

} // namespace Stratum::io
