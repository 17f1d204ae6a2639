// The linear sampler, between the voxels, for every row of common/rows.def.
#include "support/reference.h"
#include "volume/VoxelSamplerLinear.h"

#include <memory>

using namespace StratumTest;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// A tree with a channel of a row's type, sampled through its halo channel and without.
template <class Row>
struct Volume {
    using Shape = typename Row::Traits;
    using T = typename Row::Value;
    using Sampler = LinearSampler<Shape, T>;

    template <class F>
    Volume(const TreePtr<Shape>& tree, const F& field, double defaultValue)
        : container(tree), topology(tree),
          channel(makeChannel<Shape, T>(tree, valueFrom<T>(defaultValue), field)),
          halo(makeHalo(*channel, container)), plain(container, topology, *channel),
          withHalo(container, topology, *halo) {}

    Container<Shape> container;
    VoxelTopology<Shape> topology;
    Ostrum::Ptr<Plain<Shape, T>> channel;
    Ostrum::Ptr<Halo<Shape, T>> halo;
    Sampler plain, withHalo;
};

template <class Row>
class LinearTest : public ::testing::Test {};
TYPED_TEST_SUITE(LinearTest, AllRows);

TYPED_TEST(LinearTest, ReproducesLinearFieldsAndNoQuadraticOnes) {
    using Shape = typename TypeParam::Traits;
    using T = typename TypeParam::Value;
    // The worst that single precision makes of positions this far out, in the field's values.
    constexpr double rounding = std::is_same_v<ScalarOf<T>, float> ? 4e-4 : 1e-11;
    for (int type = 0; type < 8; ++type) {
        const auto tree = build<Shape>({.hole = 0,
                                        .interiorData = 0.3,
                                        .type = static_cast<VoxelOffsetType>(type),
                                        .voxelSize = 0.37F});
        const auto linear = [](const double3& p, int) { return linearField(p); };
        const auto square = [](const double3& p, int) { return 0.1 * p.x * p.x; };
        const auto constant = [](const double3&, int) { return 7.7; };
        Volume<TypeParam> lines(tree, linear, -99);
        Volume<TypeParam> curves(tree, square, -99);
        Volume<TypeParam> flat(tree, constant, -99);
        const T flatValue = valueFrom<T>(7.7);
        double worst = 0, worstSquare = 0;
        for (std::uint64_t i = 0; i < 400; ++i) {
            const double3 p = randomPosition(i, kCoveredReach<Shape>);
            const auto world =
                toPosition<typename TypeParam::Position>(p * static_cast<double>(0.37F));
            const T value = lines.withHalo.sample(world);
            ASSERT_EQ(value, lines.plain.sample(world));
            worst = std::max(worst, distance(value, valueFrom<T>(linearField(p))));
            worstSquare = std::max(
                worstSquare, distance(curves.plain.sample(world), valueFrom<T>(0.1 * p.x * p.x)));
            ASSERT_EQ(flat.plain.sample(world), flatValue);
            ASSERT_EQ(flat.withHalo.sample(world), flatValue);
        }
        EXPECT_LT(worst, rounding) << "type " << type;
        EXPECT_GT(worstSquare, 0.02) << "type " << type;
    }
}

TYPED_TEST(LinearTest, HaloAndPlainChannelsAgreeBitForBit) {
    using Shape = typename TypeParam::Traits;
    using T = typename TypeParam::Value;
    using S = ScalarOf<T>;
    for (int type = 0; type < 8; ++type) {
        const auto tree =
            build<Shape>({.seed = 40U + type, .type = static_cast<VoxelOffsetType>(type)});
        const auto field = noise(9);
        Volume<TypeParam> volume(tree, field, -70);
        const Reference<Shape>* reference = nullptr;
        if constexpr (std::is_same_v<T, double>)
            reference = new Reference<Shape>(*volume.channel);
        const std::unique_ptr<const Reference<Shape>> owner(reference);
        const double reach = 1.6 * kCoveredReach<Shape>;
        for (std::uint64_t i = 0; i < 700; ++i) {
            double3 p = randomPosition(i, i % 50 == 0 ? 20 * reach : reach);
            // On tile faces, edges and corners, and one representable number beside them.
            constexpr double e = 2 * Shape::kVoxelsPerAxis;
            const auto snap = [&](double v, std::uint64_t kind) {
                const S face = static_cast<S>(std::round(v / e) * e);
                const S toward = static_cast<S>(kind == 1 ? -kInfinity : kInfinity);
                return kind == 3 ? v : kind == 0 ? face : std::nextafter(face, toward);
            };
            if (i % 3 == 0)
                p = {snap(p.x, i / 3 % 4), snap(p.y, i / 12 % 4), snap(p.z, i / 48 % 4)};
            const auto at = toPosition<typename TypeParam::Position>(p);
            const int limit = i % 5 == 4 ? Shape::kFinestDepth - static_cast<int>(i / 5 % 5)
                                         : Shape::kFinestDepth;
            const T value = volume.withHalo.sample(at, limit, kIndex);
            ASSERT_EQ(value, volume.plain.sample(at, limit, kIndex))
                << "type " << type << " at " << p.x << ' ' << p.y << ' ' << p.z;
            if constexpr (std::is_same_v<T, double>) {
                ASSERT_NEAR(value, reference->sample(p, limit), 1e-7)
                    << "type " << type << " to depth " << limit << " at " << p.x << ' ' << p.y
                    << ' ' << p.z;
            }
        }
    }
}

