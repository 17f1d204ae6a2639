// Geometries and what to scatter on them, made from an input's bytes.
#pragma once

#include "Dice.h"
#include "Vantor/Geometry.h"
#include "locations/GenerateLocationOptions.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace Stratum::fuzz {

template <class T>
auto setArray(Vantor::Object& object, const Ostrum::String& name, const Ostrum::String& target,
              std::size_t count, const T& next) {
    auto values = Ostrum::makePtr<Ostrum::Array<decltype(next())>>();
    for (std::size_t i = 0; i < count; ++i)
        values->push_back(next());
    object.setProperty(name, target, values);
}

inline void addMask(Vantor::Object& object, Dice& dice, const Ostrum::String& target) {
    const auto value = [&] {
        return dice.once(3) ? dice.number() : static_cast<float>(dice.below(12)) / 10;
    };
    const std::size_t count = dice.below(24);
    switch (dice.below(6)) {
    case 0:
        return setArray(object, "mask", target, count, [&] { return dice.once(2); });
    case 1:
        return setArray(object, "mask", target, count, [&] { return double{value()}; });
    case 2:
        return setArray(object, "mask", target, count, [&] {
            return Vantor::Math::float3{value(), 0, 0};
        });
    case 3:
        return setArray(object, "mask", target, count, [&] { return dice.word(); });
    default:
        return setArray(object, "mask", target, count, value);
    }
}

/// Adds points, and faces or strands on them: more or less as they should be.
inline void addGeometry(Vantor::Object& object, Dice& dice) {
    using namespace Vantor::Geometry;
    const std::size_t pointCount = dice.below(12), offsetCount = dice.below(7);
    object.addComponent(sPointComp, pointCount + (dice.once(10) ? dice.below(4) : 0));
    setArray(object, sPointPosition, sPointComp, pointCount, [&] {
        return Vantor::Math::float3{dice.number(), dice.number(), dice.number()};
    });
    const auto wild = [&](std::size_t usual) {
        return dice.once(12) ? dice.word() : static_cast<std::uint32_t>(dice.below(usual + 2));
    };
    const auto addOffsets = [&](const Ostrum::String& name, const Ostrum::String& component) {
        std::uint32_t ascending = 0;
        setArray(object, name, component, offsetCount, [&] {
            return dice.once(6)
                       ? wild(24)
                       : std::exchange(ascending,
                                       ascending + static_cast<std::uint32_t>(dice.below(6)));
        });
        object.addComponent(component,
                            dice.once(9) ? wild(9) : offsetCount - (offsetCount && dice.once(2)));
    };
    if (dice.once(2))
        addOffsets(sStrandOffset, sStrandComp);
    if (dice.once(2)) {
        addOffsets(sFaceOffset, sFaceComp);
        const std::size_t corners = dice.below(24);
        object.addComponent(sFaceVertexComp, corners);
        setArray(object, sFaceVertex, sFaceVertexComp, corners, [&] { return wild(pointCount); });
    }
    const Ostrum::String targets[] = {sPointComp, sFaceComp, sFaceVertexComp, sStrandComp, ""};
    addMask(object, dice, targets[dice.below(std::size(targets))]);
}

/// Options that ask for a few dozen locations at most.
inline Vantor::Sample::GenerateLocationOptions randomOptions(Dice& dice) {
    using namespace VantorExp::Geometry;
    Vantor::Sample::GenerateLocationOptions options;
    options.sample_type = SampleType(dice.below(3));
    options.amount = dice.number();
    options.amount_type = AmountType(dice.below(3));
    options.mask_control = MaskControl(dice.below(3));
    options.seed = static_cast<std::int64_t>(dice.word()) << dice.below(33);
    if (dice.once(4)) {
        options.seed_array = Ostrum::makePtr<Ostrum::Array<long long>>();
        for (std::size_t i = dice.below(4); i > 0; --i)
            options.seed_array->push_back(dice.word());
    }
    options.use_mask = dice.once(2);
    options.mask_property = dice.once(8) ? "none" : "mask";
    options.invert_mask = dice.once(2);
    // What the mask rejects is drawn again some ten thousand times.
    options.use_max_number = true;
    options.max_number = static_cast<std::int64_t>(dice.below(options.use_mask ? 4 : 40)) - 1;
    return options;
}

} // namespace Stratum::fuzz
