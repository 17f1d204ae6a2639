// Sampling at geo locations: values and flags, the decision for a halo channel, and every way in
// which a call ends.
#include "Kelvane/Logger.h"
#include "ops/sample_volume_property.h"
#include "support/operators.h"

using namespace StratumTest;
using Geometry::Internal::sample_volume_property;
using Vantor::Geometry::Common::GeoLocation;

namespace {

using Two = Traits<2, 4, 1>;
using Five = Traits<5, 5, 1>;
using Locations = Array<GeoLocation>;

Locations at(const Array<float3>& positions) {
    Locations locations(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        locations[i].kind = static_cast<std::uint32_t>(i % 7); // which makes no difference
        locations[i].weights = {positions[i].x, positions[i].y, positions[i].z, 9};
    }
    return locations;
}

template <class T>
struct Sampled {
    Ptr<Array<T>> values;
    Ptr<Array<bool>> valid;
    std::string out, error;
};

template <class T = float>
Sampled<T> propertyAt(const Vantor::Object& object, const Locations& locations,
                      const String& property = "value") {
    Sampled<T> result;
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    sample_volume_property(object, locations, property, valueFrom<T>(kOperatorDefault),
                           VantorExp::SampleMethod{5}, result.values, result.valid);
    result.out = ::testing::internal::GetCapturedStdout();
    result.error = ::testing::internal::GetCapturedStderr();
    return result;
}

class PropertyTest : public ::testing::Test {
protected:
    ~PropertyTest() override {
        Kelvane::Logger::setVerboseLevel(0);
        Kelvane::Logger::setEnableTestMode(false);
        Kelvane::Logger::clearProperties();
    }
};

// One tile of 64 voxels, whose channel is -2 outside.
Vantor::Object oneTile(VoxelOffsetType type) {
    TreeBuilder<Two> builder;
    builder.addTile(28, {0, 0, 0});
    return volumeOn<float>(builder.build(1, type), [](const double3&, int) { return 4; });
}

bool hasTimer(const char* name) {
    for (const auto& entry : Kelvane::Logger::takeTimerReport())
        if (entry.name == name)
            return true;
    return false;
}

template <class T>
void expectSampledLikePositions() {
    for (const auto type : {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner}) {
        // The operator's default stands for the channel's, and so both ways to sample agree.
        const auto object =
            volumeOn<T>(build<Two>({.seed = 6, .type = type}), noise(6), kOperatorDefault);
        const auto positions = somePositions(40'000, 60);
        const auto expected = sampled<T>(object, positions);
        const auto ours = propertyAt<T>(object, at(positions));
        EXPECT_TRUE(*ours.values == *expected);
        EXPECT_EQ(*ours.valid, Array<bool>(positions.size(), true));
    }
}

TEST_F(PropertyTest, SamplesEveryTypeAsPositionsAreSampled) {
#define STRATUM_VALUE_TYPE(T) expectSampledLikePositions<T>();
#include "common/rows.def"
}

TEST_F(PropertyTest, BuildsAHaloAboveTheThresholdOnCornersOnly) {
    using namespace Kelvane::Logger;
    struct Case {
        std::size_t locations;
        const char *registered, *first, *threshold, *ratio;
        bool enabled;
    };
    const char *found = "Found registered threshold = 0.25\n",
               *lost = "Unable to find registered threshold, using default\n";
    setVerboseLevel(2);
    for (const Case& c :
         {Case{12, nullptr, "", "0.2", "0.1875", false},
          Case{13, nullptr, "", "0.2", "0.203125", true},
          Case{16, "0.25 of it", found, "0.25", "0.25", false},
          Case{17, "0.25", found, "0.25", "0.265625", true},
          Case{13, "no number", lost, "0.2", "0.203125", true},
          Case{12, "", lost, "0.2", "0.1875", false}, Case{0, nullptr, "", "0.2", "0", false}})
        for (const auto type : {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner}) {
            setEnableTestMode(c.registered != nullptr);
            clearProperties();
            if (c.registered && *c.registered)
                for (const char* text : {c.registered, "7"}) // the first counts
                    registerProperty("sample_volume_property_halo_sampling_threshold", text);
            takeTimerReport();
            const auto object = oneTile(type);
            const auto outside = at(Array<float3>(c.locations, float3{-9, 0, 0}));
            const auto result = propertyAt(object, outside);
            EXPECT_EQ(result.out, std::string(c.first) +
                                      "#Samples = " + std::to_string(c.locations) +
                                      "\n#Voxels = 64\nkHaloSamplingThreshold = " + c.threshold +
                                      "\nhaloSamplingThreshold = " + c.ratio +
                                      "\nenableHaloChannel = " + (c.enabled ? "1\n" : "0\n"));
            const bool halo = c.enabled && type == VoxelOffsetType::kCorner;
            EXPECT_EQ(hasTimer("Geometry::sample_volume_property.build_halo"), halo);
            EXPECT_EQ(result.error, "");
            EXPECT_EQ(*result.values,
                      Array<float>(c.locations, halo ? kOperatorDefault : kChannelDefault));
        }
    setVerboseLevel(1);
    EXPECT_EQ(propertyAt(oneTile(VoxelOffsetType::kCorner), Locations(20)).out, "");
    // Outside test mode nothing is overridden.
    registerProperty("sample_volume_property_halo_sampling_threshold", "100");
    setEnableTestMode(false);
    takeTimerReport();
    propertyAt(oneTile(VoxelOffsetType::kCorner), Locations(20));
    std::vector<std::string> names;
    for (const auto& entry : takeTimerReport())
        names.push_back(entry.name.str());
    EXPECT_EQ(names, (std::vector<std::string>{"Geometry::sample_volume_property",
                                               "Geometry::sample_volume_property.build_halo",
                                               "Geometry::sample_volume_property.sample"}));
}

TEST_F(PropertyTest, AnEmptyTreeCountsAsOneVoxel) {
    TreeBuilder<Two> builder;
    builder.addTile(28, {0, 0, 0}, false);
    Vantor::Object object = volumeOn<float>(builder.build(1, VoxelOffsetType::kCorner), noise(1));
    Kelvane::Logger::setVerboseLevel(2);
    const auto result = propertyAt(object, Locations(3));
    EXPECT_NE(result.out.find("#Voxels = 0\n"), std::string::npos);
    EXPECT_NE(result.out.find("\nhaloSamplingThreshold = 3\n"), std::string::npos);
    EXPECT_EQ(*result.values, Array<float>(3, kOperatorDefault));

    // A channel that was never laid out holds no data either.
    Vantor::Geometry::addChannel(
        object, makePtr<Plain<Two, float>>("value", kChannelDefault, false, true, 0, 28));
    EXPECT_EQ(*propertyAt(object, Locations(3)).values, Array<float>(3, kOperatorDefault));
}

TEST_F(PropertyTest, TheVoxelPositionIsTheLocations) {
    const auto positions = somePositions(5000, 50);
    const Vantor::Object nothing;
    const auto ours = propertyAt<float3>(nothing, at(positions), Vantor::Geometry::sVoxelPosition);
    EXPECT_EQ(*ours.values, positions);
    EXPECT_EQ(*ours.valid, Array<bool>(5000, true));
    const auto others = [&]<class T>(T) {
        const auto none = propertyAt<T>(nothing, at(positions), Vantor::Geometry::sVoxelPosition);
        EXPECT_EQ(*none.values, Array<T>(5000)) << typeid(T).name();
        EXPECT_EQ(*none.valid, Array<bool>(5000, false));
        EXPECT_EQ(none.error, "");
    };
    others(float{});
    others(double3{});
    others(float4x4{});
}

TEST_F(PropertyTest, TheSecondShapesValuesRemain) {
    auto object = oneTile(VoxelOffsetType::kCorner);
    // Its lack of the channel does not matter.
    addVolume<Five, double>(object, {.seed = 2});
    EXPECT_EQ(propertyAt(object, at({float3{1, 1, 1}})).values->data()[0], 4);
    Vantor::Object both;
    addVolume<Two, float>(both, {.seed = 3});
    Vantor::Object five;
    addVolume<Five, float>(five, {.seed = 4});
    const auto inside = at(somePositions(500, 20));
    const auto alone = propertyAt(five, inside);
    addVolume<Five, float>(both, {.seed = 4});
    EXPECT_EQ(*propertyAt(both, inside).values, *alone.values);
}

TEST_F(PropertyTest, ADefaultThatLiesInTheFormerOutputOutlivesIt) {
    const auto object = oneTile(VoxelOffsetType::kCorner);
    Ptr<Array<float>> values = makePtr<Array<float>>(std::size_t{1}, 7.0F);
    Ptr<Array<bool>> valid;
    sample_volume_property(object, at(Array<float3>(50, float3{-9, 0, 0})), "value", (*values)[0],
                           {}, values, valid);
    EXPECT_EQ(*values, Array<float>(50, 7.0F));
}

} // namespace
