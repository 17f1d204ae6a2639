// Operators on a host's volumes, with answers that can be worked out by hand.
#include "Vantor/Geometry.h"
#include "conformance/MakeVolume.h"
#include "ops/generate_sample_locations.h"
#include "ops/sample_volume.h"
#include "ops/sample_volume_property.h"

using namespace Conformance;

namespace {

namespace Geo = Vantor::Geometry;
using Geo::Common::GeoLocation;
using Geometry::Query::SamplerType;
using Ostrum::Array;
using Ostrum::Ptr;

constexpr float kVoxelSize = 0.25F;
const float3 kGradient{0.5F / kVoxelSize, -0.25F / kVoxelSize, 0.125F / kVoxelSize};

template <class Traits>
class OperatorConformance : public ::testing::Test {
protected:
    // Voxels two or five index units wide, with a linear field and a density in half of the tiles.
    void makeVolume(VoxelOffsetType type) {
        constexpr int depth = Traits::kFinestDepth - 1;
        const auto parts = makeParts<Traits>(tilesOfBlock<Traits>(depth), kVoxelSize, type);
        object = {};
        addPart(object, Geo::sVoxelTileTree, parts.container);
        addPart(object, Geo::sVoxelComp, parts.topology);
        addPart(object, "linear", makeChannel<float>(parts, "linear", -2.0F, everywhere, field));
        addPart(object, Geo::sVoxelFogDensity,
                makeChannel<float>(
                    parts, Geo::sVoxelFogDensity, 0.0F,
                    [](const int3& tijk, int) { return tijk.x >= 0; },
                    [](const double3&, int) { return 1.0F; }));
        // Two voxels from the block's surface: 4 x 3 x 2 tiles.
        constexpr double w = Traits::voxelWidth(depth), W = Traits::kVoxelsPerAxis;
        positions = Array<float3>(300);
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const auto draw = [&](std::size_t axis, double first, double last) {
                const double t = randomUnit<double>(3 * i + axis, 5);
                return std::lerp(first * W + 2.1, last * W - 2.1, t) * w * kVoxelSize;
            };
            positions[i] = toPosition<float3>({draw(0, -2, 2), draw(1, -1, 2), draw(2, -1, 1)});
        }
    }
    static float field(const double3& p, int) { return static_cast<float>(linearField(p)); }
    static double expected(const float3& p) {
        return linearField(double3{p.x, p.y, p.z} * (1.0 / kVoxelSize));
    }

    Vantor::Object object;
    Array<float3> positions;
};
TYPED_TEST_SUITE(OperatorConformance, AllShapes);

constexpr double kRounding = 3e-5; // of floats up to some hundred

TYPED_TEST(OperatorConformance, LinearFieldsAndTheirGradientsAreReproduced) {
    for (const int type : {0, 3, 7}) {
        this->makeVolume(static_cast<VoxelOffsetType>(type));
        for (const auto sampler :
             {SamplerType::kLinear, SamplerType::kCubicC0, SamplerType::kCubicC1}) {
            Ptr<Array<float>> out;
            sample_volume(this->object, this->positions, -1.0F, "linear", sampler, out);
            ASSERT_EQ(out->size(), this->positions.size());
            for (std::size_t i = 0; i < out->size(); ++i)
                ASSERT_NEAR((*out)[i], this->expected(this->positions[i]), kRounding) << type;
        }
        Ptr<Array<float3>> gradients;
        sample_volume_gradient(this->object, this->positions, -1.0F, "linear", SamplerType::kLinear,
                               gradients);
        for (const float3& gradient : *gradients)
            ASSERT_LT(distance(gradient, kGradient), kRounding) << type;
        Ptr<Array<float>> other;
        sample_volume(this->object, Array<float3>(2, {1e4F, 0, 0}), -1.0F, "linear",
                      SamplerType::kLinear, other);
        EXPECT_EQ((*other)[1], -2.0F) << "no tile there";
        sample_volume(this->object, Array<float3>(2, {0, 0, 0}), -1.0F, "absent",
                      SamplerType::kLinear, other);
        EXPECT_EQ((*other)[1], -1.0F) << "no such channel";
    }
}

TYPED_TEST(OperatorConformance, LocationsLieWhereTheDensityIsAndFindTheirValues) {
    for (const int type : {0, 7}) {
        this->makeVolume(static_cast<VoxelOffsetType>(type));
        const auto geometry = Ostrum::makePtr<Vantor::Object>(this->object);
        Ptr<Array<GeoLocation>> locations;
        Geometry::Query::generate_sample_locations(
            geometry, VantorExp::Geometry::SampleType::Points, 500,
            VantorExp::Geometry::AmountType::Count, {}, 1, nullptr, false, 0, false, "", false,
            locations, Ostrum::RuntimeServices());
        ASSERT_EQ(locations->size(), 500U);
        Ptr<Array<float>> values;
        Ptr<Array<bool>> valid;
        Geometry::Internal::sample_volume_property(this->object, *locations, "linear", -2.0F, {},
                                                   values, valid);
        Ptr<Array<float3>> places;
        Geometry::Internal::sample_volume_property(this->object, *locations, Geo::sVoxelPosition,
                                                   float3{}, {}, places, valid);
        Ptr<Array<float>> sampled;
        sample_volume(this->object, *places, -1.0F, "linear", SamplerType::kLinear, sampled);
        int interior = 0;
        for (std::size_t i = 0; i < 500; ++i) {
            ASSERT_EQ((*locations)[i].kind, Geo::Common::kVolume);
            ASSERT_TRUE((*valid)[i]);
            ASSERT_GE((*places)[i].x, 0);
            ASSERT_NEAR((*values)[i], (*sampled)[i], kRounding);
            interior += std::abs((*values)[i] - this->expected((*places)[i])) < kRounding;
        }
        EXPECT_GT(interior, 50);
    }
}

} // namespace
