// At the ends of what an index, a float, a tree and a call can hold.
#include "Kelvane/Logger.h"
#include "ops/generate_sample_locations.h"
#include "ops/sample_volume_property.h"
#include "support/operatorCalls.h"
#include "support/operators.h"
#include "support/volumeLocations.h"

#include <cmath>
#include <new>

using namespace StratumTest;
using Geometry::Internal::sample_volume_property;
using Geometry::Query::sample_volume_gradient;

namespace {

template <class Shape>
class LimitsTest : public ::testing::Test {};
TYPED_TEST_SUITE(LimitsTest, AllShapes);

constexpr SamplerType kSamplers[] = {SamplerType::kLinear, SamplerType::kCubicC0,
                                     SamplerType::kCubicC1};

template <class T>
struct Properties {
    Ptr<Array<T>> values;
    Ptr<Array<bool>> valid;
};

template <class T>
Properties<T> propertiesAt(const Vantor::Object& object, const Array<float3>& positions) {
    Locations locations(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i)
        locations[i].weights = {positions[i].x, positions[i].y, positions[i].z, 0};
    Properties<T> out;
    sample_volume_property(object, locations, "value", valueFrom<T>(kOperatorDefault), {},
                           out.values, out.valid);
    return out;
}

template <class T, class R>
Ptr<Array<R>> gradientsAt(const Vantor::Object& object, const Array<float3>& positions) {
    Ptr<Array<R>> out;
    sample_volume_gradient(object, positions, T{}, "value", SamplerType::kLinear, out);
    return out;
}

// Around the eight corners of a cube of 2^31 indices, where floats lie 64 and 128 apart, in voxels
// some thousand wide: a field that is linear in voxels from the corner.
TYPED_TEST(LimitsTest, IndicesOfABillionAreSampledWhereTheyLie) {
    constexpr int depth = TypeParam::kFinestDepth - (TypeParam::kChildrenPerAxis == 2 ? 10 : 4),
                  width = TypeParam::voxelWidth(depth), corner = 1 << 30, reach = 8 * width;
    TreeBuilder<TypeParam> tiles;
    for (int c = 0; c < 8; ++c) {
        const auto at = [&](int axis, int by) { return (c >> axis & 1 ? corner : -corner) + by; };
        tiles.addBox(depth, {{at(0, -reach), at(1, -reach), at(2, -reach)},
                             {at(0, reach), at(1, reach), at(2, reach)}});
    }
    const auto tree = tiles.build(1, VoxelOffsetType::kCellCentre);
    const auto field = [&](const double3& p, int) {
        const auto l = [&](double v) { return (std::abs(v) - corner) / width; };
        return l(p.x) - 2 * l(p.y) + 4 * l(p.z);
    };
    Vantor::Object object;
    Vantor::Geometry::addTree<TypeParam>(object, tree);
    Vantor::Geometry::addChannel(object, makeChannel<TypeParam, float>(tree, 1e9F, field));
    Vantor::Geometry::addChannel(object, makeChannel<TypeParam, double>(tree, 1e9, field));
    Array<float3> positions;
    for (std::uint64_t i = 0; i < 400; ++i) {
        const double3 p = randomPosition(i, 5 * width);
        const auto far = [&](double v, std::uint64_t bit) {
            return static_cast<float>((i >> bit & 1 ? 1 : -1) * (v + corner));
        };
        positions.push_back({far(p.x, 0), far(p.y, 1), far(p.z, 2)});
    }
    const auto near = [&](const auto& values, double bound) {
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const float3& p = positions[i];
            ASSERT_NEAR(double{values[i]}, field({p.x, p.y, p.z}, 0), bound) << i;
        }
    };
    // Values up to 40, in the arithmetic of each type.
    for (const auto sampler : kSamplers) {
        near(*sampled<float>(object, positions, "value", sampler), 1e-4);
        near(*sampled<double>(object, positions, "value", sampler), 1e-11);
    }
    near(*propertiesAt<float>(object, positions).values, 1e-4);
    const auto gradients = gradientsAt<double, double3>(object, positions);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const auto slope = [&](std::uint64_t bit, double by) {
            return (i >> bit & 1 ? by : -by) / width;
        };
        ASSERT_LT(distance((*gradients)[i], double3{slope(0, 1), slope(1, -2), slope(2, 4)}),
                  1e-12);
    }
}

template <class Shape>
Vantor::Object volumeWith(float voxelSize, VoxelOffsetType type) {
    TestVolume<Shape> volume(build<Shape>({.seed = 9, .type = type, .voxelSize = voxelSize}));
    Vantor::Geometry::addChannel(volume.object,
                                 makeChannel<Shape, float>(volume.tree, -2.0F, noise(5)));
    volume.template add<float>(
        kFog, 0, [](const double3& p, int d) { return static_cast<float>(noise(6)(p, d)); });
    return volume.object;
}

