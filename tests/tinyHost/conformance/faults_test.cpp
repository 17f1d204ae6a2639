// Operators when any one operation of the host fails: what they leave behind.
#include "Vantor/Geometry.h"
#include "conformance/MakeVolume.h"
#include "ops/generate_sample_locations.h"
#include "ops/sample_volume.h"
#include "ops/sample_volume_property.h"

#include <cstring>
#include <stdexcept>

using namespace Conformance;

namespace {

namespace Geo = Vantor::Geometry;
using Geo::Common::GeoLocation;
using Geometry::Query::SamplerType;
using Ostrum::Array;
using Ostrum::Ptr;

template <class Traits>
class Faults : public ::testing::Test {
protected:
    void makeVolume(VoxelOffsetType type) {
        constexpr int e = Traits::tileExtent(Traits::kFinestDepth);
        parts = makeParts<Traits>(
            {{Traits::kFinestDepth, {-e, 0, 0}}, {Traits::kFinestDepth, {0, 0, 0}}}, 0.5F, type);
        const auto field = [](const double3& p, int) { return static_cast<float>(9 + p.x); };
        object = {};
        addPart(object, Geo::sVoxelTileTree, parts.container);
        addPart(object, Geo::sVoxelComp, parts.topology);
        addPart(object, Geo::sVoxelFogDensity,
                makeChannel<float>(parts, Geo::sVoxelFogDensity, 0.0F, everywhere, field));
        addPart(
            object, "vector",
            makeChannel<float3>(parts, "vector", {1, 2, 3}, everywhere,
                                [&](const double3& p, int) { return splat<float3>(field(p, 0)); }));
    }

    // Some inside, some at the border, some outside; few stay on one thread.
    static Array<float3> positions(std::size_t count) {
        Array<float3> some(count);
        for (std::size_t i = 0; i < count; ++i)
            some[i] = toPosition<float3>(randomPosition(i, 2.2));
        return some;
    }

    static int aliveNow(const Parts<Traits>& parts) {
        return Tiny::Counted::alive() +
               1000 * static_cast<int>(parts.container.use_count() + parts.topology.use_count());
    }

    // Makes every step of `call` fail in turn. A failure reaches us, leaves in `out` what
    // `isAsDocumented()` expects and nothing else alive, and the next call succeeds as ever.
    template <class R, class Call, class IsAsDocumented>
    void failEveryStep(Ptr<Array<R>>& out, const Call& call, const IsAsDocumented& isAsDocumented) {
        call();
        const Array<R> usual = *out;
        const auto isUsual = [&] {
            return out->size() == usual.size() &&
                   std::memcmp(out->data(), usual.data(), usual.size() * sizeof(R)) == 0;
        };
        const int alive = aliveNow(parts);
        int n = 1;
        for (bool failed = true; failed; ++n) {
            const Ptr<Array<R>> before = out;
            Tiny::failAtStep(n);
            try {
                call();
                failed = false;
            } catch (const std::runtime_error& error) {
                ASSERT_STREQ(error.what(), "step");
            }
            Tiny::failAtStep(0);
            ASSERT_TRUE(failed ? isAsDocumented(before) : isUsual()) << "step " << n;
            call();
            ASSERT_TRUE(isUsual()) << "after step " << n;
        }
        EXPECT_EQ(aliveNow(parts), alive);
        EXPECT_GT(n, 8);
    }

    template <class R, class Call>
    void failEveryStep(Ptr<Array<R>>& out, const Call& call) {
        failEveryStep(out, call, [&](const auto& before) { return out == before; });
    }

    Vantor::Object object;
    Parts<Traits> parts;
};
TYPED_TEST_SUITE(Faults, AllShapes);

TYPED_TEST(Faults, SamplesStayAsTheyWere) {
    for (const int type : {0, 7})
        for (const std::size_t count : {1, 24}) {
            this->makeVolume(static_cast<VoxelOffsetType>(type));
            const auto positions = this->positions(count);
            for (const auto sampler :
                 {SamplerType::kLinear, SamplerType::kCubicC0, SamplerType::kCubicC1}) {
                Ptr<Array<float3>> out;
                this->failEveryStep(out, [&] {
                    sample_volume(this->object, positions, float3{}, "vector", sampler, out);
                });
            }
            Ptr<Array<float3>> gradients;
            this->failEveryStep(gradients, [&] {
                sample_volume_gradient(this->object, positions, 0.0F, Geo::sVoxelFogDensity,
                                       SamplerType::kLinear, gradients);
            });
        }
}

TYPED_TEST(Faults, PropertiesAreEmpty) {
    for (const int type : {0, 7})
        for (const std::size_t count : {2, 40}) { // without a halo channel, and with
            this->makeVolume(static_cast<VoxelOffsetType>(type));
            Array<GeoLocation> locations(count);
            const auto positions = this->positions(count);
            for (std::size_t i = 0; i < count; ++i)
                locations[i].weights = {positions[i].x, positions[i].y, positions[i].z, 0};
            Ptr<Array<float>> values;
            Ptr<Array<bool>> valid;
            const Array<bool>* formerValid = nullptr;
            this->failEveryStep(
                values,
                [&] {
                    formerValid = valid.get();
                    Geometry::Internal::sample_volume_property(
                        this->object, locations, Geo::sVoxelFogDensity, -1.0F, {}, values, valid);
                },
                [&](const auto& before) {
                    // Before the outputs are assigned they are the former ones.
                    return values == before ? valid.get() == formerValid
                                            : values->empty() && valid->empty();
                });
        }
}

TYPED_TEST(Faults, LocationsStayAsTheyWere) {
    for (const int type : {0, 7}) {
        this->makeVolume(static_cast<VoxelOffsetType>(type));
        const auto geometry = Ostrum::makePtr<Vantor::Object>(this->object);
        Ptr<Array<GeoLocation>> locations;
        this->failEveryStep(locations, [&] {
            Geometry::Query::generate_sample_locations(
                geometry, VantorExp::Geometry::SampleType::Points, 20,
                VantorExp::Geometry::AmountType::Count, {}, 1, nullptr, false, 0, true, "vector",
                false, locations, Ostrum::RuntimeServices());
        });
    }
}

} // namespace
