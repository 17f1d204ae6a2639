#include "support/operatorCalls.h"

#include "ops/generate_sample_locations.h"
#include "ops/sample_volume_property.h"
#include "support/digest.h"
#include "support/operators.h"
#include "support/volumeLocations.h"

#include <array>
#include <memory>
#include <tuple>

namespace StratumTest {

namespace {

using Frame = OperatorCall::Frame;

template <class... T>
std::uint64_t hashOf(const T&... parts) {
    Digest digest;
    (digest.add(parts), ...);
    return digest.value();
}

template <class... T>
Outcome outcomeOf(const std::tuple<Ptr<Array<T>>...>& former,
                  const std::tuple<Ptr<Array<T>>...>& outputs) {
    Outcome outcome;
    const auto isFormer = [](const auto& before, const auto& out) {
        using Element = std::remove_cvref_t<decltype((*out)[0])>;
        return out == before && out.useCount() == 2 && *out == Array<Element>(2);
    };
    const auto isNew = [](const auto& before, const auto& out) {
        return out && out != before && out.useCount() == 1 && before.useCount() == 1;
    };
    const auto all = [&](const auto& holds) {
        return [&]<std::size_t... I>(std::index_sequence<I...>) {
            return (holds(std::get<I>(former), std::get<I>(outputs)) && ...);
        }
        (std::index_sequence_for<T...>());
    };
    const std::size_t size = std::get<0>(outputs) ? std::get<0>(outputs)->size() : 0;
    if (all(isFormer))
        outcome.state = Outcome::State::kFormer;
    else if (all(isNew) && all([&](const auto&, const auto& out) { return out->size() == size; }))
        outcome.state = size == 0 ? Outcome::State::kEmpty : Outcome::State::kNew;
    if (outcome.state == Outcome::State::kNew)
        for (std::size_t i = 0; i < size; ++i)
            outcome.elements.push_back(
                std::apply([i](const auto&... out) { return hashOf((*out)[i]...); }, outputs));
    return outcome;
}

// Runs `op(out...)` on outputs that hold something.
template <class... T, class Op>
Outcome runOn(const Around& around, const Op& op) {
    const std::tuple former{makePtr<Array<T>>(std::size_t{2})...};
    auto outputs = former;
    around([&] { std::apply(op, outputs); });
    return outcomeOf(former, outputs);
}

template <class T>
std::string typeName() {
#define STRATUM_VALUE_TYPE(Type)                                                                   \
    if (std::is_same_v<T, Type>)                                                                   \
        return #Type;
#include "common/rows.def"
    return "?";
}

// What all calls read.
struct Inputs {
    Array<float3> positions;
    Locations locations;
};

class Calls {
public:
    explicit Calls(std::size_t positions) {
        auto in = std::make_shared<Inputs>();
        in->positions = somePositions(positions, 60);
        const float odd[] = {kNan, std::numeric_limits<float>::infinity(), -1e30F, 0x1p31F, -0.0F};
        for (std::size_t i = 0; i < positions; i += 50)
            in->positions[i].y = odd[i / 50 % 5];
        for (const float3& p : in->positions) {
            GeoLocation l;
            l.weights = {p.x, p.y, p.z, 1};
            in->locations.push_back(l);
        }
        in_ = in;
        addShape<Traits<2, 4, 1>>();
        addShape<Traits<5, 5, 1>>();
        addProperty<float3>(std::make_shared<Vantor::Object>(), Vantor::Geometry::sVoxelPosition,
                            "positions");
        addGeometries();
    }

    std::vector<OperatorCall> list;

private:
    using Object = std::shared_ptr<const Vantor::Object>;