Array<float3> times(Array<float3> positions, float factor) {
    for (float3& p : positions)
        p = p * factor;
    return positions;
}

// Powers of two, by which everything can be multiplied without a rounding.
TYPED_TEST(LimitsTest, TheVoxelSizeOnlyScales) {
    const Array<float3> positions = somePositions(600, 60);
    for (const auto type : {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner}) {
        const auto one = volumeWith<TypeParam>(1, type);
        const auto scattered = scatter(one, ofFog(byCount(300)));
        const auto slopes = gradientsAt<float, float3>(one, positions);
        for (const float size : {0x1p-100F, 0x1p-30F, 0x1p30F, 0x1p100F, -1.0F, -0x1p-100F}) {
            SCOPED_TRACE(size);
            const auto scaled = volumeWith<TypeParam>(size, type);
            const auto places = times(positions, size);
            for (const auto sampler : kSamplers)
                EXPECT_EQ(*sampled<float>(scaled, places, "value", sampler),
                          *sampled<float>(one, positions, "value", sampler));
            EXPECT_EQ(*propertiesAt<float>(scaled, places).values,
                      *propertiesAt<float>(one, positions).values);
            EXPECT_EQ(*gradientsAt<float, float3>(scaled, places), times(*slopes, 1 / size));
            auto expected = scattered;
            for (GeoLocation& l : expected)
                for (std::size_t axis = 0; axis < 3; ++axis)
                    l.weights[axis] *= size;
            EXPECT_EQ(scatter(scaled, ofFog(byCount(300))), expected);
            // A box whose volume a float does not hold is none, or one of more than there can be.
            if (size == 0x1p100F)
                EXPECT_THROW(scatter(scaled, ofFog(byDensity(1))), std::bad_alloc);
            else if (size <= 0x1p-100F)
                EXPECT_TRUE(scatter(scaled, ofFog(byDensity(1))).empty());
        }
    }
}

TYPED_TEST(LimitsTest, VoxelSizesThatAreNoneMeanOnePlaceOrNone) {
    const Array<float3> positions = somePositions(300, 60);
    const auto one = volumeWith<TypeParam>(1, VoxelOffsetType::kCorner);
    const float inf = std::numeric_limits<float>::infinity();
    for (const auto& [size, place] :
         {std::pair(0.0F, 0.0F), {-0.0F, 0.0F}, {inf, 0.0F}, {-inf, -0.0F}, {kNan, kNan}}) {
        SCOPED_TRACE(size);
        const auto odd = volumeWith<TypeParam>(size, VoxelOffsetType::kCorner);
        for (const auto sampler : kSamplers) {
            const float there =
                (*sampled<float>(one, {{place, place, place}}, "value", sampler))[0];
            EXPECT_EQ(*sampled<float>(odd, positions, "value", sampler),
                      Array<float>(positions.size(), there));
        }
        EXPECT_EQ(*propertiesAt<float>(odd, positions).valid, Array<bool>(positions.size(), true));
        EXPECT_EQ(gradientsAt<float, float3>(odd, positions)->size(), positions.size());
        EXPECT_EQ(scatter(odd, ofFog(byCount(20))).size(), 20U);
        EXPECT_TRUE(std::isinf(size) || scatter(odd, ofFog(byDensity(1))).empty());
    }
}

// Everything that an index reaches, in tiles of depth 0.
TYPED_TEST(LimitsTest, TilesOfDepthZeroAreTilesLikeOthers) {
    TreeBuilder<TypeParam> tiles;
    constexpr double extent = TypeParam::tileExtent(0);
    constexpr int lowest = TypeParam::kChildrenPerAxis == 2 ? std::numeric_limits<int>::min()
                                                            : -TypeParam::tileExtent(0);
    constexpr int highest = std::numeric_limits<int>::max();
    tiles.addBox(0, {{lowest, lowest, lowest}, {highest, highest, highest}});
    TestVolume<TypeParam> volume(tiles.build(1, VoxelOffsetType::kCorner));
    EXPECT_EQ(volume.tree->tiles(0).size(), TypeParam::kChildrenPerAxis == 2 ? 64U : 27U);
    const auto field = [&](const double3& p, int) { return linearField(p * (1 / extent)); };
    Vantor::Geometry::addChannel(volume.object,
                                 makeChannel<TypeParam, double>(volume.tree, -9.0, field));
    Array<float3> positions = somePositions(500, 0.9 * extent);
    for (const auto sampler : kSamplers) {
        const auto values = sampled<double>(volume.object, positions, "value", sampler);
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const float3& p = positions[i];
            ASSERT_NEAR((*values)[i], field({p.x, p.y, p.z}, 0), 1e-12);
        }
    }
    const auto gradients = gradientsAt<double, double3>(volume.object, positions);
    for (const double3& gradient : *gradients)
        ASSERT_LT(distance(gradient * extent, double3{0.5, -0.25, 0.125}), 1e-11);
    volume.template add<float>(kFog, 0, [](const double3& p, int) { return float(p.x < 0); });
    for (const GeoLocation& l : scatter(volume.object, ofFog(byCount(2000))))
        ASSERT_TRUE(l.weights[0] >= float(lowest) && l.weights[0] <= 0);
}