TYPED_TEST(LinearTest, PositionsThatAreNoIndexGiveTheDefault) {
    using Shape = typename TypeParam::Traits;
    using T = typename TypeParam::Value;
    using Position = typename TypeParam::Position;
    using S = ScalarOf<T>;
    TreeBuilder<Shape> builder;
    builder.addBox(0, {{-1, -1, -1}, {std::numeric_limits<int>::max(), 1, 1}});
    const auto tree = builder.build(1, VoxelOffsetType::kCellCentre);
    const auto constant = [](const double3&, int) { return 5.0; };
    Volume<TypeParam> volume(tree, constant, 5);
    Volume<TypeParam> other(tree, constant, -8);
    const T none = valueFrom<T>(-8), some = valueFrom<T>(5);
    const S nan = std::numeric_limits<S>::quiet_NaN(), inf = std::numeric_limits<S>::infinity();
    for (auto* sampler : {&other.plain, &other.withHalo}) {
        for (const S bad : {nan, inf, -inf, S{0x1p31}, S{0x1p40}, S{-0x1p60},
                            std::numeric_limits<S>::max(), std::nextafter(S{-0x1p31}, -inf)})
            for (const Position& p :
                 {Position{bad, 0, 0}, Position{0, bad, 0}, Position{0, 0, bad}})
                ASSERT_EQ(sampler->sample(p), none) << bad;
        EXPECT_EQ(sampler->sample({S{1}, S{-0x1p31}, 0}), none);
        EXPECT_EQ(sampler->sample({S{1000}, S{-1}, S{-1}}, 28, kWorld), some);
        for (const int limit : {-1, -2, std::numeric_limits<int>::min()})
            EXPECT_EQ(sampler->sample({1, 1, 1}, limit, kWorld), none);
        EXPECT_EQ(sampler->name(), "kLinear");
    }
    // The last index that is one, in a volume whose default does not show.
    EXPECT_EQ(volume.plain.sample({std::nextafter(S{0x1p31}, S{0}), 0, 0}), some);

    // Nothing stored at all.
    const auto empty = TreeBuilder<Shape>().build(1, VoxelOffsetType::kCorner);
    Volume<TypeParam> nothing(empty, constant, -8);
    EXPECT_EQ(nothing.plain.sample({1, 2, 3}), none);
    EXPECT_EQ(nothing.withHalo.sample({1, 2, 3}), none);
}

TYPED_TEST(LinearTest, CopiesStandOnTheirOwn) {
    using Shape = typename TypeParam::Traits;
    using T = typename TypeParam::Value;
    using Sampler = typename Volume<TypeParam>::Sampler;
    for (const int type : {0, 7}) {
        const auto tree = build<Shape>({.type = static_cast<VoxelOffsetType>(type)});
        const auto field = noise(9);
        Volume<TypeParam> volume(tree, field, -70);
        TreeBuilder<Shape> builder;
        builder.addBox(Shape::kFinestDepth, {{-21, -21, -21}, {20, 20, 20}});
        Volume<TypeParam> other(builder.build(1, static_cast<VoxelOffsetType>(type)), field, -71);
        for (const auto* made : {&volume.plain, &volume.withHalo}) {
            auto original = std::make_unique<Sampler>(*made);
            Sampler assigned(volume.container, volume.topology, *volume.channel);
            for (std::uint64_t i = 0; i < 60; ++i) {
                const auto p = toPosition<typename TypeParam::Position>(randomPosition(i, 20));
                const T expected = original->sample(p);
                Sampler copy(*original);
                assigned = other.plain;
                ASSERT_EQ(assigned.sample(p), other.withHalo.sample(p));
                assigned = *original;
                ASSERT_EQ(copy.sample(p), expected);
                original = std::make_unique<Sampler>(copy);
                ASSERT_EQ(assigned.sample(p), expected);
                ASSERT_EQ(original->sample(p), expected);
            }
        }
    }
}

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
        Volume<TypeParam> lines(tree, linear, -99);
        Volume<TypeParam> rough(tree, field, -99);
        for (std::uint64_t i = 0; i < 300; ++i) {
            const auto p = toPosition<Position>(randomPosition(i, 0.25 * kCoveredReach<Shape>));
            Position gradient, fromHalo;
            ASSERT_EQ(lines.plain.sampleGradient(p, 28, kWorld, gradient), lines.plain.sample(p));
            ASSERT_LT(distance(gradient, Position{2, -1, 0.5F}), isFloat ? 1e-3 : 1e-10);
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

TEST(WorkedLinear, AVoxelSizeOfZeroMapsEverythingToTheOrigin) {
    using Shape = Traits<2, 4, 1>;
    TreeBuilder<Shape> builder;
    builder.addTile(28, {0, 0, 0});
    Worked<Shape> flat(builder, VoxelOffsetType::kCorner, 0, -8);
    flat.set({0, 0, 0}, [](int i, int, int) { return 3 + i; });
    flat.finish();
    EXPECT_EQ(flat.sample({1e30F, -5, 0}), 3);
    EXPECT_EQ(flat.sample({INFINITY, 0, 0}), -8);
    float3 gradient{};
    LinearSampler<Shape, float> sampler(flat.container, flat.topology, *flat.channel);
    EXPECT_EQ(sampler.sampleGradient({7, 0, 0}, 28, kWorld, gradient), 3);
    EXPECT_FALSE(std::isfinite(gradient.x));
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