    template <class Shape>
    void addShape() {
        const std::string shape = std::to_string(Shape::kChildrenPerAxis);
        const auto corner =
            build<Shape>({.seed = 7, .type = VoxelOffsetType::kCorner, .voxelSize = 0.75F});
        const auto centre = build<Shape>({.seed = 8, .type = VoxelOffsetType::kCellCentre});
        // So few voxels that a halo channel always pays.
        TreeBuilder<Shape> small;
        constexpr int w = Shape::kVoxelsPerAxis;
        small.addBox(Shape::kFinestDepth, {{-w, -w, -w}, {w - 1, w - 1, w - 1}});
        small.addTile(Shape::kFinestDepth - 1, {Shape::tileExtent(Shape::kFinestDepth - 1), 0, 0});
        for (const auto& [name, tree] : {std::pair("corner", corner),
                                         {"centre", centre},
                                         {"small", small.build(8, VoxelOffsetType::kCorner)}}) {
            const auto object = std::make_shared<Vantor::Object>(volumeOf<Shape>(tree));
            const std::string where = shape + ' ' + name;
#define STRATUM_VALUE_TYPE(T) addSampling<T>(object, where + ' ' + typeName<T>());
#include "common/rows.def"
            addGradient<float, float3>(object, where + " float");
            addGradient<double, double3>(object, where + " double");
            addScattering(object, where);
        }
    }

    template <class Shape>
    static Vantor::Object volumeOf(const TreePtr<Shape>& tree) {
        TestVolume<Shape> volume(tree);
#define STRATUM_VALUE_TYPE(T)                                                                      \
    Vantor::Geometry::addChannel(                                                                  \
        volume.object, makeChannel<Shape, T>(tree, valueFrom<T>(kChannelDefault), noise(6)));
#include "common/rows.def"
        const auto floats = [](std::uint64_t seed, double by) {
            return
                [=](const double3& p, int d) { return static_cast<float>(noise(seed)(p, d) / by); };
        };
        volume.template add<float>(kFog, 0, floats(2, 1));
        volume.template add<float>(kDistance, 1, floats(3, 1));
        volume.template add<float>("mask", 0.5F, floats(4, 50));
        return volume.object;
    }

    template <class T>
    void addSampling(const Object& object, const std::string& where) {
        for (const auto& [sampler, family] :
             {std::pair(SamplerType::kLinear, "sample_volume kLinear"),
              {SamplerType::kCubicC0, "sample_volume kCubicC0"},
              {SamplerType::kCubicC1, "sample_volume kCubicC1"}})
            add(Frame::kSampling, "sample_volume", family, where,
                hashOf(valueFrom<T>(kOperatorDefault)),
                [object, sampler = sampler, in = in_](const Around& around) {
                    return runOn<T>(around, [&](auto& out) {
                        sample_volume(*object, in->positions, valueFrom<T>(kOperatorDefault),
                                      "value", sampler, out);
                    });
                });
        addProperty<T>(object, "value", where);
    }

    template <class T, class R>
    void addGradient(const Object& object, const std::string& where) {
        add(Frame::kSampling, "sample_volume_gradient", "sample_volume_gradient", where,
            hashOf(splat<R>(kOperatorDefault)), [object, in = in_](const Around& around) {
                return runOn<R>(around, [&](auto& out) {
                    Geometry::Query::sample_volume_gradient(*object, in->positions,
                                                            static_cast<T>(kOperatorDefault),
                                                            "value", SamplerType::kLinear, out);
                });
            });
    }

    template <class T>
    void addProperty(const Object& object, const String& property, const std::string& where) {
        add(Frame::kProperty, "", "sample_volume_property", where, hashOf(T{}, false),
            [object, property, in = in_](const Around& around) {
                return runOn<T, bool>(around, [&](auto& values, auto& valid) {
                    Geometry::Internal::sample_volume_property(*object, in->locations, property,
                                                               valueFrom<T>(kOperatorDefault), {},
                                                               values, valid);
                });
            });
    }

    void addScattering(const Object& volume, const std::string& where) {
        const auto n = static_cast<double>(in_->positions.size());
        addLocations("volume", volume, where + " fog", ofFog(byCount(n)));
        addLocations("volume", volume, where + " distance masked",
                     masked(byCount(n), MaskControl::Resample, true));
    }

