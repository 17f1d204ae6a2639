// Scattering inside volumes: against frozen numbers and a slow generator, uniformity in space, and
// the rules of counts, masks and channels.
#include "locations/CandidateCells.h"
#include "support/volumeLocations.h"

using namespace StratumTest;
using namespace Vantor::Geometry;

namespace {

using Two = Traits<2, 4, 1>;

auto asFloat(const auto& field) {
    return [field](const double3& p, int depth) { return float(field(p, depth)); };
}

const auto kOnes = [](const double3&, int) { return 1.0F; };

// 1 in a cube, and `outside` it.
auto within(double first, double last, float outside = 0) {
    return [=](const double3& p, int) {
        return std::min({p.x, p.y, p.z}) > first && std::max({p.x, p.y, p.z}) < last ? 1.0F
                                                                                     : outside;
    };
}

TreePtr<Two> oneTile() {
    TreeBuilder<Two> builder;
    builder.addTile(28, {0, 0, 0});
    return builder.build(1, VoxelOffsetType::kCellCentre);
}

// A cube of `edge` index units from the origin in three depths: coarse tiles where x is small,
// finer ones further up.
template <class Traits>
TreePtr<Traits> threeDepths(int edge, VoxelOffsetType type = VoxelOffsetType::kCellCentre) {
    constexpr int finest = Traits::kFinestDepth;
    TreeBuilder<Traits> builder;
    builder.addRefined({{0, 0, 0}, {edge - 1, edge - 1, edge - 1}},
                       [&](const int3& tijk, int depth) -> typename TreeBuilder<Traits>::Wish {
                           const int wanted = 4 * tijk.x >= 2 * edge ? finest
                                              : 4 * tijk.x >= edge   ? finest - 1
                                                                     : finest - 2;
                           const bool large = Traits::tileExtent(depth) > edge / 4;
                           const bool refine = large || depth < wanted;
                           return {.holdsVoxels = !refine, .refine = refine};
                       });
    return builder.build(0.5F, type);
}

std::string errorsOf(const std::function<void()>& work) {
    ::testing::internal::CaptureStderr();
    work();
    return ::testing::internal::GetCapturedStderr();
}

// The numbers come from a separate program in another language, working in single precision and
// unbounded integers: two voxels of a finest tile, and one voxel of a coarser tile, which counts as
// eight.
TEST(VolumeLocations, ASmallCaseIsFrozen) {
    TreeBuilder<Two> builder;
    builder.addTile(28, {0, 0, 0});
    builder.addTile(27, {8, 8, 8});
    TestVolume<Two> volume(builder.build(0.3F, VoxelOffsetType::kCellCentre));
    volume.add<float>(kFog, 0, [](const double3& p, int depth) {
        return depth == 27 ? float(p.x == 15 && p.y == 15 && p.z == 15)
                           : float(p.x == p.y && p.y == p.z && p.x < 2);
    });
    const auto ours = scatter(volume.object, ofFog(byCount(6)));
    struct Frozen {
        std::uint32_t cell;
        float x, y, z;
    };
    const std::vector<Frozen> frozen{{2, 0x1.1b58720p+2F, 0x1.1973920p+2F, 0x1.0ec8a60p+2F},
                                     {6, 0x1.1995460p+2F, 0x1.1d726c0p+2F, 0x1.29d2740p+2F},
                                     {4, 0x1.1009a40p+2F, 0x1.2c9abc0p+2F, 0x1.120cfe0p+2F},
                                     {0, 0x1.1b23140p-2F, 0x1.f1a4ce0p-3F, 0x1.2084900p-2F},
                                     {5, 0x1.25c13a0p+2F, 0x1.2232320p+2F, 0x1.1d630c0p+2F},
                                     {3, 0x1.2fddbe0p+2F, 0x1.100ba20p+2F, 0x1.0fc9480p+2F}};
    ASSERT_EQ(ours.size(), frozen.size());
    for (std::size_t i = 0; i < frozen.size(); ++i) {
        GeoLocation expected;
        expected.kind = 6;
        expected.element = frozen[i].cell;
        expected.weights = {frozen[i].x, frozen[i].y, frozen[i].z, 0};
        EXPECT_EQ(ours[i], expected) << i;
    }
}

template <class Traits>
class ShapedVolumeLocations : public ::testing::Test {};
TYPED_TEST_SUITE(ShapedVolumeLocations, AllShapes);

// Random trees without any order, densities and distances, with and without masks.
TYPED_TEST(ShapedVolumeLocations, AgreeWithASlowGenerator) {
    for (const auto type :
         {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner, VoxelOffsetType::kCornerX})
        for (const bool distance : {false, true}) {
            // Few of the units of shape 5 are written out in a lifetime: all of one tile.
            constexpr bool two = TypeParam::kChildrenPerAxis == 2;
            TestVolume<TypeParam> volume(
                two ? build<TypeParam>({.seed = 3, .type = type, .voxelSize = 0.7F})
                    : threeDepths<TypeParam>(25, type));
            const auto channel =
                volume.template add<float>(distance ? kDistance : kFog, -1.0F, asFloat(noise(5)));
            const auto mask =
                volume.template add<float>("mask", 0.4F, [](const double3& p, int depth) {
                    return float(noise(8)(p, depth) / 50);
                });
            SlowVolume<TypeParam> slow(volume, channel, distance);
            auto options = byCount(2000);
            options.sample_type = distance ? SampleType::Surface : SampleType::Points;
            expectSame(scatter(volume.object, options), slow.byCount(options, 2000, nullptr),
                       "plain", distance);
            for (const bool invert : {false, true}) {
                const auto tested = masked(options, MaskControl::Discard, invert);
                expectSame(scatter(volume.object, tested), slow.byCount(tested, 2000, mask),
                           "masked", invert);
            }
            const Container<TypeParam> container(volume.tree);
            auto accessor = container.tileAccessor();
            for (const GeoLocation& l : scatter(volume.object, options)) {
                const auto& unit = slow.units()[l.element];
                const std::int64_t lower[] = {unit.x, unit.y, unit.z};
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    const float s = volume.tree->voxelSize(), low = float(lower[axis]) * s,
                                up = std::nextafter(low + float(unit.width) * s, 1e30F);
                    ASSERT_TRUE(low <= l.weights[axis] && l.weights[axis] <= up);
                }
                const auto index = [&](std::size_t axis) {
                    return int(std::floor(l.weights[axis] / volume.tree->voxelSize()));
                };
                const auto tile =
                    accessor.tileImpl(int3{index(0), index(1), index(2)}, TypeParam::kFinestDepth);
                ASSERT_EQ(tile.depth(), unit.depth);
                ASSERT_TRUE(channel->tileData(tile.treeIndex()));
            }
        }
}

