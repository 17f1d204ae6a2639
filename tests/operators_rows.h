// What the operators sample, for the rows of one value type.
#include "support/operators.h"
#include "volume/VoxelSamplerCubic.h"
#include "volume/VoxelSamplerLinear.h"

namespace {

template <class Row>
class OperatorTest : public ::testing::Test {};
TYPED_TEST_SUITE(OperatorTest, Rows, RowName);

TYPED_TEST(OperatorTest, SamplesTheChannelOfItsNameAndType) {
    using Traits = typename TypeParam::Traits;
    using T = typename TypeParam::Value;
    using Position = typename TypeParam::Position;
    Vantor::Object object;
    const auto channel = addVolume<Traits, T>(object, {.seed = 5, .voxelSize = 0.5F});
    const Container<Traits> container(channel->tree());
    const VoxelTopology<Traits> topology(channel->tree());
    LinearSampler<Traits, T> sampler(container, topology, *channel);
    Array<float3> positions = somePositions(500, 0.7 * kCoveredReach<Traits>);
    positions[7] = {1e7F, 0, 0};
    positions[8] = {NAN, 0, 0};
    const auto values = sampled<T>(object, positions);
    EXPECT_EQ(values.useCount(), 1);
    ASSERT_EQ(values->size(), positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const auto& p = positions[i];
        ASSERT_EQ((*values)[i], sampler.sample(Position{p.x, p.y, p.z})) << i;
    }
    EXPECT_EQ((*values)[7], valueFrom<T>(kChannelDefault));
    EXPECT_EQ((*values)[8], valueFrom<T>(kChannelDefault));

    // The cubic samplers, as the operator sets them.
    for (const auto& [type, mode] :
         {std::pair(SamplerType::kCubicC0, InterpolationMode::kCubicC0),
          std::pair(SamplerType::kCubicC1, InterpolationMode::kCubicC1)}) {
        const auto cubics = sampled<T>(object, positions, "value", type);
        CubicSampler<Traits, T> cubic(container, topology, *channel, mode, true, 1, nullptr, 0, 0);
        int different = 0;
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const auto& p = positions[i];
            ASSERT_EQ((*cubics)[i], cubic.sample(Position{p.x, p.y, p.z}, kWorld)) << i;
            different += (*cubics)[i] != (*values)[i];
        }
        EXPECT_GT(different, 5);
    }

    // No such channel, one of another type, samplers that do not sample: the operator's default.
    const auto defaults = makePtr<Array<T>>(positions.size(), valueFrom<T>(kOperatorDefault));
    using Other = std::conditional_t<std::is_same_v<T, float>, double, float>;
    for (const auto type : {SamplerType::kLinear, SamplerType::kCubicC0, SamplerType::kCubicC1}) {
        EXPECT_EQ(*sampled<T>(object, positions, "other", type), *defaults);
        EXPECT_EQ(*sampled<T>(object, positions, "", type), *defaults);
        EXPECT_EQ(*sampled<T>(Vantor::Object(), positions, "value", type), *defaults);
        EXPECT_EQ(*sampled<Other>(object, positions, "value", type),
                  *makePtr<Array<Other>>(positions.size(), kOperatorDefault));
    }
    for (const int other : {3, -1, std::numeric_limits<int>::max()})
        EXPECT_EQ(*sampled<T>(object, positions, "value", SamplerType{other}), *defaults);
}

} // namespace