    void addGeometries() {
        const auto n = static_cast<double>(in_->positions.size());
        const SlowMesh mesh = randomMesh(3, 200);
        const SlowStrands strands = randomStrands(3, 2000);
        std::vector<float> values;
        std::vector<double2> pairs;
        for (std::size_t i = 0; i < strands.points.size(); ++i) {
            values.push_back(randomUnit<float>(i, 1));
            pairs.push_back({static_cast<double>(values[i]), 9});
        }
        using namespace Vantor::Geometry;
        const auto shared = [](const Vantor::Object& object) {
            return std::make_shared<const Vantor::Object>(object);
        };
        const auto plainMesh = shared(mesh.object()), plainStrands = shared(strands.object());
        addLocations("mesh", plainMesh, "count", byCount(n));
        addLocations("mesh", plainMesh, "density", byDensity(n / 100));
        addLocations("points", plainMesh, "count", onPoints(byCount(n)));
        addLocations("strands", plainStrands, "count", byCount(n));
        addLocations("strands", plainStrands, "density", byDensity(n / 2000));
        for (const auto control : {MaskControl::Resample, MaskControl::Discard}) {
            const std::string how = control == MaskControl::Resample ? " again" : " dropped";
            const auto counted = masked(byCount(n), control);
            for (const String& target : {sPointComp, sFaceComp, sFaceVertexComp})
                addLocations("mesh", shared(withMask(mesh.object(), target, values)),
                             target.str() + how, counted);
            addLocations("mesh", shared(withMask(mesh.object(), sFaceComp, pairs)), "density" + how,
                         masked(byDensity(n / 100), control));
            addLocations("strands", shared(withMask(strands.object(), sPointComp, pairs)),
                         "points" + how, counted);
            addLocations("strands", shared(withMask(strands.object(), sStrandComp, values)),
                         "whole" + how, counted);
            addLocations("points", shared(withMask(mesh.object(), sPointComp, pairs)), how,
                         onPoints(counted));
        }
    }

    // The operator; and, every other time, the function below it, which fills an array in place.
    void addLocations(const std::string& kind, const Object& object, const std::string& where,
                      GenerateLocationOptions options) {
        options.seed_array = arrayOf<long long>({3, -1, 40});
        const std::string family = "generate_sample_locations " + kind;
        const auto geometry = makePtr<Vantor::Object>(*object);
        add(Frame::kLocations, "", family, where, hashOf(GeoLocation()),
            [geometry, o = options](const Around& around) {
                const Ostrum::RuntimeServices services;
                return runOn<GeoLocation>(around, [&](auto& out) {
                    Geometry::Query::generate_sample_locations(
                        geometry, o.sample_type, o.amount, o.amount_type, o.mask_control, o.seed,
                        o.seed_array, o.use_max_number, o.max_number, o.use_mask, o.mask_property,
                        o.invert_mask, out, services);
                });
            });
        add(Frame::kLocations, "", family, where + " in place", hashOf(GeoLocation()),
            [geometry, o = options](const Around& around) {
                auto former = makePtr<Locations>(std::size_t{2});
                Locations locations(2);
                around([&] {
                    Vantor::Sample::generateSampleLocations(*geometry, o, locations, nullptr);
                });
                auto out = locations == *former ? former : makePtr<Locations>(std::move(locations));
                return outcomeOf(std::tuple{std::move(former)}, std::tuple{std::move(out)});
            });
    }

    void add(Frame frame, const char* terminated, const std::string& family,
             const std::string& where, std::uint64_t untouched,
             std::function<Outcome(const Around&)> run) {
        list.push_back(
            {frame, terminated, family, family + ", " + where, untouched, std::move(run)});
    }

    std::shared_ptr<const Inputs> in_;
};

} // namespace

std::vector<OperatorCall> everyOperator(std::size_t positions) {
    return std::move(Calls(positions).list);
}

} // namespace StratumTest