TYPED_TEST(ShapedVolumeLocations, AreUniformInSpaceOverChangesOfDepth) {
    constexpr int edge = TypeParam::kChildrenPerAxis == 2 ? 64 : 500;
    for (const auto type : {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner})
        for (const bool distance : {false, true}) {
            TestVolume<TypeParam> volume(threeDepths<TypeParam>(edge, type));
            volume.template add<float>(
                distance ? kDistance : kFog, distance ? 1.0F : 0.0F,
                [&](const double3&, int) { return distance ? -1.0F : 1.0F; });
            auto options = byCount(60'000);
            options.sample_type = distance ? SampleType::Surface : SampleType::Points;
            // Tiles may reach past the edge: boxes of a whole number of voxels inside it.
            std::vector<double> boxes(125);
            const double reach = edge * 0.5, box = reach / 5;
            for (const GeoLocation& l : scatter(volume.object, options)) {
                std::size_t bin = 0;
                bool inside = true;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    inside = inside && double(l.weights[axis]) < reach;
                    bin = bin * 5 + std::size_t(std::min(4.0, double(l.weights[axis]) / box));
                }
                boxes[bin] += inside;
            }
            expectShares(boxes, std::vector<double>(125, 1));
        }
}

TEST(VolumeLocations, CountsAreRoundedLimitedAndMultiplied) {
    TreeBuilder<Two> builder;
    builder.addBox(28, {{-4, 0, 8}, {3, 3, 11}}); // 8 x 4 x 4
    TestVolume<Two> volume(builder.build(0.5F, VoxelOffsetType::kCellCentre));
    volume.add<float>(kFog, 0, kOnes);
    const auto count = [&](const GenerateLocationOptions& options) {
        return scatter(volume.object, ofFog(options)).size();
    };
    // The draws of seeds 1 and 5 are 0.057 and 0.920.
    EXPECT_EQ(count(byCount(2.5, 1)), 3U);
    EXPECT_EQ(count(byCount(2.5, 5)), 2U);
    EXPECT_EQ(count(byCount(2.06, 1)), 3U);
    EXPECT_EQ(count(byCount(2.05, 1)), 2U);
    EXPECT_EQ(count(byCount(2, 1)), 2U);
    auto odd = capped(byCount(100), 7);
    odd.amount_type = AmountType{2};
    EXPECT_EQ(count(odd), 100U) << "only a plain count is limited";
    // The box measures 4 x 2 x 2.
    EXPECT_EQ(count(byDensity(10.06, 1)), 160U) << "cut off";
    EXPECT_EQ(count(capped(byDensity(10), 7)), 160U) << "not limited";
    EXPECT_EQ(count(byDensity(double(kNan))), 0U);
    for (const double amount : {1e300, std::numeric_limits<double>::infinity()}) {
        Locations kept(3);
        EXPECT_THROW(Vantor::Sample::generateSampleLocations(volume.object, ofFog(byCount(amount)),
                                                             kept, nullptr),
                     std::bad_alloc);
        EXPECT_EQ(kept.size(), 3U);
    }
}

