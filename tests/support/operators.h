// Objects with volumes, and the operators called on them.
#pragma once

#include "Vantor/Volume.h"
#include "ops/sample_volume.h"
#include "support/volumes.h"

namespace StratumTest {

using Geometry::Query::sample_volume;
using Geometry::Query::SamplerType;
using Ostrum::Array;
using Ostrum::makePtr;
using Ostrum::Ptr;
using Ostrum::String;

inline constexpr float kOperatorDefault = -1, kChannelDefault = -2;

inline Array<float3> somePositions(std::size_t count, double reach) {
    Array<float3> positions(count);
    for (std::size_t i = 0; i < count; ++i)
        positions[i] = toPosition<float3>(randomPosition(i, reach));
    return positions;
}

/// Adds a tree with a channel "value".
template <class Traits, class T>
Ptr<Plain<Traits, T>> addVolume(Vantor::Object& object, const RandomTree& options) {
    const auto tree = build<Traits>(options);
    Vantor::Geometry::addTree<Traits>(object, tree);
    auto channel = makeChannel<Traits, T>(tree, valueFrom<T>(kChannelDefault), noise(options.seed));
    Vantor::Geometry::addChannel(object, channel);
    return channel;
}

/// A volume of a tree and a channel "value" of a field.
template <class T, class Traits, class F>
Vantor::Object volumeOn(const TreePtr<Traits>& tree, const F& field,
                        double defaultValue = kChannelDefault) {
    Vantor::Object object;
    Vantor::Geometry::addTree<Traits>(object, tree);
    Vantor::Geometry::addChannel(object,
                                 makeChannel<Traits, T>(tree, valueFrom<T>(defaultValue), field));
    return object;
}

template <class T>
Ptr<Array<T>> sampled(const Vantor::Object& object, const Array<float3>& positions,
                      const String& property = "value",
                      SamplerType sampler = SamplerType::kLinear) {
    Ptr<Array<T>> out;
    sample_volume(object, positions, valueFrom<T>(kOperatorDefault), property, sampler, out);
    return out;
}

} // namespace StratumTest
