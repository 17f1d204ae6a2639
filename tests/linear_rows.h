// The linear sampler, between the voxels, for the rows of one value type.
#include "support/linear.h"
#include "support/reference.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace {

template <class Row>
class LinearTest : public ::testing::Test {};
TYPED_TEST_SUITE(LinearTest, Rows, RowName);

TYPED_TEST(LinearTest, HaloAndPlainChannelsAgreeBitForBitAndWithASlowEvaluator) {
    using Shape = typename TypeParam::Traits;
    using T = typename TypeParam::Value;
    using S = ScalarOf<T>;
    constexpr bool isFloat = std::is_same_v<S, float>;
    for (int type = 0; type < 8; ++type) {
        const auto tree =
            build<Shape>({.seed = 40U + type, .type = static_cast<VoxelOffsetType>(type)});
        const auto field = noise(9);
        LinearVolume<TypeParam> volume(tree, field, -70);
        // All components of a value follow one number, and so do those of its interpolation.
        const auto numbers = makeChannel<Shape, double>(tree, -70.0, field);
        const Reference<Shape> reference(*numbers, volume.container, volume.topology.offsetType());
        // Neighbours differ by up to 475 in a component; positions are moved to a sample that is
        // nearer than 1e-5 voxels, and by the reference 1e-9.
        constexpr double bound = isFloat ? 1e-2 : 1e-6;
        const double reach = 1.6 * kCoveredReach<Shape>;
        for (std::uint64_t i = 0; i < 700; ++i) {
            double3 p = randomPosition(i, i % 50 == 0 ? 20 * reach : reach);
            // On tile faces, edges and corners, and one representable number beside them.
            constexpr double e = 2 * Shape::kVoxelsPerAxis;
            const auto snap = [&](double v, std::uint64_t kind) {
                const S face = static_cast<S>(std::round(v / e) * e);
                const S toward =
                    static_cast<S>(kind == 1 ? -std::numeric_limits<double>::infinity()
                                             : std::numeric_limits<double>::infinity());
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
            const double expected = reference.sample({at.x, at.y, at.z}, limit);
            ASSERT_LT(distance(value, valueFrom<T>(expected)), bound)
                << "type " << type << " to depth " << limit << " at " << p.x << ' ' << p.y << ' '
                << p.z;
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
    if (Shape::kChildrenPerAxis == 2) // where a careless conversion of what is no index may end
        builder.addTile(0, {std::numeric_limits<int>::min(), 0, 0});
    const auto tree = builder.build(1, VoxelOffsetType::kCellCentre);
    const auto constant = [](const double3&, int) { return 5.0; };
    LinearVolume<TypeParam> volume(tree, constant, 5);
    LinearVolume<TypeParam> other(tree, constant, -8);
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
}

// Bit for bit, whatever the block that a position falls into and whatever lies beside it there.
TYPED_TEST(LinearTest, ManyPositionsAtOnceAreTheSamePositionsOneByOne) {
    using Shape = typename TypeParam::Traits;
    using T = typename TypeParam::Value;
    using Position = typename TypeParam::Position;
    using S = ScalarOf<T>;
    const double lowest = Shape::kChildrenPerAxis == 2 ? -0x1p31 : -Shape::tileExtent(0);
    std::vector<Position> positions;
    for (std::uint64_t i = 0; i < 600; ++i) {
        const double3 p = randomPosition(i, 1.5 * kCoveredReach<Shape>);
        constexpr double e = Shape::kVoxelsPerAxis;
        positions.push_back(toPosition<Position>(
            i % 4 == 0 ? double3{std::round(p.x / e) * e, std::round(p.y / e) * e, p.z} : p));
        if (i % 3 == 0) // more in the same tile
            positions.insert(positions.end(), i % 11, toPosition<Position>(p * 1.0001));
        const double far[] = {NAN, INFINITY, -INFINITY, 0x1p31, -0x1p31, 1e30, lowest, lowest - 99};
        if (i % 7 == 0)
            positions.push_back(toPosition<Position>({p.x, far[i / 7 % 8], p.z}));
    }
    for (const int type : {0, 5, 7}) {
        const auto tree = build<Shape>(
            {.seed = 30U + type, .interiorData = 0.7, .type = static_cast<VoxelOffsetType>(type)});
        LinearVolume<TypeParam> volume(tree, noise(9), -70);
        for (auto* sampler : {&volume.plain, &volume.withHalo})
            for (const int limit : {Shape::kFinestDepth, Shape::kFinestDepth - 2, 99, -1})
                for (const std::size_t count :
                     {std::size_t{1}, std::size_t{65}, positions.size()}) {
                    std::vector<T> values(positions.size(), valueFrom<T>(5));
                    sampler->sample(positions.data(), count, limit, kIndex, values.data());
                    for (std::size_t i = 0; i < positions.size(); ++i) {
                        const T single = i < count ? sampler->sample(positions[i], limit, kIndex)
                                                   : valueFrom<T>(5);
                        ASSERT_EQ(std::memcmp(&values[i], &single, sizeof single), 0)
                            << "type " << type << " limit " << limit << " position " << i;
                    }
                    if constexpr (std::is_floating_point_v<T>) {
                        std::vector<Position> gradients(count);
                        sampler->sampleGradient(positions.data(), count, limit, kIndex,
                                                gradients.data());
                        for (std::size_t i = 0; i < count; ++i) {
                            Position single;
                            sampler->sampleGradient(positions[i], limit, kIndex, single);
                            ASSERT_EQ(std::memcmp(&gradients[i], &single, sizeof single), 0)
                                << "type " << type << " limit " << limit << " position " << i;
                        }
                    }
                }
    }
    EXPECT_GT(positions.size(), 10 * PositionBlock<S>::kSize);
}

} // namespace
