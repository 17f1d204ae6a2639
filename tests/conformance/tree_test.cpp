// Searching and walking through a host's trees, against sets of tiles that are searched one by one.
#include "conformance/MakeVolume.h"
#include "support/reference.h"

#include <set>

using namespace Conformance;

namespace {

constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();

template <class Traits>
class TreeConformance : public ::testing::Test {
protected:
    static constexpr int B = Traits::kChildrenPerAxis, W = Traits::kVoxelsPerAxis,
                         kFinest = Traits::kFinestDepth;
    // With five children an axis the lowest tile begins at -5^13.
    static constexpr int kLowest = B == 2 ? kMin : -1220703125;

    using TileKey = std::array<std::int64_t, 4>; // depth, origin
    static TileKey keyOf(int depth, const int3& p) {
        const std::int64_t e = Traits::tileExtent(depth);
        return {depth, floorDiv(p.x, e) * e, floorDiv(p.y, e) * e, floorDiv(p.z, e) * e};
    }

    void add(int depth, const int3& p, bool holdsVoxels) {
        const TileKey key = keyOf(depth, p);
        const auto at = [&](std::size_t axis) { return static_cast<int>(key[axis]); };
        wanted.push_back({depth, {at(1), at(2), at(3)}, holdsVoxels});
    }

    // Random tiles at random places and depths, neighbours among them, and all corners of the
    // world.
    void addRandomTiles() {
        std::uint64_t draws = 0;
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
            places.push_back(p);
        }
        for (const int x : {kLowest, -1, 0, kMax})
            for (const int y : {kLowest, -1, 0, kMax})
                for (const int z : {kLowest, kMax}) {
                    add(x == y ? kFinest : 7, {x, y, z}, true);
                    places.push_back({x, y, z});
                }
    }

    void SetUp() override {
        wanted = tilesOfBlock<Traits>(kFinest - 1);
        if (kMakesAnyTree)
            addRandomTiles();
        for (const WantedTile& tile : wanted) {
            const int e = Traits::tileExtent(tile.depth);
            if (tile.holdsVoxels)
                holding.insert(keyOf(tile.depth, tile.tijk));
            for (int d = tile.depth; d >= (kMakesAnyTree ? 0 : tile.depth); --d)
                tiles.insert(keyOf(d, tile.tijk));
            if (tile.depth == kFinest - 1)
                for (const int beyond : {-1, e - 1, e})
                    places.push_back(tile.tijk + int3{beyond, 0, beyond / 2});
        }
        for (std::uint64_t i = 0; i < 400; ++i)
            places.push_back(toPosition<int3>(randomPosition(i, kMax)));
        for (const int3& p : {int3{kMin, kMin, kMin}, int3{kMin, 0, 0}, int3{0, 0, kMin}})
            places.push_back(p);
        container = makeParts<Traits>(wanted, 0.5F, VoxelOffsetType{2}).container;
    }

    std::vector<WantedTile> wanted;
    std::set<TileKey> tiles, holding;
    std::vector<int3> places;
    Ostrum::Ptr<Container<Traits>> container;
};
TYPED_TEST_SUITE(TreeConformance, AllShapes);

TYPED_TEST(TreeConformance, FindsTheDeepestTileAtEveryDepthLimit) {
    auto accessor = this->container->tileAccessor();
    EXPECT_EQ(this->container->voxelSize(), 0.5F);
    EXPECT_EQ(this->container->toWorldSpace({2, -4, 8}), (float3{1, -2, 4}));
    for (const int3& p : this->places)
        for (int limit = -1; limit <= this->kFinest + 1; ++limit) {
            int depth = std::min(limit, this->kFinest);
            while (depth >= 0 && !this->tiles.contains(this->keyOf(depth, p)))
                --depth;
            const auto found = accessor.tileImpl(p, limit);
            ASSERT_EQ(found.depth(), depth) << p.x << ' ' << p.y << ' ' << p.z << " to " << limit;
            ASSERT_EQ(static_cast<bool>(found), depth >= 0);
            ASSERT_EQ(found.treeIndex().isValid(), depth >= 0);
            if (depth < 0)
                continue;
            const auto& tile = this->container->tile(found.treeIndex());
            const auto& origin = tile.tijk();
            ASSERT_EQ(origin, found.tijk());
            ASSERT_EQ(this->keyOf(depth, p),
                      (std::array<std::int64_t, 4>{depth, origin.x, origin.y, origin.z}));
            ASSERT_TRUE(found.contains(p, tile.tileVoxelWidth()) && tile.depth() == depth);
            ASSERT_EQ(tile.tileVoxelWidth(), TypeParam::tileExtent(depth));
        }
}

