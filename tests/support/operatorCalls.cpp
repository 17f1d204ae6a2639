#include "support/operatorCalls.h"

#include "ops/generate_sample_locations.h"
#include "ops/sample_volume_property.h"
#include "support/digest.h"
#include "support/operators.h"
#include "support/volumeLocations.h"

#include <memory>
#include <tuple>

namespace StratumTest {

namespace {

using namespace Vantor::Geometry;
using Frame = OperatorCall::Frame;
using Object = std::shared_ptr<const Vantor::Object>;

template <class... T>
std::uint64_t hashOf(const T&... parts) {
    Digest digest;
    (digest.add(parts), ...);
    return digest.value();
}

template <class... T>
Outcome outcomeOf(const std::tuple<Ptr<Array<T>>...>& former,
                  const std::tuple<Ptr<Array<T>>...>& outputs) {
    const auto all = [&](const auto& holds) {
        return (holds(std::get<Ptr<Array<T>>>(former), std::get<Ptr<Array<T>>>(outputs)) && ...);
    };
    const auto& first = std::get<0>(outputs);
    const std::size_t size = first ? first->size() : 0;
    Outcome outcome;
    if (all([](const auto& before, const auto& out) {
            return out == before && out.useCount() == 2 && out->size() == 2;
        }))
        outcome.state = Outcome::State::kFormer;
    else if (all([size](const auto& before, const auto& out) {
                 return out && out.useCount() == 1 && before.useCount() == 1 && out->size() == size;
             }))
        outcome.state = size == 0 ? Outcome::State::kEmpty : Outcome::State::kNew;
    if (outcome.state == Outcome::State::kNew)
        for (std::size_t i = 0; i < size; ++i)
            outcome.elements.push_back(hashOf((*std::get<Ptr<Array<T>>>(outputs))[i]...));
    return outcome;
}

// Runs `op(out...)` on outputs that hold something.
template <class... T, class Op>
Outcome runOn(const Around& around, const Op& op) {
    const std::tuple<Ptr<Array<T>>...> former{makePtr<Array<T>>(std::size_t{2})...};
    auto outputs = former;
    around([&] { std::apply(op, outputs); });
    return outcomeOf(former, outputs);
}

class Calls {
public:
    explicit Calls(std::size_t count) : n(static_cast<double>(count)) {
        auto places = std::make_shared<Array<float3>>(somePositions(count, 60));
        auto at = std::make_shared<Locations>(count);
        const float odd[] = {kNan, std::numeric_limits<float>::infinity(), -1e30F, 0x1p31F, -0.0F};
        for (std::size_t i = 0; i < count; ++i) {
            float3& p = (*places)[i];
            if (i % 50 == 49)
                p.y = odd[i / 50 % 5];
            (*at)[i].weights = {p.x, p.y, p.z, 1};
        }
        positions = places;
        locations = at;
        addShape<Traits<2, 4, 1>>("2");
        addShape<Traits<5, 5, 1>>("5");
        addProperty<float3>(std::make_shared<Vantor::Object>(), sVoxelPosition, "positions");
        addGeometries();
    }

    std::vector<OperatorCall> list;

private:
    template <class Shape>
    void addShape(const std::string& shape) {
        // So few voxels that a halo channel always pays.
        TreeBuilder<Shape> small;
        constexpr int w = Shape::kVoxelsPerAxis, coarser = Shape::kFinestDepth - 1;
        small.addBox(Shape::kFinestDepth, {{-w, -w, -w}, {w - 1, w - 1, w - 1}});
        small.addTile(coarser, {Shape::tileExtent(coarser), 0, 0});
        addVolume(build<Shape>({.seed = 7, .type = VoxelOffsetType::kCorner, .voxelSize = 0.75F}),
                  shape + " corner ");
        addVolume(build<Shape>({.seed = 8}), shape + " centre ");
        addVolume(small.build(8, VoxelOffsetType::kCorner), shape + " small ");
    }

    template <class Shape>
    void addVolume(const TreePtr<Shape>& tree, const std::string& where) {
        TestVolume<Shape> volume(tree);
        const auto addFloats = [&](const String& name, std::uint64_t seed, double divisor) {
            volume.template add<float>(name, 0.5F, [&](const double3& p, int depth) {
                return static_cast<float>(noise(seed)(p, depth) / divisor);
            });
        };
        addFloats(kFog, 2, 1);
        addFloats(kDistance, 3, 1);
        addFloats("mask", 4, 50);
#define STRATUM_VALUE_TYPE(T)                                                                      \
    addChannel(volume.object, makeChannel<Shape, T>(tree, valueFrom<T>(kChannelDefault), noise(6)));
#include "common/rows.def"
        const auto object = std::make_shared<const Vantor::Object>(volume.object);
#define STRATUM_VALUE_TYPE(T) addSampling<T>(object, where + #T);
#include "common/rows.def"
        addGradient<float, float3>(object, where + "float");
        addGradient<double, double3>(object, where + "double");
        addLocations("volume", object, where + "fog", ofFog(byCount(n)));
        addLocations("volume", object, where + "masked",
                     masked(byCount(n), MaskControl::Resample, true));
    }

