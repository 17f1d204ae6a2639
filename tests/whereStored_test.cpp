// Which tile answers at a place, and whether it holds data.
#include "KDX/whereStored.h"
#include "support/volumes.h"

using namespace StratumTest;
using Vantor::Math::float3;

namespace {

// Every tile is looked at, in exact arithmetic.
template <class Traits, class T>
StoredPlace bySearch(const Plain<Traits, T>& channel, const double3& world) {
    StoredPlace place;
    const double voxelSize = channel.tree()->voxelSize();
    for (int depth = 0; depth <= channel.depth(); ++depth) {
        const auto tiles = channel.tree()->tiles(depth);
        for (std::size_t i = 0; i < tiles.size(); ++i) {
            const auto holds = [&](double p, int origin) {
                const double edge = tiles[i].tileVoxelWidth();
                return p >= origin * voxelSize && p < (origin + edge) * voxelSize;
            };
            if (holds(world.x, tiles[i].tijk().x) && holds(world.y, tiles[i].tijk().y) &&
                holds(world.z, tiles[i].tijk().z))
                place = {depth, bool(channel.tileData({std::int64_t(i), depth}))};
        }
    }
    return place;
}

template <class Row>
class WhereStored : public testing::Test {};
TYPED_TEST_SUITE(WhereStored, AllShapes);

TYPED_TEST(WhereStored, FindsTheTileThatASearchOfAllTilesFinds) {
    using Traits = TypeParam;
    const auto tree = build<Traits>({.seed = 3, .voxelSize = 0.25F});
    const auto everywhere = makeChannel<Traits, float>(tree, 0, noise(1));
    // A channel with data in every other tile only.
    ChannelBuilder<Traits, double> builder(tree, "some", 0.0,
                                           [](const auto& tile, const TreeIndex& index) {
                                               return tile.holdsVoxels() && index.index % 2 == 0;
                                           });
    const auto some = builder.finish();
    // One with data in coarse tiles alone, above which finer ones stand elsewhere and here.
    ChannelBuilder<Traits, float> coarseBuilder(
        tree, "coarse", 0.0F,
        [](const auto&, const TreeIndex& index) { return index.depth < Traits::kFinestDepth; });
    const auto coarse = coarseBuilder.finish();
    const Container<Traits> container(tree);
    auto accessor = container.tileAccessor();
    std::array<int, 2> seen{}; // without and with data
    for (std::uint64_t i = 0; i < 3000; ++i) {
        // On a grid of quarter voxels, so that many lie on faces.
        const auto coordinate = [&](std::uint64_t axis) {
            return static_cast<float>(std::floor(randomUnit<double>(3 * i + axis, 7) * 640 - 320)) /
                   16;
        };
        const float3 p{coordinate(0), coordinate(1), coordinate(2)};
        const StoredPlace place = whereStored(accessor, container, *some, p);
        EXPECT_EQ(place, (bySearch<Traits, double>(*some, {p.x, p.y, p.z})));
        EXPECT_EQ(whereStored(container, *everywhere, p),
                  (bySearch<Traits, float>(*everywhere, {p.x, p.y, p.z})));
        EXPECT_EQ(whereStored(container, *coarse, p),
                  (bySearch<Traits, float>(*coarse, {p.x, p.y, p.z})));
        ++seen[place.isStored];
    }
    for (const int times : seen)
        EXPECT_GT(times, 100);
}

TEST(WhereStoredAt, PlacesThatAreNoIndexAreInNoTile) {
    using Shape = Traits<2, 4, 1>;
    TreeBuilder<Shape> builder;
    builder.addTile(0, {0, 0, 0});
    const auto tree = builder.build(1, VoxelOffsetType::kCorner);
    const auto channel = makeChannel<Shape, float>(tree, 0, noise(1));
    const Container<Shape> container(tree);
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(whereStored(container, *channel, {0, 0, 0}), (StoredPlace{0, true}));
    EXPECT_EQ(whereStored(container, *channel, {1e9F, 0, 0x1.fffffep29F}), (StoredPlace{0, true}));
    for (const float beyond : {-0.5F, 0x1p31F, -0x1p32F, 1e38F, inf, -inf, std::nanf("")})
        for (const float3 p : {float3{beyond, 0, 0}, {0, beyond, 0}, {0, 0, beyond}})
            EXPECT_EQ(whereStored(container, *channel, p), StoredPlace()) << beyond;
    builder.addTile(0, {0, 0, 0});
    const Container<Shape> flat(builder.build(0, VoxelOffsetType::kCorner));
    EXPECT_EQ(whereStored(flat, *channel, {5, 6, 7}).depth, 0) << "all places are index 0";
}

} // namespace
