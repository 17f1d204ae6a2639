// The linear sampler's gradient, and values worked out by hand.
#include "support/linear.h"

#include <memory>

using namespace StratumTest;

namespace {

constexpr std::int64_t kMostIndex = std::numeric_limits<int>::max();

template <class Row>
class GradientTest : public ::testing::Test {};
using ScalarRows = ::testing::Types<Row<Traits<2, 4, 1>, float>, Row<Traits<2, 4, 1>, double>,
                                    Row<Traits<5, 5, 1>, float>, Row<Traits<5, 5, 1>, double>>;
TYPED_TEST_SUITE(GradientTest, ScalarRows);

TYPED_TEST(GradientTest, IsTheSlopePerWorldUnit) {
    using Shape = typename TypeParam::Traits;
    using Position = typename TypeParam::Position;
    const bool isFloat = std::is_same_v<typename TypeParam::Value, float>;
    for (int type = 0; type < 8; ++type) {
        const auto tree = build<Shape>(
            {.hole = 0, .type = static_cast<VoxelOffsetType>(type), .voxelSize = 0.25F});
        const auto linear = [](const double3& p, int) { return linearField(p); };
        const auto field = noise(9);
        LinearVolume<TypeParam> lines(tree, linear, -99);
        LinearVolume<TypeParam> rough(tree, field, -99);
        const auto square = [](const double3& p, int) { return 0.1 * p.x * p.x; };
        LinearVolume<TypeParam> curved(tree, square, -99);
        double worst = 0;
        for (std::uint64_t i = 0; i < 300; ++i) {
            const auto p = toPosition<Position>(randomPosition(i, 0.25 * kCoveredReach<Shape>));
            Position gradient, fromHalo;
            ASSERT_EQ(lines.plain.sampleGradient(p, 28, kWorld, gradient), lines.plain.sample(p));
            ASSERT_LT(distance(gradient, Position{2, -1, 0.5F}), isFloat ? 1e-3 : 1e-10);
            const double3 index{4.0 * p.x, 4.0 * p.y, 4.0 * p.z};
            ASSERT_NEAR(lines.plain.sample(p), linearField(index), isFloat ? 1e-4 : 1e-11);
            worst = std::max(worst, std::abs(curved.plain.sample(p) - square(index, 0)));
            rough.plain.sampleGradient(p, 28, kWorld, gradient);
            rough.withHalo.sampleGradient(p, 28, kWorld, fromHalo);
            ASSERT_EQ(gradient, fromHalo);
            if (isFloat)
                continue;
            // Along each axis the interpolation is linear, so any step inside the cell will do.
            const double step = 1e-6;
            const auto slope = [&](double x, double y, double z) {
                const auto at = [&](double s) {
                    const double3 q{p.x + s * x, p.y + s * y, p.z + s * z};
                    return static_cast<double>(rough.plain.sample(toPosition<Position>(q)));
                };
                return (at(step) - at(-step)) / (2 * step);
            };
            ASSERT_LT(distance(double3{gradient.x, gradient.y, gradient.z},
                               double3{slope(1, 0, 0), slope(0, 1, 0), slope(0, 0, 1)}),
                      1e-3);
        }
        EXPECT_GT(worst, 0.02) << "not linear";
        Position gradient{1, 1, 1};
        EXPECT_EQ(lines.withHalo.sampleGradient({1e6F, 0, 0}, 28, kWorld, gradient), -99);
        EXPECT_EQ(gradient, (Position{0, 0, 0}));
        gradient = {1, 1, 1};
        lines.plain.sampleGradient({static_cast<ScalarOf<Position>>(NAN), 0, 0}, 28, kWorld,
                                   gradient);
        EXPECT_EQ(gradient, (Position{0, 0, 0}));
    }
}

// Values worked out by hand.

/// One channel of floats with its samplers, on a tree that a test puts together.
template <class Traits>
struct Worked {
    Worked(TreeBuilder<Traits>& builder, VoxelOffsetType type, float voxelSize, float background)
        : tree(builder.build(voxelSize, type)), container(tree), topology(tree),
          values(tree, "v", background) {}

    /// Sets the tile at an index from f(i, j, k) of local indices.
    template <class F>
    void set(const int3& ijk, const F& f) {
        auto accessor = container.tileAccessor();
        std::array<float, Traits::kVoxelCount> tile{};
        for (int i = 0; i < Traits::kVoxelCount; ++i) {
            constexpr int W = Traits::kVoxelsPerAxis;
            tile[static_cast<std::size_t>(i)] =
                static_cast<float>(f(i % W, i / W % W, i / (W * W)));
        }
        values.setTile(accessor.tileImpl(ijk, Traits::kFinestDepth).treeIndex(), tile);
    }