TEST(VolumeLocations, DensityCountsTheBoxAroundTheCells) {
    TestVolume<Two> volume(threeDepths<Two>(64));
    volume.add<float>(kFog, 0, [](const double3& p, int depth) {
        // One voxel of width 4 at (0, 0, 0) and one of width 1 that ends at (64, 32, 16).
        return float((depth == 26 && p.x == 2 && p.y == 2 && p.z == 2) ||
                     (p.x == 63.5 && p.y == 31.5 && p.z == 15.5));
    });
    EXPECT_EQ(scatter(volume.object, ofFog(byDensity(1))).size(), 32U * 16 * 8);
    for (const int exponent : {50, -55}) { // 2^7 voxels: more, or less, than a single holds
        TreeBuilder<Two> builder;
        builder.addBox(28, {{-4, 0, 8}, {3, 3, 11}});
        TestVolume<Two> odd(
            builder.build(std::ldexp(1.0F, exponent), VoxelOffsetType::kCellCentre));
        odd.add<float>(kFog, 0, kOnes);
        EXPECT_EQ(scatter(odd.object, ofFog(byDensity(std::ldexp(1.0, -3 * exponent)))).size(),
                  128U);
    }
}

TEST(VolumeLocations, TilesDeeperThanTheChannelHideNothing) {
    for (const auto type : {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner}) {
        TreeBuilder<Two> builder;
        builder.addBox(28, {{0, 0, 0}, {7, 7, 7}});
        builder.addTile(27, {0, 0, 0});
        TestVolume<Two> volume(builder.build(1, type));
        const auto coarse = [](const auto& tile, auto) { return tile.depth() == 27; };
        ChannelBuilder<Two, float> fog(volume.tree, kFog, 0, coarse);
        fog.fill(kOnes);
        addChannel(volume.object, fog.finish());
        EXPECT_EQ(scatter(volume.object, ofFog(byDensity(2))).size(), 2U * 8 * 8 * 8);
        // The mask's own data reach deeper, where it keeps one half.
        volume.add<float>("mask", 0, [](const double3& p, int depth) {
            return depth == 28 && p.x < 4 ? 1.0F : 0.0F;
        });
        const auto kept = scatter(volume.object, ofFog(masked(byCount(50))));
        EXPECT_EQ(kept.size(), 50U);
        for (const GeoLocation& l : kept)
            EXPECT_LT(l.weights[0], 5);
    }
}

TEST(VolumeLocations, ChooseTheChannelBySampleType) {
    const std::string complaint = "Unable to generate volume geo locations.\n";
    TreeBuilder<Two> builder;
    builder.addBox(28, {{0, 0, 0}, {7, 3, 3}});
    const auto tree = builder.build(1, VoxelOffsetType::kCellCentre);
    const auto lowerHalf = [&](const TestVolume<Two>& volume, int type) {
        auto options = byCount(100);
        options.sample_type = SampleType{type};
        std::size_t lower = 0;
        for (const GeoLocation& l : scatter(volume.object, options))
            lower += l.weights[0] < 4;
        return lower;
    };
    TestVolume<Two> volume(tree);
    EXPECT_EQ(errorsOf([&] {
                  Locations kept(3);
                  Vantor::Sample::generateSampleLocations(volume.object, byCount(5), kept, nullptr);
                  EXPECT_EQ(kept.size(), 3U);
              }),
              complaint);
    volume.add<double>(kDistance, 0, [](const double3&, int) { return -1.0; });
    EXPECT_EQ(errorsOf([&] { EXPECT_EQ(lowerHalf(volume, 0), 0U); }), complaint) << "no float";
    volume.add<float>(kDistance, 1, [](const double3& p, int) {
        return p.x < 4 ? -0.0F : p.x < 5 ? kNan : 1.0F; // the surface belongs to the inside
    });
    EXPECT_EQ(errorsOf([&] {
                  for (const int type : {0, 1, 2})
                      EXPECT_EQ(lowerHalf(volume, type), 100U);
              }),
              "");
    TestVolume<Two> both(tree);
    both.add<float>(kDistance, 1, [](const double3&, int) { return -1.0F; });
    both.add<float>(kFog, 0, [](const double3& p, int) { return p.x < 4 ? 1e-40F : kNan; });
    EXPECT_LT(lowerHalf(both, 0), 80U);
    EXPECT_EQ(lowerHalf(both, 1), 100U);
    EXPECT_EQ(lowerHalf(both, 2), 100U);

    // Both shapes: the second replaces the first, unless it has no such channel.
    TestVolume<Traits<5, 5, 1>> five([] {
        TreeBuilder<Traits<5, 5, 1>> tiles;
        tiles.addTile(12, {20, 0, 0});
        return tiles.build(1, VoxelOffsetType::kCellCentre);
    }());
    addTree<Two>(five.object, tree);
    addChannel(five.object, volume.object.volumeParts().component<Plain<Two, float>>(kDistance));
    EXPECT_LT(scatter(five.object, byCount(5))[0].weights[0], 20);
    five.add<float>(kDistance, 1, [](const double3&, int) { return -1.0F; });
    EXPECT_GE(scatter(five.object, byCount(5))[0].weights[0], 20);
}

