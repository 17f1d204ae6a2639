// At the ends of what an index, a float, a tree and a call can hold.
#include "ops/sample_volume_property.h"
#include "support/operatorCalls.h"
#include "support/operators.h"
#include "support/volumeLocations.h"

#include <cmath>
#include <new>

using namespace StratumTest;
using namespace Vantor::Geometry;

namespace {

template <class Shape>
class LimitsTest : public ::testing::Test {};
TYPED_TEST_SUITE(LimitsTest, AllShapes);

constexpr SamplerType kSamplers[] = {SamplerType::kLinear, SamplerType::kCubicC0,
                                     SamplerType::kCubicC1};

template <class T>
Array<T> propertiesAt(const Vantor::Object& object, const Array<float3>& positions) {
    Locations locations(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i)
        locations[i].weights = {positions[i].x, positions[i].y, positions[i].z, 0};
    Ptr<Array<T>> values;
    Ptr<Array<bool>> valid;
    Geometry::Internal::sample_volume_property(object, locations, "value", T{kOperatorDefault}, {},
                                               values, valid);
    EXPECT_EQ(*valid, Array<bool>(positions.size(), true));
    return *values;
}

template <class T, class R = std::conditional_t<std::is_same_v<T, float>, float3, double3>>
Array<R> gradientsAt(const Vantor::Object& object, const Array<float3>& positions) {
    Ptr<Array<R>> out;
    Geometry::Query::sample_volume_gradient(object, positions, T{}, "value", SamplerType::kLinear,
                                            out);
    return *out;
}

// Linear in units so wide, from the corner on each side of the origin that is so far out.
struct Field {
    double unit = 1, corner = 0;

    double operator()(const double3& p, int = 0) const {
        const auto local = [&](double v) { return (v - std::copysign(corner, v)) / unit; };
        return linearField({local(p.x), local(p.y), local(p.z)});
    }
};

// A volume of a field, as "value" in both precisions and as fog.
template <class Shape>
Vantor::Object volumeOf(const TreePtr<Shape>& tree, const Field& field) {
    TestVolume<Shape> volume(tree);
    const auto floats = makeChannel<Shape, float>(tree, -9.0F, field);
    addChannel(volume.object, floats);
    addChannel(volume.object, floats, kFog);
    addChannel(volume.object, makeChannel<Shape, double>(tree, -9.0, field));
    return volume.object;
}

// Values of some hundred, in the arithmetic of each type.
void expectField(const Vantor::Object& object, const Field& field, const Array<float3>& positions) {
    const auto expectNear = [&](const auto& values, double bound) {
        ASSERT_EQ(values.size(), positions.size());
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const float3& p = positions[i];
            ASSERT_NEAR(double{values[i]}, field({p.x, p.y, p.z}), bound) << i;
        }
    };
    for (const auto sampler : kSamplers) {
        expectNear(*sampled<float>(object, positions, "value", sampler), 2e-4);
        expectNear(*sampled<double>(object, positions, "value", sampler), 1e-11);
    }
    expectNear(propertiesAt<float>(object, positions), 2e-4);
    for (const double3& gradient : gradientsAt<double>(object, positions))
        ASSERT_LT(distance(gradient * field.unit, double3{0.5, -0.25, 0.125}), 1e-10);
}

// Around the corners of a cube of 2^31 indices, where floats lie 64 and 128 apart, in voxels some
// thousand wide.
TYPED_TEST(LimitsTest, IndicesOfABillionAreSampledWhereTheyLie) {
    constexpr int depth = TypeParam::kFinestDepth - (TypeParam::kChildrenPerAxis == 2 ? 10 : 4),
                  width = TypeParam::voxelWidth(depth), corner = 1 << 30, reach = 8 * width;
    TreeBuilder<TypeParam> tiles;
    Array<float3> positions;
    for (int c = 0; c < 8; ++c) {
        const int x = c & 1 ? corner : -corner, y = c & 2 ? corner : -corner,
                  z = c & 4 ? corner : -corner;
        tiles.addBox(depth, {{x - reach, y - reach, z - reach}, {x + reach, y + reach, z + reach}});
        for (std::uint64_t i = 0; i < 50; ++i) {
            const double3 p = randomPosition(i, 5 * width);
            positions.push_back(toPosition<float3>({p.x + x, p.y + y, p.z + z}));
        }
    }
    const auto tree = tiles.build(1, VoxelOffsetType::kCellCentre);
    const Field field{width, corner};
    expectField(volumeOf(tree, field), field, positions);
}

