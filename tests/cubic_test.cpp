// Cubic kernels, the sampler's settings, and what it prints.
#include "support/cubic.h"
#include "support/cubicReference.h"
#include "volume/interpolateValues1D.h"

#include <thread>

using namespace StratumTest;

namespace {

using Shape = Traits<2, 4, 1>;
using Volume = CubicVolume<Row<Shape, double>>;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

double field(const double3& p, int) {
    return std::sin(0.3 * p.x) + std::cos(0.2 * p.y) * std::sin(0.25 * p.z + 1);
}

TEST(CubicKernels, FollowTheirPolynomialsOnEvenAndUnevenSpacing) {
    for (const auto mode : kAllModes)
        for (std::uint64_t i = 0; i < 200; ++i) {
            const auto draw = [&](std::uint64_t k) { return randomUnit<double>(8 * i + k, 5); };
            const std::array<double, 4> y{draw(0), draw(1), draw(2), draw(3)};
            const double x1 = 0.2 + draw(4), x2 = x1 + 0.2 + draw(5), t = draw(6);
            const std::array<double, 4> even{-1, 0, 1, 2}, uneven{0, x1, x2, x2 + 0.2 + draw(7)};
            EXPECT_NEAR(interpolateValues1D(mode, y, even, t, false),
                        interpolateSlowly(mode, even, y, t), 1e-9);
            EXPECT_NEAR(interpolateValues1D(mode, y, even, t, true),
                        interpolateSlowly(mode, even, y, t), 1e-9);
            const double x = x1 + t * (x2 - x1);
            EXPECT_NEAR(interpolateValues1D(mode, y, uneven, x, true),
                        interpolateSlowly(mode, uneven, y, x), 1e-9);
        }
    const auto half = [](InterpolationMode mode, const std::array<double, 4>& y, double t) {
        return interpolateValues1D(mode, y, {-1, 0, 1, 2}, t, false);
    };
    using enum InterpolationMode;
    EXPECT_EQ(half(kQuadraticC0Averaged, {0, 0, 1, 1}, 0.5), 0.5);
    for (const double t : {0.0, 0.3, 0.9})
        EXPECT_EQ(half(kCubicC1Monotonic, {0, 1, 1, 0}, t), 1);
    // Clamped signs do not make it monotone.
    EXPECT_EQ(half(kCubicC1Monotonic, {-10, 0, 1, 1}, 0.5), 1.125);
    EXPECT_EQ(half(InterpolationMode{7}, {1, 1, 1, 1}, 0.5), 0);
    EXPECT_STREQ(modeName(InterpolationMode{4}), "kError");
}

TEST(CubicSampler, OddArgumentsGiveTheDefaultOrTheNearestPlace) {
    Volume volume(uniformTree<Shape>(0), field, -8);
    for (const unsigned policy : {0U, 1U}) {
        auto sampler = volume.cubic({.jumpPolicy = policy});
        VoxelLocation<double3> at;
        ASSERT_TRUE(sampler.locate({1.7, 2.2, 3.1}, 28, kIndex, at));
        const auto sample = [&](const TreeIndex& index, const int3& n, const double3& f) {
            return sampler.sample(index, n, f, 28, false);
        };
        const double inside = sample(at.treeIndex, at.n, at.f);
        EXPECT_NE(inside, -8);
        EXPECT_EQ(inside, sampler.sample({1.7, 2.2, 3.1}, 28, kIndex));
        EXPECT_EQ(sample({}, at.n, at.f), -8);
        EXPECT_EQ(sample({1 << 30, 28}, at.n, at.f), -8);
        EXPECT_EQ(sample({0, 99}, at.n, at.f), -8);
        EXPECT_EQ(sample(at.treeIndex, {4, 0, 0}, at.f), -8);
        EXPECT_EQ(sample(at.treeIndex, {0, -2147483647, 0}, at.f), -8);
        const double below = std::nextafter(1.0, 0.0);
        EXPECT_EQ(sample(at.treeIndex, {1, 1, 1}, {1, 7, 0}),
                  sample(at.treeIndex, {1, 1, 1}, {below, below, 0}));
        EXPECT_EQ(sample(at.treeIndex, {1, 1, 1}, {-3, kNan, 0}),
                  sample(at.treeIndex, {1, 1, 1}, {0, 0, 0}));
        for (const double bad : {kNan, double{INFINITY}, -1e300, 2147483648.0})
            EXPECT_EQ(sampler.sample({bad, 1, 1}, kIndex), -8);
        EXPECT_EQ(sampler.sample({1, 1, 1}, -1, kIndex), -8);
    }
    // Samples on voxel corners have no cell that begins below the tile.
    Volume corners(build<Shape>({.seed = 3, .type = VoxelOffsetType::kCorner}), noise(2), -8);
    for (const unsigned policy : {0U, 1U})
        for (std::int64_t tile = 0; tile < 40; ++tile)
            EXPECT_EQ(corners.cubic({.jumpPolicy = policy})
                          .sample({tile, 27}, {-1, 0, 0}, {0, 0, 0}, 28, false),
                      -8);
    EXPECT_EQ(volume.cubic({}).name(), "kCubicC1");
    Volume other(uniformTree<Shape>(0), field, -8);
    EXPECT_THROW((Volume::Cubic(volume.container, volume.topology, *other.channel,
                                InterpolationMode::kCubicC1, true, 1, nullptr, 0, 0)),
                 std::invalid_argument);
}

// Beside a border, where a search finds an ancestor that holds no data but covers everything.
TEST(CubicSampler, AtABorderOnlyTheVoxelsBeyondAreDefaults) {
    const double beyond = -8;
    Volume volume(uniformTree<Shape>(7), field, beyond);
    const auto at = [](double x, double y) { return field({x, y, 0}, 28); };
    const std::array<double, 4> nodes{-1, 0, 1, 2};
    for (const unsigned policy : {0U, 1U}) {
        auto sampler = volume.cubic({.clamp = false, .jumpPolicy = policy});
        std::array<double, 4> rows;
        for (std::size_t i = 0; i < 4; ++i) {
            const double y = nodes[i] + 3;
            const std::array<double, 4> row{beyond, at(-20, y), at(-19, y), at(-18, y)};
            rows[i] = interpolateSlowly(InterpolationMode::kCubicC1, nodes, row, 0.5);
        }
        EXPECT_NEAR(sampler.sample({-19.5, 3, 0}, kIndex), rows[1], 1e-9);
        EXPECT_NEAR(sampler.sample({-19.5, 3.25, 0}, kIndex),
                    interpolateSlowly(InterpolationMode::kCubicC1, nodes, rows, 0.25), 1e-9);
    }
}

// Positions of stencil points that a float cannot tell apart.
TEST(CubicSampler, DepthsFarApartGiveNoNan) {
    TreeBuilder<Shape> builder;
    builder.addBox(3, {{-1, 0, 0}, {-1, 0, 0}});
    builder.addBox(28, {{0, 0, 0}, {3, 3, 3}});
    CubicVolume<Row<Shape, float>> coarse(
        builder.build(1, VoxelOffsetType::kCorner),
        [](const double3& p, int) { return p.x > -1 ? 1.0 : 2.0; }, 0);
    for (const auto mode : kAllModes) {
        auto sampler = coarse.cubic({.mode = mode, .jumpPolicy = 0});
        for (const float x : {-1e8F, -1e3F, -1.5F, 0.25F, 0.5F, 1.5F, 3.5F})
            EXPECT_NEAR(sampler.sample({x, 1.25F, 2.5F}, kIndex), 1.5, 1.1) << x;
    }
}

// On a voxel's plane and one number beside it, where depths meet.
TEST(CubicSampler, TheGeneralPathDoesNotStepWhereAFractionReachesZero) {
    const auto tree =
        build<Shape>({.seed = 5, .hole = 0, .interiorData = 0.3, .type = VoxelOffsetType::kCorner});
    Volume volume(
        tree, [](const double3& p, int) { return p.x * p.x - p.y * p.z; }, 0);
    auto sampler = volume.cubic({.mode = InterpolationMode::kCubicC0, .jumpPolicy = 0});
    for (std::uint64_t i = 0; i < 300; ++i) {
        double3 p = randomPosition(i, 30);
        p.y = std::round(p.y);
        const double3 above{p.x, std::nextafter(p.y, 100), p.z};
        EXPECT_NEAR(sampler.sample(p, kIndex), sampler.sample(above, kIndex), 1e-8);
    }
}

TEST(CubicSampler, CopiesStartEmptyAndStandOnTheirOwn) {
    const auto tree = build<Shape>({.seed = 8});
    Volume volume(tree, noise(1), -70), other(tree, noise(2), -71);
    for (const unsigned cache : {0U, 2U}) {
        auto original = std::make_unique<Volume::Cubic>(volume.cubic({.cache = cache}));
        Volume::Cubic assigned = other.cubic({.cache = 3});
        for (std::uint64_t i = 0; i < 200; ++i) {
            const double3 p = randomPosition(i / 2, 40);
            const double expected = volume.cubic({.cache = cache}).sample(p, kIndex);
            ASSERT_EQ(original->sample(p, kIndex), expected);
            const Volume::Cubic copy(*original);
            assigned.sample(p, kIndex);
            assigned = *original;
            original = std::make_unique<Volume::Cubic>(copy);
            ASSERT_EQ(assigned.sample(p, kIndex), expected);
            ASSERT_EQ(Volume::Cubic(copy).sample(p, kIndex), expected);
            assigned = other.cubic({.cache = 3});
        }
    }
}

TEST(HaloTileRecency, KeepsWhatWasUsedLast) {
    Volume volume(uniformTree<Shape>(7), field, 0);
    auto accessor = volume.container.tileAccessor();
    HaloTileRecency<Shape, double> cache(2);
    const auto get = [&](int tile) {
        return cache.values({tile, 28}, *volume.channel, 0.0, accessor);
    };
    const double *a = get(0), *b = get(1);
    EXPECT_NE(a, b);
    EXPECT_EQ(get(0), a);
    EXPECT_EQ(get(2), b); // in place of tile 1
    EXPECT_EQ(get(0), a);
    EXPECT_EQ(get(1), b); // in place of tile 2
    EXPECT_EQ(get(2), a); // in place of tile 0
    const auto& own = *volume.channel;
    EXPECT_EQ(get(5)[1 + 7 * (1 + 7 * 1)], own.tileData({5, 28})(0));
    Ostrum::failAllocation(1);
    HaloTileRecency<Shape, double> one(1);
    EXPECT_THROW(one.values({7, 28}, own, 0.0, accessor), std::bad_alloc);
    Ostrum::failAllocation(0);
    EXPECT_EQ(one.values({7, 28}, own, 0.0, accessor)[1 + 7 * (1 + 7)], own.tileData({7, 28})(0));
}

// A cell beside a refined tile that holds data of its own, marked or not.
TEST(CubicSampler, ValidVoxelsHideTheFinerOnesBelow) {
    TreeBuilder<Shape> builder;
    builder.addBox(27, {{-64, -64, -64}, {63, 63, 63}});
    builder.addBox(28, {{0, 0, 0}, {15, 15, 15}});
    const auto tree = builder.build(1, VoxelOffsetType::kCorner);
    // Finer values stand out by a constant.
    Volume volume(
        tree, [](const double3&, int depth) { return depth == 28 ? 100.0 : 0.0; }, 0);
    Volume::Mask mask("", 0, false, true, 0, 28);
    mask.update(volume.topology);
    for (std::int64_t i = 0; i < std::ssize(tree->tiles(27)); ++i)
        std::fill_n(mask.writableTileData({i, 27}), 64, std::uint16_t{2});
    const double3 beside{-1.0, 3.0, 3.0};
    const auto value = [&](const Volume::Settings& settings) {
        return volume.cubic(settings).sample(beside, kIndex);
    };
    EXPECT_GT(value({.jumpPolicy = 0}), 1);
    EXPECT_GT(value({.jumpPolicy = 0, .mask = &mask, .maskBits = 1}), 1);
    EXPECT_EQ(value({.jumpPolicy = 0, .mask = &mask, .maskBits = 3}), 0);
    EXPECT_EQ(
        volume.cubic({.jumpPolicy = 0, .mask = &mask, .maskBits = 3}).sample({-2, 2, 2}, kIndex),
        0);
}

TEST(CubicSampler, ReportsTheFirstNanOfTheProcessOnce) {
    Volume volume(
        uniformTree<Shape>(7),
        [](const double3& p, int) { return p.x > 3 && p.x < 5 ? kNan : p.x; }, 0);
    const double3 atNan{3.5, 1.5, 1.5};
    testing::internal::CaptureStdout();
    EXPECT_FALSE(std::isnan(volume.cubic({}).sample({-3.5, 1.5, 1.5}, kIndex)));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, sampler = volume.cubic({})]() mutable {
            for (int k = 0; k < 50; ++k)
                EXPECT_TRUE(std::isnan(sampler.sample(atNan, kIndex)));
        });
    for (std::thread& thread : threads)
        thread.join();
    const std::string report = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(report.starts_with(
        "VoxelSamplerCubic.nanInfo 'voxelSamplerCubic: output is NAN'\nDEBUG BEGIN\n"
        "in_depth = 28\nin_tijk = {0, 0, 0}\nllc = {3, 1, 1}\nin_lijk = {3, 1, 1}\n"
        "in_frac = {0.5, 0.5, 0.5}\nvdw = 1\ntdw = 4\ntvw = 4\ndofIsValid = 0\n"
        "origin = {0, 0, 0}\nTile(0,0,0) = {0, 0, 0}, depth = 28\n"))
        << report;
    EXPECT_TRUE(report.ends_with("DEBUG END\n"));
    EXPECT_EQ(std::count(report.begin(), report.end(), '\''), 2);

    // Blocks treat a NaN as singles do, also where only a monotonic kernel looks past it.
    for (const auto mode : kAllModes) {
        auto blocks = volume.cubic({.mode = mode}), singles = blocks;
        std::vector<double3> line;
        for (int i = 0; i < 100; ++i)
            line.push_back({-3 + 0.1 * i, 0.3 * (i % 3), 0.25 * (i % 4)});
        std::vector<double> values(line.size());
        blocks.sample(line.data(), line.size(), 28, kIndex, values.data());
        for (std::size_t i = 0; i < line.size(); ++i) {
            const double single = singles.sample(line[i], kIndex);
            EXPECT_TRUE(values[i] == single || (std::isnan(values[i]) && std::isnan(single)));
        }
    }

    // The general path replaces a NaN when it checks, which it does while debugging.
    testing::internal::CaptureStdout();
    auto general = volume.cubic({.jumpPolicy = 0});
    VoxelLocation<double3> at;
    general.locate({3.5, 1, 1}, 28, kIndex, at);
    EXPECT_FALSE(std::isnan(general.sample(at.treeIndex, at.n, at.f, 28, true)));
    EXPECT_TRUE(std::isnan(general.sample(at.treeIndex, at.n, at.f, 28, false)));
    const std::string steps = testing::internal::GetCapturedStdout();
    for (const char* text : {"cubic info:\natResolutionJump = 0\n", "positions = -1, 0, 1, 2\n",
                             "samplePosition = 0.5\n", "isLeaf = true", "getValueAtThisLevel\n"})
        EXPECT_NE(steps.find(text), std::string::npos) << text;
    EXPECT_EQ(steps.find("nanInfo"), std::string::npos);
}

} // namespace
