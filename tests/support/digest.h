// One number for values of any type, the same wherever they are made.
#pragma once

#include "Vantor/GeoLocation.h"
#include "common/Math.h"

#include <bit>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>

namespace StratumTest {

/// The 64-bit FNV-1a hash (Fowler, Noll, Vo) of what is added, lowest byte first. All NaN are one:
/// which bits an operation gives one is up to the processor.
class Digest {
public:
    template <class T>
    void add(const T& value) {
        if constexpr (std::integral<T>)
            addBytes(static_cast<std::uint64_t>(value), sizeof value);
        else if constexpr (std::same_as<T, float>)
            add(std::bit_cast<std::uint32_t>(std::isnan(value) ? float{NAN} : value));
        else if constexpr (std::same_as<T, double>)
            add(std::bit_cast<std::uint64_t>(std::isnan(value) ? double{NAN} : value));
        else if constexpr (requires { value.begin(); })
            for (const auto& element : value)
                add(element);
        else
            add(Vantor::Math::toComponents(value));
    }
    void add(const Vantor::Geometry::Common::GeoLocation& l) {
        add(l.kind);
        add(l.element);
        add(l.indices);
        add(l.weights);
        add(l.reserved);
    }

    std::uint64_t value() const { return value_; }

private:
    void addBytes(std::uint64_t bits, std::size_t count) {
        for (; count > 0; --count, bits >>= 8)
            value_ = (value_ ^ (bits & 0xFF)) * 0x100000001B3;
    }

    std::uint64_t value_ = 0xCBF29CE484222325;
};

} // namespace StratumTest
