// What trees of the in-memory host offer beyond what samplers need.
#include "support/volumes.h"

#include <algorithm>

using namespace StratumTest;

namespace {

constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();

template <class Traits>
class TreeTest : public ::testing::Test {
protected:
    static constexpr int B = Traits::kChildrenPerAxis, kFinest = Traits::kFinestDepth;
    TreeBuilder<Traits> builder_;
};
TYPED_TEST_SUITE(TreeTest, AllShapes);

TYPED_TEST(TreeTest, LeavesBoundsAndNeighbours) {
    // Two tiles of one parent, side by side along x below 0, and a coarse one above 0.
    constexpr int e = TypeParam::tileExtent(TypeParam::kFinestDepth),
                  coarse = TypeParam::tileExtent(TypeParam::kFinestDepth - 1);
    this->builder_.addTile(this->kFinest, {-1, 3, 3});
    this->builder_.addTile(this->kFinest, {-1 - e, 3, 3});
    this->builder_.addTile(this->kFinest - 1, {0, 0, 0});
    const Container<TypeParam> container(this->builder_.build(1, VoxelOffsetType::kCorner));
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
    void beginTile(const Tile& tile) override { began.push_back(&tile); }
    bool visitInteriorVoxel(const Tile&, const int3&) override { return ++voxels % 3 != 0; }
    void endTile(const Tile&) override {}
    std::vector<const Tile*> began;
    int voxels = 0;
};

TYPED_TEST(TreeTest, WalksInTheOrderAndRangeAskedFor) {
    const auto tree = build<TypeParam>({.seed = 2});
    const Container<TypeParam> container(tree);
    using enum TraversalMode;
    using enum VisitInteriorVoxelMode;
    constexpr int coarse = TypeParam::kFinestDepth - 3, middle = coarse + 1;
    Recorder<TypeParam> up, part;
    container.reduceInternalNonInlined(up, kChildrenFirst, {}, coarse, middle, 1, 0, 0, kAll);
    EXPECT_EQ(up.began.size(), tree->tiles(coarse).size() + tree->tiles(middle).size());
    EXPECT_EQ(up.voxels, 3 * static_cast<int>(up.began.size()));
    for (const auto& tile : tree->tiles(middle)) {
        const auto* parent = tree->tile(tile.parentTreeIndex());
        EXPECT_GT(std::ranges::find(up.began, parent), std::ranges::find(up.began, &tile));
        // The last voxel of the tile along x and y, seen from the parent.
        const int e = tile.tileVoxelWidth(), w = tile.voxelDataWidth();
        constexpr int last = TypeParam::kVoxelsPerAxis - 1;
        ASSERT_EQ(parent->childDataIJK(tile.tijk() + int3{e - 1, last * w, 0}),
                  (int3{last, last, 0}));
    }
    const TreeIndex start{3, coarse};
    container.reduceInternalNonInlined(part, kParentFirst, start, 0, this->kFinest, 1, 0, 0, kNone);
    for (const auto* tile : part.began)
        EXPECT_TRUE(tree->tile(start)->contains(tile->tijk()));
    EXPECT_EQ(part.began.front(), tree->tile(start));
    EXPECT_EQ(part.voxels, 0);
}

} // namespace