TEST(VolumeLocations, MasksAreTestedTo65537AttemptsAndNoFurther) {
    TestVolume<Two> volume(oneTile());
    volume.add<float>(kFog, 0, kOnes);
    // The draws that decide are smallest at the last attempt allowed, and at the one after it.
    volume.add<float>("mask", 0x1p-15F, [](const double3&, int) { return 0x1p-15F; });
    EXPECT_EQ(scatter(volume.object, ofFog(masked(byCount(1, 254777)))).size(), 1U);
    volume.add<float>("mask", 0x1.5p-16F, [](const double3&, int) { return 0x1.5p-16F; });
    EXPECT_EQ(scatter(volume.object, ofFog(masked(byCount(1, 183821)))).size(), 0U);
}

TEST(VolumeLocations, MasksThatKeepNothingStopAtOnce) {
    // A million samples of 65537 attempts each would take hours.
    for (const auto type : {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner})
        for (const bool invert : {false, true}) {
            TestVolume<Two> volume(threeDepths<Two>(64, type));
            // Inside, where no sample blends with what has no data.
            volume.add<float>(kFog, 0, within(8, 56, -8));
            volume.add<double>("mask", 0.5, [&](const double3& p, int) {
                return p.z > 60 ? 0.5 : invert ? 2.0 : -0.25;
            });
            const auto options = ofFog(masked(byCount(1e6), MaskControl::Resample, invert));
            EXPECT_EQ(scatter(volume.object, options).size(), 0U);
            EXPECT_EQ(
                scatter(volume.object, ofFog(masked(byCount(10), MaskControl::Resample, !invert)))
                    .size(),
                10U);
        }
}

// Each of these is 0 (or 1, inverted) all over the cells, and yet keeps some samples.
TEST(VolumeLocations, MasksThatKeepSomethingAreNotGivenUp) {
    const auto tree = [](float voxelSize) {
        TreeBuilder<Two> builder;
        builder.addTile(27, {0, 0, 0}, false);
        builder.addBox(28, {{0, 0, 0}, {11, 7, 7}});
        return builder.build(voxelSize, VoxelOffsetType::kCellCentre);
    };
    // Where no sample blends with what has no data.
    const auto kept = [](TestVolume<Two>& volume, bool invert = false) {
        volume.add<float>(kFog, 0, within(2, 6));
        return scatter(volume.object, ofFog(masked(byCount(20), MaskControl::Resample, invert)))
            .size();
    };
    // Data at a coarser depth than the cells' only, in one half of it.
    TestVolume<Two> coarse(tree(1));
    ChannelBuilder<Two, float> builder(coarse.tree, "mask", 0,
                                       [](const auto& tile, auto) { return tile.depth() == 27; });
    builder.fill([](const double3& p, int) { return p.z < 4 ? 1.0F : 0.0F; });
    addChannel(coarse.object, builder.finish());
    EXPECT_EQ(kept(coarse), 20U);
    coarse.add<float>(kFog, 0, [](const double3& p, int) { return float(p.z > 6); });
    auto many = ofFog(masked(byCount(1e6)));
    EXPECT_EQ(scatter(coarse.object, many).size(), 0U) << "at once";

    // Infinite values have no difference to blend with.
    TestVolume<Two> infinite(tree(1));
    infinite.add<float>("mask", 0,
                        [](const double3&, int) { return std::numeric_limits<float>::infinity(); });
    EXPECT_EQ(kept(infinite, true), 20U);
    // Nowhere, and always at the origin.
    TestVolume<Two> nowhere(tree(kNan)), huge(tree(3e38F)), origin(tree(0));
    for (auto* volume : {&nowhere, &huge}) {
        volume->add<float>("mask", 1, [](const double3&, int) { return 0.0F; });
        EXPECT_EQ(kept(*volume), 20U);
    }
    origin.add<float>("mask", 0, [](const double3& p, int) { return float(p.z < 1); });
    origin.add<float>(kFog, 0, [](const double3& p, int) { return float(p.z > 4); });
    EXPECT_EQ(scatter(origin.object, ofFog(masked(byCount(20)))).size(), 20U);
    // Weights beyond 1, for samples a voxel below where the offset type has them.
    TestVolume<Two> shifted(tree(1));
    shifted.object.addComponent(
        sVoxelComp, Ostrum::makePtr<VoxelTopology<Two>>(shifted.tree, float3{-3, 0.5F, 0.5F}));
    shifted.add<float>("mask", 0, [](const double3& p, int) { return float(-p.x); });
    shifted.add<float>(kFog, 0, kOnes);
    EXPECT_EQ(scatter(shifted.object, ofFog(masked(byCount(20)))).size(), 20U);
}

