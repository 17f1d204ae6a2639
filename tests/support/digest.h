// One number for values of any type, the same wherever the values are.
#pragma once

#include "Vantor/GeoLocation.h"
#include "common/Math.h"

#include <bit>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace StratumTest {

/// The 64-bit FNV-1a hash (Fowler, Noll, Vo) of what is added, lowest byte first. All NaN are one:
/// which bits an operation gives one is up to the processor.
class Digest {
public:
    void add(std::integral auto number) {
        using Unsigned = std::make_unsigned_t<decltype(number)>;
        auto bits = static_cast<std::uint64_t>(static_cast<Unsigned>(number));
        for (std::size_t byte = 0; byte < sizeof number; ++byte, bits >>= 8)
            value_ = (value_ ^ (bits & 0xFF)) * 0x100000001B3;
    }
    void add(bool flag) { add(std::uint8_t{flag}); }
    void add(float v) { add(std::bit_cast<std::uint32_t>(canonical(v))); }
    void add(double v) { add(std::bit_cast<std::uint64_t>(canonical(v))); }
    void add(const Vantor::Geometry::Common::GeoLocation& l) {
        add(l.kind);
        add(l.element);
        addEach(l.indices);
        addEach(l.weights);
        addEach(l.reserved);
    }
    template <class T>
    requires std::is_class_v<T>
    void add(const T& value) { addEach(Vantor::Math::toComponents(value)); }

    template <class Range>
    void addEach(const Range& values) {
        for (const auto& value : values)
            add(value);
    }

    std::uint64_t value() const { return value_; }

private:
    template <class S>
    static S canonical(S v) {
        return std::isnan(v) ? std::numeric_limits<S>::quiet_NaN() : v;
    }

    std::uint64_t value_ = 0xCBF29CE484222325;
};

} // namespace StratumTest
