// The operators on random objects, and what holds whatever they are given.
#include "locations.h"
#include "ops/generate_sample_locations.h"
#include "ops/sample_volume.h"
#include "ops/sample_volume_property.h"
#include "randomGeometry.h"
#include "randomVolume.h"
#include "volume/VoxelSamplerCubic.h"
#include "volume/VoxelSamplerLinear.h"

#include <cstring>
#include <functional>
#include <iostream>
#include <vector>

namespace Stratum::fuzz {

namespace {

using namespace KDX::TileTree3D;
using Geometry::Query::SamplerType;
using Ostrum::Array;
using Vantor::Geometry::Common::GeoLocation;
using Locations = Array<GeoLocation>;

// Which of several NaN comes out of a sum is the processor's choice.
template <class T>
bool isSame(const T& a, const T& b) {
    const auto x = toComponents(a), y = toComponents(b);
    for (std::size_t c = 0; c < x.size(); ++c)
        if (std::memcmp(&x[c], &y[c], sizeof(x[c])) != 0 && !(std::isnan(x[c]) && std::isnan(y[c])))
            return false;
    return true;
}

template <class T>
void requireSame(const Array<T>& a, const Array<T>& b, const char* what) {
    require(a.size() == b.size(), std::string("other sizes ") + what);
    for (std::size_t i = 0; i < a.size(); ++i)
        require(isSame(a[i], b[i]), std::string("other values ") + what);
}

// Linear interpolation stays between the numbers that it is of, up to rounding.
template <class T>
void requireWithin(const Array<T>& values, const Palette& palette, float defaultValue) {
    const double lowest = std::min(palette.lowest(), defaultValue),
                 highest = std::max(palette.highest(), defaultValue),
                 slack = 1e-4 * std::max(std::abs(lowest), std::abs(highest));
    for (const T& value : values)
        for (const auto component : toComponents(value))
            require(component >= lowest - slack && component <= highest + slack,
                    "a value outside the range of the channel");
}

// Samples of many positions at a time are those of one at a time.
template <class Sampler, class T>
Array<T> sampledEachWay(Sampler sampler, const Array<float3>& positions, int depth, int space) {
    using Position = typename Sampler::PositionType;
    std::vector<Position> places;
    for (const float3& p : positions)
        places.push_back({p.x, p.y, p.z});
    Array<T> together(places.size()), single(places.size());
    auto other = sampler;
    sampler.sample(places.data(), places.size(), depth, space, together.data());
    for (std::size_t i = 0; i < places.size(); ++i)
        single[i] = other.sample(places[i], depth, space);
    requireSame(together, single, "many at a time");
    return single;
}

template <class T>
class Case {
public:
    explicit Case(Dice& dice)
        : dice_(dice), palette_(dice), isFinite_(palette_.isFinite()),
          name_(names()[dice.below(3)]) {
        const std::size_t shapes = dice.below(8);
        if (shapes < 4)
            addVolume<Traits<2, 4, 1>>();
        if (shapes >= 3 && shapes < 6)
            addVolume<Traits<5, 5, 1>>();
        if (shapes >= 6 || dice.once(4))
            addGeometry(object_, dice);
        if (positions_.empty())
            addPositions({}, 1);
    }

    void run() {
        Locations locations;
        for (std::size_t times = 1 + dice_.below(2); times > 0; --times)
            scatter(locations);
        sample();
        if constexpr (std::is_floating_point_v<T>)
            sampleGradient();
        for (const float3& p : positions_) {
            GeoLocation location;
            location.kind = dice_.word();
            location.element = dice_.word();
            location.weights = {p.x, p.y, p.z, 0};
            locations.push_back(location);
        }
        sampleProperty(locations);
    }

private:
    static std::array<Ostrum::String, 3> names() {
        using namespace Vantor::Geometry;
        return {"value", sVoxelFogDensity, sVoxelSignedDistance};
    }

    void addPositions(const int3& anchor, float voxelSize) {
        const auto near = [&](int from, std::uint64_t hash) {
            const double index = from + static_cast<double>(hash % 4096) / 64 - 24;
            return static_cast<float>(index) * voxelSize;
        };
        for (std::size_t count = dice_.below(12); count > 0; --count)
            positions_.push_back({dice_.number() * voxelSize, dice_.number(), dice_.number()});
        const std::uint64_t seed = dice_.word();
        for (int count = static_cast<int>(dice_.below(100)); count > 0; --count) {
            const std::uint64_t hash = hashOf(anchor, count, seed);
            positions_.push_back(
                {near(anchor.x, hash), near(anchor.y, hash >> 12), near(anchor.z, hash >> 24)});
        }
    }

