// Trees of both shapes against sets of tiles that are searched one by one.
#include "support/volumes.h"

#include <set>

using namespace StratumTest;

namespace {

constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();

template <class Traits>
class TreeTest : public ::testing::Test {
protected:
    static constexpr int B = Traits::kChildrenPerAxis, W = Traits::kVoxelsPerAxis,
                         kFinest = Traits::kFinestDepth;
    // With five children an axis the lowest tile begins at -5^13.
    static constexpr int kLowest = B == 2 ? kMin : -1220703125;

    struct TileKey {
        int depth;
        std::int64_t x, y, z;
        auto operator<=>(const TileKey&) const = default;
    };
    static TileKey keyOf(int depth, const int3& p) {
        const std::int64_t e = Traits::tileExtent(depth);
        return {depth, floorDiv(p.x, e) * e, floorDiv(p.y, e) * e, floorDiv(p.z, e) * e};
    }

    void add(int depth, const int3& p, bool holdsVoxels) {
        builder_.addTile(depth, p, holdsVoxels);
        if (holdsVoxels)
            holding_.insert(keyOf(depth, p));
        for (int d = depth; d >= 0; --d)
            tiles_.insert(keyOf(d, p));
    }

    // Random tiles at random places and depths, neighbours among them, and all corners of the
    // world.
    void addRandomTiles() {
        const auto draw = [&] { return randomUnit<double>(draws++, 5); };
        const auto coordinate = [&] {
            return static_cast<int>(std::lerp(double{kLowest}, double{kMax}, draw()));
        };
        for (int i = 0; i < 300; ++i) {
            const int depth = static_cast<int>(draw() * (kFinest + 0.99));
            const int3 p{coordinate(), coordinate(), coordinate()};
            add(depth, p, draw() < 0.7);
            if (const int e = Traits::tileExtent(depth); p.x < kMax - e)
                add(depth, {p.x + e, p.y, p.z}, true);
            places_.push_back(p);
        }
        for (const int x : {kLowest, -1, 0, kMax})
            for (const int y : {kLowest, -1, 0, kMax})
                for (const int z : {kLowest, kMax}) {
                    add(x == y ? kFinest : 7, {x, y, z}, true);
                    places_.push_back({x, y, z});
                }
        tree_ = builder_.build(0.5F, VoxelOffsetType::kCornerY);
    }