TYPED_TEST(TreeConformance, FindsManyTilesAsOneByOne) {
    auto accessor = this->container->tileAccessor(), single = accessor;
    for (const int limit : {-1, 3, this->kFinest - 1, this->kFinest, this->kFinest + 1}) {
        std::vector<TreeIndex> found(this->places.size());
        accessor.tilesAt(this->places.data(), found.size(), limit, found.data());
        for (std::size_t i = 0; i < found.size(); ++i)
            ASSERT_EQ(found[i], single.tileImpl(this->places[i], limit).treeIndex());
    }
    for (const int3& p : this->places)
        for (const int depth : {this->kFinest, this->kFinest - 1, 3}) {
            const std::int64_t e = TypeParam::tileExtent(depth);
            if (std::max({p.x, p.y, p.z}) > kMax - e)
                continue;
            const int3 count{1 + (p.x & 1), 1 + (p.y & 1), 1 + (p.z & 1)};
            std::array<TreeIndex, 8> found;
            accessor.tileBlock(WideIndex{p.x, p.y, p.z}, count, depth, found);
            for (int i = 0; i < count.x; ++i)
                for (int j = 0; j < count.y; ++j)
                    for (int k = 0; k < count.z; ++k)
                        ASSERT_EQ(found[(i * 2 + j) * 2 + k],
                                  single.tileImpl(p + int3{i, j, k} * static_cast<int>(e), depth)
                                      .treeIndex());
        }
}

TYPED_TEST(TreeConformance, LinksParentsAndChildren) {
    auto accessor = this->container->tileAccessor();
    const TileList<TypeParam> list(*this->container);
    for (const auto* tile : list.tiles) {
        const TreeIndex index = accessor.tileImpl(tile->tijk(), tile->depth()).treeIndex(),
                        parentIndex = tile->parentTreeIndex();
        ASSERT_EQ(&this->container->tile(index), tile);
        ASSERT_EQ(parentIndex.isValid(), kMakesAnyTree && tile->depth() > 0);
        if (!parentIndex.isValid())
            continue;
        const auto& parent = this->container->tile(parentIndex);
        const int e = tile->tileVoxelWidth();
        const auto along = [e](int v, int from) {
            return static_cast<int>((std::int64_t{v} - from) / e);
        };
        const int3 cell{along(tile->tijk().x, parent.tijk().x),
                        along(tile->tijk().y, parent.tijk().y),
                        along(tile->tijk().z, parent.tijk().z)};
        ASSERT_EQ(parent.tijk() + cell * e, tile->tijk());
        ASSERT_FALSE(parent.isLeaf(cell));
        ASSERT_EQ(parent.childTreeIndex(cell), index);
        ASSERT_EQ(parent.childVoxelDataWidth() * this->W, e);
    }
    EXPECT_EQ(this->container->voxelDataCount(-1),
              static_cast<std::int64_t>(this->holding.size()) * TypeParam::kVoxelCount);
}

template <class Traits>
struct Recorder : Visitor<Container<Traits>> {
    using Tile = typename Container<Traits>::Tile;
    void beginTile(const Tile& tile) override {
        open = &tile;
        began.push_back(&tile);
        lastFlat = -1;
        voxels = 0;
    }
    bool visitInteriorVoxel(const Tile& tile, const int3& n) override {
        constexpr int B = Traits::kChildrenPerAxis, W = Traits::kVoxelsPerAxis;
        EXPECT_EQ(&tile, open);
        EXPECT_LT(std::max({n.x, n.y, n.z}), W);
        EXPECT_TRUE(tile.isLeaf({n.x * B / W, n.y * B / W, n.z * B / W}));
        const int flat = n.x + W * (n.y + W * n.z);
        EXPECT_LT(lastFlat, flat) << "x fastest";
        lastFlat = flat;
        ++total;
        return ++voxels < stopAfter;
    }
    void endTile(const Tile& tile) override {
        EXPECT_EQ(&tile, open);
        open = nullptr;
    }
    const Tile* open = nullptr;
    std::vector<const Tile*> began;
    int voxels = 0, total = 0, stopAfter = 1 << 30, lastFlat = -1;
};

TYPED_TEST(TreeConformance, WalksEveryTileOnceParentsFirst) {
    Recorder<TypeParam> whole, few;
    this->container->reduce(whole);
    few.stopAfter = 3;
    this->container->reduce(few);
    EXPECT_EQ(whole.began, few.began);
    EXPECT_EQ(whole.began.size(), this->tiles.size());
    std::set<const void*> seen;
    int uncovered = 0, atMostThree = 0;
    for (const auto* tile : whole.began) {
        EXPECT_TRUE(seen.insert(tile).second);
        if (const TreeIndex parent = tile->parentTreeIndex(); parent.isValid()) {
            EXPECT_TRUE(seen.contains(&this->container->tile(parent)));
        }
        int own = 0;
        constexpr int n = TypeParam::kChildrenPerAxis;
        for (int cell = 0; cell < n * n * n; ++cell)
            own += tile->isLeaf({cell % n, cell / n % n, cell / n / n}) * TypeParam::kVoxelCount /
                   (n * n * n);
        uncovered += own;
        atMostThree += std::min(own, 3);
    }
    EXPECT_EQ(whole.total, uncovered);
    EXPECT_EQ(few.total, atMostThree);
}

} // namespace