    template <class Shape>
    void addVolume() {
        const RandomTree<Shape> random(dice_);
        const auto channel = randomChannel<T>(dice_, random, name_, palette_);
        Vantor::Geometry::addTree<Shape>(object_, random.tree);
        Vantor::Geometry::addChannel(object_, channel);
        Vantor::Geometry::addChannel(object_,
                                     randomChannel<float>(dice_, random, "mask", Palette(dice_)));
        addPositions(random.anchor, random.tree->voxelSize());
        const Container<Shape> container(random.tree);
        const VoxelTopology<Shape> topology(random.tree);
        using Linear = LinearSampler<Shape, T>;
        using Cubic = CubicSampler<Shape, T>;
        // At other depths, in other spaces, on the paths that no operator takes.
        const int depth = static_cast<int>(dice_.below(32)) - 1, space = dice_.once(2) ? 0 : 2;
        sampledEachWay<Linear, T>(Linear(container, topology, *channel), positions_, depth, space);
        sampledEachWay<Cubic, T>(
            Cubic(container, topology, *channel, InterpolationMode(dice_.below(5)), dice_.once(2),
                  static_cast<std::uint32_t>(dice_.below(3)), nullptr, 0, dice_.below(4)),
            positions_, depth, space);
        expected_ = [=, this] {
            return sampledEachWay<Linear, T>(Linear(container, topology, *channel), positions_,
                                             Shape::kFinestDepth, kWorld);
        };
    }

    void scatter(Locations& locations) {
        auto options = randomOptions(dice_);
        if (expected_) // nothing but a count is limited in a volume
            options.amount_type = VantorExp::Geometry::AmountType::Count;
        const Ostrum::RuntimeServices services(2, [](int, const Ostrum::String&) {});
        Vantor::Sample::generateSampleLocations(object_, options, locations, &services);
        for (const auto& location : locations)
            requireOn(object_, location);
        require(locations.size() <= 41, "more locations than asked for");
        Ostrum::Ptr<Locations> again;
        Geometry::Query::generate_sample_locations(
            Ostrum::makePtr<Vantor::Object>(object_), options.sample_type, options.amount,
            options.amount_type, options.mask_control, options.seed, options.seed_array,
            options.use_max_number, options.max_number, options.use_mask, options.mask_property,
            options.invert_mask, again, services);
        require(again && (again->size() == locations.size() || again->empty()), "another number");
        for (std::size_t i = 0; i < again->size(); ++i)
            require(std::memcmp(&(*again)[i], &locations[i], sizeof(GeoLocation)) == 0,
                    "another location");
    }

    void sample() {
        for (const int sampler : {0, 1, 2, 3}) {
            const T defaultValue = splat<T>(-7);
            Ostrum::Ptr<Array<T>> out, again;
            for (auto* const to : {&out, &again})
                Geometry::Query::sample_volume(object_, positions_, defaultValue, name_,
                                               SamplerType(sampler), *to);
            requireSame(*out, *again, "a second time");
            if (sampler == 0 && expected_)
                requireSame(*out, expected_(), "one by one");
            if (isFinite_ && sampler == 0)
                requireWithin(*out, palette_, -7);
        }
    }

    void sampleGradient() {
        Ostrum::Ptr<Array<std::conditional_t<std::is_same_v<T, double>, double3, float3>>> out,
            again;
        for (auto* const to : {&out, &again})
            Geometry::Query::sample_volume_gradient(object_, positions_, T{0}, name_,
                                                    SamplerType(dice_.below(2)), *to);
        require(out->size() == positions_.size() && again->size() == out->size(),
                "a gradient each");
    }

    void sampleProperty(const Locations& locations) {
        const T defaultValue = splat<T>(-7);
        Ostrum::Ptr<Array<T>> values, again;
        Ostrum::Ptr<Array<bool>> valid;
        for (auto* const to : {&values, &again})
            Geometry::Internal::sample_volume_property(object_, locations, name_, defaultValue,
                                                       VantorExp::SampleMethod(dice_.below(3)), *to,
                                                       valid);
        requireSame(*values, *again, "a second time");
        require(values->size() == (expected_ ? locations.size() : 0), "another number of values");
        require(valid->size() == values->size(), "another number of flags");
        if (isFinite_)
            requireWithin(*values, palette_, -7);
    }

    Dice& dice_;
    Palette palette_;
    bool isFinite_;
    Ostrum::String name_;
    Vantor::Object object_;
    Array<float3> positions_;
    std::function<Array<T>()> expected_;
};

} // namespace

bool runInput(std::string_view bytes) {
    static const bool isQuiet = [] {
        std::cout.setstate(std::ios::failbit); // operators say what they cannot do
        std::cerr.setstate(std::ios::failbit);
        return true;
    }();
    constexpr void (*kRuns[])(Dice&) = {
#define STRATUM_VALUE_TYPE(T) [](Dice& dice) { Case<T>(dice).run(); },
#include "common/rows.def"
    };
    Dice dice(bytes);
    kRuns[dice.below(std::size(kRuns))](dice);
    return isQuiet;
}

} // namespace Stratum::fuzz