    TreeBuilder<Traits> builder_;
    std::set<TileKey> tiles_, holding_;
    std::vector<int3> places_;
    TreePtr<Traits> tree_;
    std::uint64_t draws = 0;
};
TYPED_TEST_SUITE(TreeTest, AllShapes);

TYPED_TEST(TreeTest, FindsTheDeepestTileAtEveryDepthLimit) {
    this->addRandomTiles();
    const Container<TypeParam> container(this->tree_);
    auto accessor = container.tileAccessor();
    auto places = this->places_;
    for (std::uint64_t i = 0; i < 400; ++i) {
        const double3 p = randomPosition(i, kMax);
        places.push_back({static_cast<int>(p.x), static_cast<int>(p.y), static_cast<int>(p.z)});
    }
    for (const int3& p : {int3{kMin, kMin, kMin}, int3{kMin, 0, 0}, int3{0, 0, kMin}})
        places.push_back(p);
    for (const int3& p : places)
        for (int limit = -1; limit <= this->kFinest + 1; ++limit) {
            int depth = std::min(limit, this->kFinest);
            while (depth >= 0 && !this->tiles_.contains(this->keyOf(depth, p)))
                --depth;
            const auto found = accessor.tileImpl(p, limit);
            ASSERT_EQ(found.depth(), depth) << p.x << ' ' << p.y << ' ' << p.z << " to " << limit;
            if (depth < 0) {
                ASSERT_FALSE(found);
                continue;
            }
            const auto& tile = container.tile(found.treeIndex());
            const auto key = this->keyOf(depth, p);
            ASSERT_EQ(tile.tijk(), found.tijk());
            ASSERT_EQ(
                (int3{static_cast<int>(key.x), static_cast<int>(key.y), static_cast<int>(key.z)}),
                tile.tijk());
            ASSERT_TRUE(tile.contains(p) && tile.depth() == depth);
            ASSERT_EQ(tile.holdsVoxels(), this->holding_.contains(key));
        }
}

TYPED_TEST(TreeTest, LinksParentsAndChildren) {
    this->addRandomTiles();
    const auto& tree = *this->tree_;
    const Container<TypeParam> container(this->tree_);
    std::size_t count = 0;
    for (int depth = 0; depth <= this->kFinest; ++depth) {
        for (std::size_t i = 0; i < tree.tiles(depth).size(); ++i, ++count) {
            const auto& tile = tree.tiles(depth)[i];
            const TreeIndex index{static_cast<std::int64_t>(i), depth};
            const int e = tile.tileVoxelWidth();
            ASSERT_EQ(tile.voxelDataWidth() * this->W, e);
            if (depth == 0) {
                ASSERT_EQ(tile.parentTreeIndex(), TreeIndex{});
                continue;
            }
            const auto& parent = container.tile(tile.parentTreeIndex());
            const int3 cell = parent.childIJK(tile.tijk());
            ASSERT_EQ(parent.tijk() + cell * e, tile.tijk());
            ASSERT_FALSE(parent.isLeaf(cell));
            ASSERT_EQ(parent.childTreeIndex(cell), index);
            // The last voxel of the tile, seen from the parent.
            const int last = this->W - 1, w = tile.voxelDataWidth();
            ASSERT_EQ(parent.childVoxelDataWidth(), w);
            if (tile.tijk().x > kMax - e || tile.tijk().y > kMax - e || tile.tijk().z > kMax - e)
                continue;
            ASSERT_EQ(parent.childDataIJK(tile.tijk() + int3{e - 1, last * w, 0}),
                      (int3{last, last, 0}));
        }
    }
    EXPECT_EQ(count, this->tiles_.size());
    std::int64_t voxels = 0;
    for (int depth = 0; depth <= this->kFinest; ++depth)
        voxels += container.voxelDataCount(depth);
    EXPECT_EQ(voxels, container.voxelDataCount(-1));
    EXPECT_EQ(voxels, static_cast<std::int64_t>(this->holding_.size()) * TypeParam::kVoxelCount);
}

TYPED_TEST(TreeTest, LeavesBoundsAndNeighbours) {
    // Two tiles of one parent, side by side along x below 0, and a coarse one above 0.
    constexpr int e = TypeParam::tileExtent(TypeParam::kFinestDepth),
                  coarse = TypeParam::tileExtent(TypeParam::kFinestDepth - 1);
    this->add(this->kFinest, {-1, 3, 3}, true);
    this->add(this->kFinest, {-1 - e, 3, 3}, true);
    this->add(this->kFinest - 1, {0, 0, 0}, true);
    this->tree_ = this->builder_.build(1, VoxelOffsetType::kCorner);
    const Container<TypeParam> container(this->tree_);
    bbox<int3, int> bounds;
    container.tileSpaceBounds(this->kFinest, bounds);
    EXPECT_EQ(bounds, (bbox<int3, int>{{-2, 0, 0}, {-1, 0, 0}}));
    container.tileSpaceBounds(this->kFinest - 1, bounds);
    EXPECT_EQ(bounds, (bbox<int3, int>{{-1, 0, 0}, {0, 0, 0}}));
    container.tileSpaceBounds(-1, bounds);
    EXPECT_GT(bounds.min.x, bounds.max.x);

    auto accessor = container.tileAccessor();
    using enum NeighborDirection;
    const auto& right = container.tile(accessor.tileImpl(int3{-1, 0, 0}, 99).treeIndex());
    const auto& left = container.tile(accessor.tileImpl(int3{-1 - e, 0, 0}, 99).treeIndex());
    const auto& above = container.tile(accessor.tileImpl(int3{coarse - 1, 0, 0}, 99).treeIndex());
    EXPECT_EQ(accessor.tileNeighbor(right, kLowerX), &left);
    EXPECT_EQ(accessor.tileNeighbor(left, kUpperX), &right);
    EXPECT_EQ(accessor.tileNeighbor(right, kUpperX), &above);
    const auto& parent = container.tile(right.parentTreeIndex());
    EXPECT_EQ(accessor.tileNeighbor(right, kUpperZ), &parent);
    EXPECT_EQ(accessor.tileNeighbor(above, kLowerX), &parent);
    EXPECT_NE(accessor.tileNeighbor(above, kUpperY), &above);
    EXPECT_TRUE(parent.isLeaf({0, 1, 0}));
    EXPECT_TRUE(parent.isLeaf({this->B, 0, 0}));
    EXPECT_FALSE(parent.childTreeIndex({0, 0, -1}).isValid());
    EXPECT_THROW(container.tile({}), std::out_of_range);
    EXPECT_THROW(container.tile(9, this->kFinest), std::out_of_range);
}

TYPED_TEST(TreeTest, BadTilesAreRefusedAndBoxesClipped) {
    auto& builder = this->builder_;
    EXPECT_THROW(builder.addTile(-1, {0, 0, 0}), std::invalid_argument);
    EXPECT_THROW(builder.addBox(this->kFinest + 1, {{0, 0, 0}, {1, 1, 1}}), std::invalid_argument);
    if (this->B == 5) {
        EXPECT_THROW(builder.addTile(3, {0, kMin, 0}), std::out_of_range);
    }
    builder.addBox(0, {{kMin, kMin, kMin}, {kMax, kMax, kMax}});
    builder.addBox(0, {{5, 5, 5}, {4, 4, 4}});
    const auto tree = builder.build(1, VoxelOffsetType::kCorner);
    EXPECT_EQ(tree->tiles(0).size(), this->B == 2 ? 64U : 27U);
    EXPECT_TRUE(builder.build(1, VoxelOffsetType::kCorner)->tiles(0).empty());

    // The rule is asked for what touches the box, up to the last index.
    builder.addRefined({{kMax - 7, kMax, kMax}, {kMax, kMax, kMax}}, [&](const int3&, int depth) {
        return typename TreeBuilder<TypeParam>::Wish{depth == this->kFinest, true};
    });
    EXPECT_EQ(builder.build(1, VoxelOffsetType::kCorner)->tiles(this->kFinest).size(), 2U);
}

template <class Traits>
struct Recorder : Visitor<Container<Traits>> {
    using Tile = typename Visitor<Container<Traits>>::Tile;
    void beginTile(const Tile& tile) override {
        open = &tile;
        began.push_back(&tile);
        voxels = 0;
    }
    bool visitInteriorVoxel(const Tile& tile, const int3& dataIJK) override {
        EXPECT_EQ(&tile, open);
        EXPECT_LT(std::max({dataIJK.x, dataIJK.y, dataIJK.z}), Traits::kVoxelsPerAxis);
        ++total;
        return ++voxels < stopAfter;
    }
    void endTile(const Tile& tile) override {
        EXPECT_EQ(&tile, open);
        open = nullptr;
    }
    const Tile* open = nullptr;
    std::vector<const Tile*> began;
    int voxels = 0, total = 0, stopAfter = 1 << 30;
};

TYPED_TEST(TreeTest, WalksEveryTileOnceInTheOrderAskedFor) {
    this->addRandomTiles();
    const Container<TypeParam> container(this->tree_);
    const auto position = [](const auto& walk, const auto* tile) {
        return std::ranges::find(walk, tile) - walk.begin();
    };
    Recorder<TypeParam> down, up, few, part;
    container.reduce(down);
    up.stopAfter = few.stopAfter = 3;
    using enum TraversalMode;
    using enum VisitInteriorVoxelMode;
    container.reduceInternalNonInlined(up, kChildrenFirst, {}, 0, this->kFinest, 1, 0, 0, kAll);
    container.reduceInternalNonInlined(few, kParentFirst, {}, 2, 4, 1, 0, 0, kNone);
    for (const auto* walk : {&down, &up}) {
        EXPECT_EQ(walk->began.size(), this->tiles_.size());
        EXPECT_EQ(std::set(walk->began.begin(), walk->began.end()).size(), this->tiles_.size());
    }
    EXPECT_EQ(up.total, 3 * static_cast<int>(this->tiles_.size()));
    EXPECT_EQ(few.total, 0);
    EXPECT_EQ(few.began.size(),
              static_cast<std::size_t>(std::ranges::count_if(
                  this->tiles_, [](const auto& k) { return k.depth >= 2 && k.depth <= 4; })));
    // Every finest tile lies in one parent; voxels below children are left out.
    int covered = 0;
    for (int depth = 1; depth <= this->kFinest; ++depth)
        for (const auto& tile : this->tree_->tiles(depth)) {
            const auto* parent = this->tree_->tile(tile.parentTreeIndex());
            covered += TypeParam::kVoxelCount / TypeParam::kChildCount;
            if (depth % 9 == 0) {
                EXPECT_LT(position(down.began, parent), position(down.began, &tile));
                EXPECT_GT(position(up.began, parent), position(up.began, &tile));
            }
        }
    EXPECT_EQ(down.total, static_cast<int>(this->tiles_.size()) * TypeParam::kVoxelCount - covered);
    const TreeIndex start{3, 1};
    container.reduceInternalNonInlined(part, kParentFirst, start, 0, this->kFinest, 1, 0, 0, kNone);
    for (const auto* tile : part.began)
        EXPECT_TRUE(this->tree_->tile(start)->contains(tile->tijk()));
    EXPECT_EQ(part.began.front(), this->tree_->tile(start));
}

} // namespace