// Everything that an index reaches, in tiles of depth 0.
TYPED_TEST(LimitsTest, TilesOfDepthZeroAreTilesLikeOthers) {
    constexpr bool two = TypeParam::kChildrenPerAxis == 2;
    constexpr int extent = TypeParam::tileExtent(0), highest = std::numeric_limits<int>::max(),
                  lowest = two ? std::numeric_limits<int>::min() : -extent;
    TreeBuilder<TypeParam> tiles;
    tiles.addBox(0, {{lowest, lowest, lowest}, {highest, highest, highest}});
    const auto tree = tiles.build(1, VoxelOffsetType::kCorner);
    EXPECT_EQ(tree->tiles(0).size(), two ? 64U : 27U);
    const Field field{double{extent}};
    const auto object = volumeOf(tree, field);
    expectField(object, field, somePositions(500, 0.7 * extent));
    for (const GeoLocation& l : scatter(object, ofFog(byCount(2000))))
        for (std::size_t axis = 0; axis < 3; ++axis)
            ASSERT_GE(l.weights[axis], static_cast<float>(lowest));
}

template <class Shape>
Vantor::Object noisyVolume(const TreePtr<Shape>& tree) {
    TestVolume<Shape> volume(tree);
    const auto channel = makeChannel<Shape, float>(tree, kChannelDefault, noise(5));
    addChannel(volume.object, channel);
    addChannel(volume.object, channel, kFog);
    return volume.object;
}

// Powers of two, by which everything can be multiplied without a rounding.
TYPED_TEST(LimitsTest, TheVoxelSizeOnlyScales) {
    const auto scale = [](Array<float3> values, float factor) {
        for (float3& v : values)
            v = v * factor;
        return values;
    };
    const Array<float3> positions = somePositions(600, 60);
    for (const auto type : {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner}) {
        const auto one = noisyVolume(build<TypeParam>({.seed = 9, .type = type}));
        for (const float size : {0x1p-100F, 0x1p30F, 0x1p100F, -1.0F}) {
            SCOPED_TRACE(size);
            const auto scaled =
                noisyVolume(build<TypeParam>({.seed = 9, .type = type, .voxelSize = size}));
            const auto places = scale(positions, size);
            for (const auto sampler : kSamplers)
                EXPECT_EQ(*sampled<float>(scaled, places, "value", sampler),
                          *sampled<float>(one, positions, "value", sampler));
            EXPECT_EQ(propertiesAt<float>(scaled, places), propertiesAt<float>(one, positions));
            EXPECT_EQ(gradientsAt<float>(scaled, places),
                      scale(gradientsAt<float>(one, positions), 1 / size));
            auto expected = scatter(one, ofFog(byCount(300)));
            for (GeoLocation& l : expected)
                for (std::size_t axis = 0; axis < 3; ++axis)
                    l.weights[axis] *= size;
            EXPECT_EQ(scatter(scaled, ofFog(byCount(300))), expected);
            // A box whose volume a float does not hold is none, or one of more than there can be.
            if (size == 0x1p-100F || size < 0) {
                EXPECT_TRUE(scatter(scaled, ofFog(byDensity(1))).empty());
            } else {
                EXPECT_THROW(scatter(scaled, ofFog(byDensity(1))), std::bad_alloc);
            }
        }
    }
}