    void finish() {
        channel = values.finish();
        halo = makeHalo(*channel, container);
    }

    /// The value with and without a halo channel, which must be the same.
    float sample(const float3& p, int space = kWorld) const {
        return sampleWith(topology, p, space);
    }
    float sampleWith(const VoxelTopology<Traits>& placing, const float3& p, int space) const {
        LinearSampler<Traits, float> plain(container, placing, *channel),
            withHalo(container, placing, *halo);
        const float value = plain.sample(p, Traits::kFinestDepth, space);
        const float other = withHalo.sample(p, Traits::kFinestDepth, space);
        EXPECT_TRUE(value == other || (std::isnan(value) && std::isnan(other)));
        return value;
    }

    TreePtr<Traits> tree;
    Container<Traits> container;
    VoxelTopology<Traits> topology;
    ChannelBuilder<Traits, float> values;
    Ostrum::Ptr<Plain<Traits, float>> channel;
    Ostrum::Ptr<Halo<Traits, float>> halo;
};

template <class Traits>
class BlockTest : public ::testing::Test {};
TYPED_TEST_SUITE(BlockTest, AllShapes);

TYPED_TEST(BlockTest, TilesOfEveryDepthBeginWhereTheyDo) {
    using Traits = TypeParam;
    for (int depth = 0; depth <= Traits::kFinestDepth; ++depth) {
        const std::int64_t extent = Traits::tileExtent(depth),
                           first = -std::min<std::int64_t>(150, Traits::tileExtent(0) / extent),
                           last = std::min<std::int64_t>(150, (kMostIndex - extent) / extent);
        TreeBuilder<Traits> builder;
        builder.addBox(depth, {{static_cast<int>(first * extent), 0, 0},
                               {static_cast<int>(last * extent), 0, 0}});
        const auto tree = builder.build(1, VoxelOffsetType::kCorner);
        LinearVolume<Row<Traits, double>> volume(
            tree, [](const double3& p, int) { return p.x; }, -70);
        std::vector<double3> positions;
        for (std::int64_t tile = first; tile <= last; ++tile)
            positions.push_back({static_cast<double>(tile * extent), 0, 0});
        std::vector<double> values(positions.size());
        volume.withHalo.sample(positions.data(), positions.size(), depth, kIndex, values.data());
        for (std::size_t i = 0; i < values.size(); ++i)
            ASSERT_EQ(values[i], positions[i].x) << depth;
    }
}

TYPED_TEST(BlockTest, CopiesStandOnTheirOwn) {
    using Volume = LinearVolume<Row<TypeParam, float>>;
    const auto tree = build<TypeParam>({.type = VoxelOffsetType::kCorner});
    const auto field = noise(9);
    const Volume volume(tree, field, -70);
    Volume sibling(tree, noise(10), -70); // whose tiles have the same handles
    TreeBuilder<TypeParam> builder;
    builder.addBox(TypeParam::kFinestDepth, {{-21, -21, -21}, {20, 20, 20}});
    Volume other(builder.build(1, VoxelOffsetType::kCorner), field, -71);
    for (const auto* made : {&volume.plain, &volume.withHalo}) {
        auto original = std::make_unique<typename Volume::Sampler>(*made);
        auto assigned = volume.plain;
        for (std::uint64_t i = 0; i < 60; ++i) {
            const auto p = toPosition<float3>(randomPosition(i, 20));
            const float expected = original->sample(p);
            auto copy = *original;
            assigned = other.plain;
            ASSERT_EQ(assigned.sample(p), other.withHalo.sample(p));
            assigned = sibling.plain;
            ASSERT_EQ(assigned.sample(p), sibling.withHalo.sample(p));
            assigned = *original;
            ASSERT_EQ(copy.sample(p), expected);
            original = std::make_unique<typename Volume::Sampler>(copy);
            ASSERT_EQ(assigned.sample(p), expected);
            ASSERT_EQ(original->sample(p), expected);
        }
    }
}

TEST(WorkedLinear, CellCentredBelowATilesFirstSample) {
    using Shape = Traits<2, 4, 1>;
    TreeBuilder<Shape> builder;
    builder.addTile(28, {0, 0, 0});
    builder.addTile(28, {4, 0, 0});
    Worked<Shape> two(builder, VoxelOffsetType::kCellCentre, 2, -8);
    two.set({0, 0, 0}, [](int i, int j, int k) { return i * i + 10 * j + 100 * k; });
    two.set({4, 0, 0}, [](int i, int j, int k) { return (i + 4) * (i + 4) + 10 * j + 100 * k; });
    two.finish();
    // Index (4.25, 1.5, 2.5): a quarter of the way from 9 to 16 is left, plus 10 and 200.
    EXPECT_EQ(two.sample({8.5F, 3, 5}), 224.25F);
    EXPECT_EQ(two.sample({4.25F, 1.5F, 2.5F}, kIndex), 224.25F);
    EXPECT_EQ(two.sample({4.25F, 1.5F, 2.5F}, 1), 224.25F);
    // Half a voxel from the end: 49 + 230 and the background's -8, one to three.
    EXPECT_EQ(two.sample({7.75F, 1.5F, 2.5F}, kIndex), 0.75F * 259 + 0.25F * -8);
    EXPECT_EQ(two.sample({8, 1.5F, 2.5F}, kIndex), -8);
    // A sample's own place, and five millionths before it, which count as the same.
    EXPECT_EQ(two.sample({4.5F, 1.5F, 2.5F}, kIndex), 226);
    EXPECT_EQ(two.sample({4.499995F, 1.5F, 2.5F}, kIndex), 226);
    EXPECT_LT(two.sample({4.49998F, 1.5F, 2.5F}, kIndex), 226);
}

TEST(WorkedLinear, CornerSamplesBesideACoarserTile) {
    using Shape = Traits<5, 5, 1>;
    TreeBuilder<Shape> builder;
    builder.addTile(12, {20, 0, 0});
    builder.addTile(11, {25, 0, 0});
    Worked<Shape> mixed(builder, VoxelOffsetType::kCorner, 0.5F, -8);
    mixed.set({20, 0, 0}, [](int, int, int) { return 7; });
    mixed.set({25, 0, 0}, [](int i, int j, int) { return 100 + i * i + 10 * j * j; });
    mixed.finish();
    // At index (24.25, 2, 3): between 7 at x = 24 and, at x = 25, two fifths of the way from 100 to
    // 110, a quarter of the way: 7 + 97 / 4.
    EXPECT_NEAR(mixed.sample({12.125F, 1, 1.5F}), 31.25F, 1e-4);
    float3 gradient{};
    LinearSampler<Shape, float>(mixed.container, mixed.topology, *mixed.channel)
        .sampleGradient({12.125F, 1, 1.5F}, 12, kWorld, gradient);
    // 97 an index, 2 indices a world unit; along y a quarter of the coarse slope, 10 a 5 indices.
    EXPECT_LT(distance(gradient, float3{194, 1, 0}), 1e-3);
    // In the coarse tile, voxels are 5 indices wide: index 32.5 is half-way from 101 to 104.
    EXPECT_NEAR(mixed.sample({16.25F, 0, 0}), 102.5F, 1e-4);
    EXPECT_EQ(mixed.sample({9.9F, 0, 0}), -8);
}

TEST(WorkedLinear, RoundingToTheTilesEndTakesTheFarCorner) {
    using Shape = Traits<5, 5, 1>;
    TreeBuilder<Shape> builder;
    builder.addTile(0, {0, 0, 0});
    Worked<Shape> wide(builder, VoxelOffsetType::kCorner, 1, -8);
    wide.set({0, 0, 0}, [](int i, int, int) { return i; });
    wide.finish();
    // The tile ends at 5^13 = 1220703125; the number below times 5^-12 rounds to 5.
    EXPECT_EQ(1220703104.0F / 244140625.0F, 5.0F);
    EXPECT_EQ(wide.sample({1220703104.0F, 0, 0}), -8);
    EXPECT_NEAR(wide.sample({1220703104.0F - 128 * 953674, 0, 0}), 4 - 12 * 0.5F, 1e-2);
}

TEST(WorkedLinear, TilesThatBeginBetweenRepresentableIndicesAreReadInPlace) {
    using Shape = Traits<5, 5, 1>;
    TreeBuilder<Shape> builder;
    builder.addTile(12, {0x8000000, 0, 0});
    Worked<Shape> far(builder, VoxelOffsetType::kCorner, 1, -8);
    far.set({0x8000000, 0, 0}, [](int i, int, int) { return i; });
    far.finish();
    // The tile begins at 2^27 - 3, which as a float is 2^27.
    EXPECT_EQ(static_cast<float>(0x8000000 - 3), 0x1p27F);
    EXPECT_EQ(far.sample({0x1p27F, 0, 0}), 3);
}

TEST(WorkedLinear, TheLastTileHasNoNeighbourAtTheOtherEnd) {
    using Shape = Traits<2, 4, 1>;
    TreeBuilder<Shape> builder;
    const int3 first{std::numeric_limits<int>::min(), 0, 0};
    const int3 last{std::numeric_limits<int>::max(), 0, 0};
    builder.addTile(0, first);
    builder.addTile(0, last);
    Worked<Shape> ends(builder, VoxelOffsetType::kCorner, 1, -8);
    for (const int3& end : {first, last})
        ends.set(end, [](int, int, int) { return 5; });
    ends.finish();
    // Half-way from the last sample, 2^28 before the end, to the background.
    EXPECT_EQ(ends.sample({0x1p31F - 0x1p27F, 0, 0}), -1.5F);
}

TEST(WorkedLinear, AnOffsetAtOddsWithTheTypeReadsNothingBeforeTheTile) {
    using Shape = Traits<2, 4, 1>;
    TreeBuilder<Shape> builder;
    builder.addTile(28, {0, 0, 0});
    Worked<Shape> one(builder, VoxelOffsetType::kCorner, 1, -8);
    one.set({0, 0, 0}, [](int i, int j, int k) { return 1 + i + 10 * j + 100 * k; });
    one.finish();
    const float inf = std::numeric_limits<float>::infinity();
    const auto with = [&](float x, const float3& p) {
        return one.sampleWith(VoxelTopology<Shape>(one.tree, {x, x, x}), p, kIndex);
    };
    EXPECT_EQ(with(0.5F, {0.25F, 0.25F, 0.25F}), 1);
    EXPECT_EQ(with(0.5F, {1, 0, 0}), 1.5F);
    EXPECT_EQ(with(1e9F, {3, 3, 3}), 1);
    EXPECT_EQ(with(NAN, {3, 3, 3}), 1);
    EXPECT_EQ(with(inf, {3, 3, 3}), 1);
    // Beyond the end: from 4 at x = 3 to the background's -8, 1.25 of the way.
    EXPECT_EQ(one.sampleWith(VoxelTopology<Shape>(one.tree, {-0.5F, 0, 0}), {3.75F, 0, 0}, kIndex),
              4 - 12 * 1.25F);
    with(-inf, {3, 3, 3});
    with(-1e30F, {0, 0, 0});
}

TEST(WorkedLinear, TilesCoarserThanTheChannelsDataGiveTheDefault) {
    using Shape = Traits<2, 4, 1>;
    TreeBuilder<Shape> builder;
    builder.addTile(28, {0, 0, 0});
    builder.addTile(26, {16, 0, 0});
    builder.addTile(28, {16, 0, 0});
    const auto tree = builder.build(1, VoxelOffsetType::kCorner);
    ChannelBuilder<Shape, float> fine(tree, "fine", -8, [](const auto& tile, auto) {
        return tile.depth() == 28 && tile.tijk().x == 0;
    });
    fine.fill([](const double3&, int) { return 1.0F; });
    const auto channel = fine.finish();
    const Container<Shape> container(tree);
    const VoxelTopology<Shape> topology(tree);
    EXPECT_EQ(channel->minDepth(), 28);
    const auto halo = makeHalo(*channel, container);
    for (auto sampler : {LinearSampler<Shape, float>(container, topology, *channel),
                         LinearSampler<Shape, float>(container, topology, *halo)}) {
        EXPECT_EQ(sampler.sample({1, 1, 1}, 28, kWorld), 1);
        EXPECT_EQ(sampler.sample({1, 1, 1}, 27, kWorld), -8);
        EXPECT_EQ(sampler.sample({20, 1, 1}, 28, kWorld), -8);
    }

    // Tiles deeper than all of a channel's data do not hide the data above them.
    ChannelBuilder<Shape, float> coarse(tree, "coarse", -8,
                                        [](const auto& tile, auto) { return tile.depth() == 26; });
    coarse.fill([](const double3&, int) { return 2.0F; });
    const auto above = coarse.finish();
    EXPECT_EQ((LinearSampler<Shape, float>(container, topology, *above).sample({17, 1, 1})), 2);
}

} // namespace