    template <class T>
    void addSampling(const Object& object, const std::string& where) {
        const char* const names[] = {"kLinear", "kCubicC0", "kCubicC1"};
        for (const auto sampler :
             {SamplerType::kLinear, SamplerType::kCubicC0, SamplerType::kCubicC1})
            add(Frame::kSampling,
                std::string("sample_volume ") + names[static_cast<std::size_t>(sampler)], where,
                hashOf(valueFrom<T>(kOperatorDefault)),
                [object, sampler, at = positions](const Around& around) {
                    return runOn<T>(around, [&](auto& out) {
                        sample_volume(*object, *at, valueFrom<T>(kOperatorDefault), "value",
                                      sampler, out);
                    });
                });
        addProperty<T>(object, "value", where);
    }

    template <class T, class R>
    void addGradient(const Object& object, const std::string& where) {
        add(Frame::kSampling, "sample_volume_gradient", where, hashOf(splat<R>(kOperatorDefault)),
            [object, at = positions](const Around& around) {
                return runOn<R>(around, [&](auto& out) {
                    Geometry::Query::sample_volume_gradient(*object, *at, T{kOperatorDefault},
                                                            "value", SamplerType::kLinear, out);
                });
            });
    }

    template <class T>
    void addProperty(const Object& object, const String& property, const std::string& where) {
        add(Frame::kProperty, "sample_volume_property", where,
            hashOf(T{}, property == sVoxelPosition),
            [object, property, at = locations](const Around& around) {
                return runOn<T, bool>(around, [&](auto& values, auto& valid) {
                    Geometry::Internal::sample_volume_property(
                        *object, *at, property, valueFrom<T>(kOperatorDefault), {}, values, valid);
                });
            });
    }

    void addGeometries() {
        const SlowMesh mesh = randomMesh(3, 200);
        const SlowStrands strands = randomStrands(3, 2000);
        std::vector<float> values;
        std::vector<double2> pairs;
        for (std::size_t i = 0; i < strands.points.size(); ++i) {
            values.push_back(randomUnit<float>(i, 1));
            pairs.push_back({static_cast<double>(values[i]), 9});
        }
        const auto addTo = [&](const char* kind, const Vantor::Object& object,
                               const std::string& where, const GenerateLocationOptions& options) {
            addLocations(kind, std::make_shared<const Vantor::Object>(object), where, options);
        };
        addTo("mesh", mesh.object(), "count", byCount(n));
        addTo("mesh", mesh.object(), "density", byDensity(n / 10));
        addTo("points", mesh.object(), "count", onPoints(byCount(n)));
        addTo("strands", strands.object(), "density", byDensity(n / 1000));
        for (const auto control : {MaskControl::Resample, MaskControl::Discard}) {
            const std::string how = control == MaskControl::Resample ? " again" : " dropped";
            const auto counted = masked(byCount(n), control);
            for (const String& target : {sPointComp, sFaceComp, sFaceVertexComp})
                addTo("mesh", withMask(mesh.object(), target, values), target.str() + how, counted);
            addTo("mesh", withMask(mesh.object(), sFaceComp, pairs), "density" + how,
                  masked(byDensity(n / 10), control));
            addTo("strands", withMask(strands.object(), sPointComp, pairs), "points" + how,
                  counted);
            addTo("strands", withMask(strands.object(), sStrandComp, values), "whole" + how,
                  counted);
            addTo("points", withMask(mesh.object(), sPointComp, pairs), how, onPoints(counted));
        }
    }

    // The operator, and the function below it, which fills an array in place.
    void addLocations(const std::string& kind, const Object& object, const std::string& where,
                      GenerateLocationOptions o) {
        o.seed_array = arrayOf<long long>({3, -1, 40});
        const auto geometry = makePtr<Vantor::Object>(*object);
        add(Frame::kLocations, "generate_sample_locations " + kind, where, hashOf(GeoLocation()),
            [geometry, o](const Around& around) {
                const Ostrum::RuntimeServices services;
                return runOn<GeoLocation>(around, [&](auto& out) {
                    Geometry::Query::generate_sample_locations(
                        geometry, o.sample_type, o.amount, o.amount_type, o.mask_control, o.seed,
                        o.seed_array, o.use_max_number, o.max_number, o.use_mask, o.mask_property,
                        o.invert_mask, out, services);
                });
            });
        add(Frame::kLocations, "generateSampleLocations " + kind, where, hashOf(GeoLocation()),
            [geometry, o](const Around& around) {
                Locations inPlace(2);
                return runOn<GeoLocation>(
                    [&](const std::function<void()>& finish) {
                        around([&] {
                            Vantor::Sample::generateSampleLocations(*geometry, o, inPlace, nullptr);
                        });
                        if (inPlace != Locations(2))
                            finish();
                    },
                    [&](auto& out) { out = makePtr<Locations>(std::move(inPlace)); });
            });
    }

    void add(Frame frame, const std::string& family, const std::string& where,
             std::uint64_t untouched, std::function<Outcome(const Around&)> run) {
        list.push_back({frame, family, family + ", " + where, untouched, std::move(run)});
    }

    const double n;
    std::shared_ptr<const Array<float3>> positions;
    std::shared_ptr<const Locations> locations;
};

} // namespace

std::vector<OperatorCall> everyOperator(std::size_t positions) {
    return std::move(Calls(positions).list);
}

} // namespace StratumTest