TYPED_TEST(LimitsTest, VoxelSizesThatAreNoneMeanOnePlaceOrNone) {
    const Array<float3> positions = somePositions(300, 60);
    const auto one = noisyVolume(build<TypeParam>({.seed = 9}));
    const float inf = std::numeric_limits<float>::infinity();
    for (const auto& [size, place] :
         {std::pair(0.0F, 0.0F), {-0.0F, 0.0F}, {inf, 0.0F}, {-inf, -0.0F}, {kNan, kNan}}) {
        SCOPED_TRACE(size);
        const auto odd = noisyVolume(build<TypeParam>({.seed = 9, .voxelSize = size}));
        for (const auto sampler : kSamplers)
            EXPECT_EQ(*sampled<float>(odd, positions, "value", sampler),
                      Array<float>(300, (*sampled<float>(one, {{place, place, place}}, "value",
                                                         sampler))[0]));
        EXPECT_EQ(propertiesAt<float>(odd, positions), *sampled<float>(odd, positions));
        EXPECT_EQ(gradientsAt<float>(odd, positions).size(), 300U);
        EXPECT_EQ(scatter(odd, ofFog(byCount(20))).size(), 20U);
        EXPECT_TRUE(std::isinf(size) || scatter(odd, ofFog(byDensity(1))).empty());
    }
}

TYPED_TEST(LimitsTest, EmptyTreesHoldDefaults) {
    const Array<float3> positions = somePositions(100, 60);
    for (const auto type : {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner}) {
        const auto object = noisyVolume(TreeBuilder<TypeParam>().build(1, type));
        for (const auto sampler : kSamplers)
            EXPECT_EQ(*sampled<float>(object, positions, "value", sampler),
                      Array<float>(100, kChannelDefault));
        EXPECT_EQ(gradientsAt<float>(object, positions), Array<float3>(100));
        const float none = type == VoxelOffsetType::kCorner ? kOperatorDefault : kChannelDefault;
        EXPECT_EQ(propertiesAt<float>(object, positions), Array<float>(100, none));
        EXPECT_TRUE(scatter(object, ofFog(byCount(50))).empty());
        EXPECT_TRUE(scatter(object, ofFog(byDensity(50))).empty());
    }
}

TEST(LimitsOfArrays, NothingAndOne) {
    for (const OperatorCall& call : everyOperator(0))
        EXPECT_EQ(call.run(plainly).state, Outcome::State::kEmpty) << call.name;
    const auto some = everyOperator(60), one = everyOperator(1);
    for (std::size_t i = 0; i < some.size(); ++i)
        if (const auto alone = one[i].run(plainly);
            some[i].frame == OperatorCall::Frame::kSampling) {
            ASSERT_EQ(alone.elements.size(), 1U);
            EXPECT_EQ(alone.elements[0], some[i].run(plainly).elements[0]) << some[i].name;
        }
}

// Too much for every day: ./run check limits.

TEST(DISABLED_Heavy, AMillionTilesThatAreNotRefined) {
    using Two = Traits<2, 4, 1>;
    TreeBuilder<Two> tiles; // of 128^3 places at depth 5
    constexpr int extent = Two::tileExtent(5), edge = 50 * extent;
    tiles.addBox(5, {{-edge, -edge, -edge}, {edge - 1, edge - 1, edge - 1}});
    const auto tree = tiles.build(1, VoxelOffsetType::kCorner);
    ASSERT_EQ(tree->tiles(5).size(), 1'000'000U);
    const Field field{double{extent}};
    const auto object = volumeOf(tree, field);
    expectField(object, field, somePositions(1'000'000, 0.97 * edge));
    EXPECT_EQ(scatter(object, ofFog(byCount(1e6))).size(), 1'000'000U);
}

TEST(DISABLED_Heavy, AHundredMillionPositionsInOneCall) {
    using Two = Traits<2, 4, 1>;
    TreeBuilder<Two> tiles;
    tiles.addBox(Two::kFinestDepth, {{-64, -64, -64}, {63, 63, 63}});
    const auto object = volumeOf(tiles.build(1, VoxelOffsetType::kCorner), Field());
    expectField(object, Field(), somePositions(100'000'000, 60));
}

} // namespace