TEST(VolumeLocations, MasksOfAnyTypeCountByTheirFirstComponent) {
    TestVolume<Two> volume(threeDepths<Two>(16));
    volume.add<float>(kFog, 0, kOnes);
    const auto options = ofFog(masked(byCount(500)));
    const auto with = [&]<class T>(const T& none) {
        volume.add<T>("mask", none, [](const double3& p, int) {
            Components<T> components{};
            components.fill(-7);
            components[0] = ScalarOf<T>(p.y / 16);
            return fromComponents<T>(components);
        });
        return scatter(volume.object, options);
    };
    const auto expected = with(0.0F);
    const auto compare = [&]<class T>(const T& none) {
        const auto ours = with(none);
        int same = 0;
        for (std::size_t i = 0; i < 500; ++i)
            same += ours[i] == expected[i];
        // Doubles are interpolated in double: nearly all samples are the same.
        EXPECT_GE(same, (std::is_same_v<ScalarOf<T>, float> ? 500 : 491)) << typeid(T).name();
    };
#define STRATUM_VALUE_TYPE(T) compare(T{});
#include "common/rows.def"
}

// More cells than any volume here can have: one voxel of depth 0 covers 2^84 of the finest.
TEST(CandidateCells, CountInCoarserUnitsRatherThanOverflow) {
    using namespace Vantor::Sample;
    CandidateTile<Two> coarse{0, {-(1 << 30), 0, 0}, 0, {}}, fine{0, {0, 0, 0}, 28, {}};
    coarse.voxels.insert(5);
    fine.voxels.insert(0);
    fine.voxels.insert(63);
    const CandidateCells<Two> cells({coarse, fine, CandidateTile<Two>{}}, 28);
    const std::uint64_t inVoxel = std::uint64_t{1} << 54; // units of depth 18
    ASSERT_EQ(cells.total(), inVoxel + 2);
    const auto expectCell = [&](std::uint64_t unit, float x, float y, float z, float width) {
        const CandidateCell cell = cells[unit];
        EXPECT_EQ(cell.corner, (float3{x, y, z})) << unit;
        EXPECT_EQ(cell.width, width) << unit;
    };
    // Voxel 5 is (1, 1, 0) of width 2^28; its units are 1024 wide, 2^18 an axis.
    const float lower = -0x1p30F + 0x1p28F;
    expectCell(0, lower, 0x1p28F, 0, 1024);
    expectCell(1, lower + 1024, 0x1p28F, 0, 1024);
    expectCell((std::uint64_t{1} << 18) + 3, lower + 3072, 0x1p28F + 1024, 0, 1024);
    expectCell(inVoxel - 1, lower + 0x1p28F - 1024, 0x1p29F - 1024, 0x1p28F - 1024, 1024);
    expectCell(inVoxel, 0, 0, 0, 1);
    expectCell(inVoxel + 1, 3, 3, 3, 1);
    const auto box = cells.bounds();
    EXPECT_EQ(box.min, (std::array<std::int64_t, 3>{-(1 << 30) + (1 << 28), 0, 0}));
    EXPECT_EQ(box.max, (std::array<std::int64_t, 3>{4, 1 << 29, 1 << 28}));
}

} // namespace
