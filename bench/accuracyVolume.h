// Volumes of an analytic field, and the ways of sampling them that are compared.
#pragma once

#include "KDX/ChannelBuilder.h"
#include "KDX/Container.h"
#include "KDX/TreeBuilder.h"
#include "KDX/halo.h"
#include "common/randomUnit.h"
#include "volume/VoxelSamplerCubic.h"
#include "volume/VoxelSamplerLinear.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Stratum::Accuracy {

using namespace KDX::TileTree3D;
using Vantor::Math::double3;

/// A field with its gradient, of positions in index units.
struct Field {
    std::string name;
    std::function<double(const double3&)> value;
    std::function<double3(const double3&)> gradient;
};

/// Fields about an origin, with lengths in units of `unit`; gradients are per unit.
Field constantField();
Field linearField(const double3& origin, double unit);
Field quadraticField(const double3& origin, double unit);
/// A product of sines whose wave along x is `wave` units long; waves along y and z are longer by
/// kSmoothNumbers, relative wave numbers.
Field smoothField(const double3& origin, double unit, double wave);
inline constexpr double3 kSmoothNumbers{1, 0.8, 0.5};
/// One of its extrema, from its origin; the others are half a wave apart on each axis.
double3 smoothFieldExtremum(double unit, double wave);

/// In [0, 1], by index and stream.
inline double draw(std::size_t i, std::uint64_t stream) {
    return Vantor::Sample::randomUnit<double>(i, 1000 + stream);
}

/// A point of the cube from -1 to 1.
inline double3 drawPoint(std::size_t i, std::uint64_t stream) {
    return {2 * draw(3 * i, stream) - 1, 2 * draw(3 * i + 1, stream) - 1,
            2 * draw(3 * i + 2, stream) - 1};
}

template <class Traits>
using Tree = Ostrum::Ptr<const TileTree<Traits>>;

template <class Traits>
std::string shapeName() {
    return Traits::kChildrenPerAxis == 2 ? "2-4" : "5-5";
}

using Sample = std::function<double(const double3&)>;
struct Method {
    std::string name;
    Sample sample;
};

struct CubicSettings {
    InterpolationMode mode;
    bool clamp = true;
    std::uint32_t jumpPolicy = 1;
    std::uint64_t cacheSize = 0;
};

template <class Traits>
struct Volume {
    static constexpr int W = Traits::kVoxelsPerAxis;
    using Plain = Channel<Traits, double, W, 0, 0>;
    using Halo = Channel<Traits, double, W + 1, 0, 0>;

    Volume(const Tree<Traits>& tree, const Field& field)
        : container(tree), topology(tree), channel(fill(tree, field)),
          halo(Ostrum::makePtr<Halo>("", 0.0, false, true, 0, Traits::kFinestDepth)) {
        computeHalo<Traits, double, 0, 0, 1, 0>(*channel, container, *halo, -1, -1);
    }

    LinearSampler<Traits, double> linearSampler() const { return {container, topology, *halo}; }

    Sample linear() const {
        return [sampler = linearSampler()](const double3& p) mutable {
            return sampler.sample(p, Traits::kFinestDepth, kIndex);
        };
    }

    Sample cubic(const CubicSettings& s) const {
        return [sampler = CubicSampler<Traits, double>(
                    container, topology, *channel, s.mode, s.clamp, s.jumpPolicy, nullptr, 0,
                    s.cacheSize)](const double3& p) mutable { return sampler.sample(p, kIndex); };
    }

    Container<Traits> container;
    VoxelTopology<Traits> topology;
    Ostrum::Ptr<Plain> channel;
    Ostrum::Ptr<Halo> halo;

private:
    static Ostrum::Ptr<Plain> fill(const Tree<Traits>& tree, const Field& field) {
        ChannelBuilder<Traits, double> builder(tree, "value", 0.0);
        builder.fill([&](const double3& p, int) { return field.value(p); });
        return builder.finish();
    }
};

/// Linear sampling, and the cubic modes by the operators' settings, the general path and the
/// halo-tile cache. The volume must outlive them.
template <class Traits>
std::vector<Method> levelChangeMethods(const Volume<Traits>& volume) {
    constexpr auto c0 = InterpolationMode::kCubicC0, c1 = InterpolationMode::kCubicC1;
    return {{"kLinear", volume.linear()},
            {"kCubicC0 (operators)", volume.cubic({.mode = c0})},
            {"kCubicC1 (operators)", volume.cubic({.mode = c1})},
            {"kCubicC0 (general path)", volume.cubic({.mode = c0, .jumpPolicy = 0})},
            {"kCubicC1 (general path)", volume.cubic({.mode = c1, .jumpPolicy = 0})},
            {"kCubicC0 (cache)", volume.cubic({.mode = c0, .cacheSize = 64})},
            {"kCubicC1 (cache)", volume.cubic({.mode = c1, .cacheSize = 64})}};
}

} // namespace Stratum::Accuracy