TYPED_TEST(LimitsTest, EmptyTreesHoldDefaults) {
    for (const auto type : {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner}) {
        TestVolume<TypeParam> volume(TreeBuilder<TypeParam>().build(1, type));
        Vantor::Geometry::addChannel(
            volume.object, makeChannel<TypeParam, float>(volume.tree, kChannelDefault, noise(1)));
        volume.template add<float>(kFog, 1, [](const double3&, int) { return 1.0F; });
        const Array<float3> positions = somePositions(100, 60);
        for (const auto sampler : kSamplers)
            EXPECT_EQ(*sampled<float>(volume.object, positions, "value", sampler),
                      Array<float>(100, kChannelDefault));
        EXPECT_EQ(*gradientsAt<float, float3>(volume.object, positions), Array<float3>(100));
        const float none = type == VoxelOffsetType::kCorner ? kOperatorDefault : kChannelDefault;
        EXPECT_EQ(*propertiesAt<float>(volume.object, positions).values, Array<float>(100, none));
        for (const auto& options : {byCount(50), byDensity(50)})
            EXPECT_TRUE(scatter(volume.object, ofFog(options)).empty());
    }
}

TEST(Limits, ArraysOfNothingAndOfOne) {
    for (const OperatorCall& call : everyOperator(0))
        EXPECT_EQ(call.run(plainly).state, Outcome::State::kEmpty) << call.name;
    const auto some = everyOperator(60), one = everyOperator(1);
    for (std::size_t i = 0; i < some.size(); ++i) {
        const auto alone = one[i].run(plainly).elements;
        if (some[i].frame == OperatorCall::Frame::kSampling) {
            ASSERT_EQ(alone.size(), 1U);
            EXPECT_EQ(alone[0], some[i].run(plainly).elements[0]) << some[i].name;
        }
    }
}

// Too much for every day: run by hand (./run check limits).

TEST(DISABLED_Heavy, AMillionTilesWithoutFinerOnes) {
    using Two = Traits<2, 4, 1>;
    TreeBuilder<Two> tiles; // 128^3 places at depth 5, of which 100^3 are taken
    constexpr int extent = Two::tileExtent(5), edge = 50 * extent;
    tiles.addBox(5, {{-edge, -edge, -edge}, {edge - 1, edge - 1, edge - 1}});
    TestVolume<Two> volume(tiles.build(1, VoxelOffsetType::kCorner));
    ASSERT_EQ(volume.tree->tiles(5).size(), 1'000'000U);
    const auto field = [](const double3& p, int) { return linearField(p * (1.0 / extent)); };
    const auto channel = makeChannel<Two, float>(volume.tree, 0.0F, field);
    Vantor::Geometry::addChannel(volume.object, channel);
    Vantor::Geometry::addChannel(volume.object, channel, kFog);
    const auto positions = somePositions(1'000'000, 0.97 * edge);
    for (const auto sampler : kSamplers) {
        const auto values = sampled<float>(volume.object, positions, "value", sampler);
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const float3& p = positions[i];
            ASSERT_NEAR((*values)[i], field({p.x, p.y, p.z}, 0), 1e-4);
        }
    }
    EXPECT_EQ(scatter(volume.object, ofFog(byCount(1e6))).size(), 1'000'000U);
}

TEST(DISABLED_Heavy, AHundredMillionPositionsInOneCall) {
    using Two = Traits<2, 4, 1>;
    const auto tree = [] {
        TreeBuilder<Two> tiles;
        tiles.addBox(Two::kFinestDepth, {{-64, -64, -64}, {63, 63, 63}});
        return tiles.build(1, VoxelOffsetType::kCorner);
    }();
    Vantor::Object object;
    Vantor::Geometry::addTree<Two>(object, tree);
    Vantor::Geometry::addChannel(
        object,
        makeChannel<Two, float>(tree, 0.0F, [](const double3& p, int) { return linearField(p); }));
    const auto positions = somePositions(100'000'000, 60);
    for (const auto sampler : kSamplers) {
        const auto values = sampled<float>(object, positions, "value", sampler);
        ASSERT_EQ(values->size(), positions.size());
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const float3& p = positions[i];
            ASSERT_NEAR((*values)[i], linearField({p.x, p.y, p.z}), 1e-4) << i;
        }
    }
}

} // namespace
