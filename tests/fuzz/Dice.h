// Choices made from an input's bytes.
#pragma once

#include "common/Math.h"
#include "common/randomUnit.h"

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace Stratum::fuzz {

/// Takes choices from bytes, one after the other; 0 and its like once they are used up. So small
/// changes of an input are small changes of what is made from it.
class Dice {
public:
    explicit Dice(std::string_view bytes) : bytes_(bytes) {}

    /// 0 .. n - 1, for n up to 256.
    std::size_t below(std::size_t n) { return byte() % n; }
    bool once(std::size_t in) { return below(in) == in - 1; }
    std::uint32_t word() {
        std::uint32_t bits = 0;
        for (int i = 0; i < 4; ++i)
            bits = bits << 8 | byte();
        return bits;
    }

    /// Mostly a small number of quarters; now and then one that calculations stumble over.
    float number() {
        constexpr float kOdd[] = {NAN,      INFINITY,      -INFINITY,      FLT_MAX,
                                  -FLT_MAX, FLT_MIN,       FLT_TRUE_MIN,   1e30F,
                                  -1e30F,   2147483648.0F, -2147483648.0F, 2147483520.0F,
                                  -0.0F,    1e-30F,        16777217.0F};
        const unsigned kind = byte();
        if (kind < 224)
            return static_cast<float>(static_cast<int>(byte()) - 128) / 4;
        return kind < 248 ? kOdd[below(std::size(kOdd))] : std::bit_cast<float>(word());
    }

private:
    unsigned byte() {
        if (bytes_.empty())
            return 0;
        const auto first = static_cast<unsigned char>(bytes_[0]);
        bytes_.remove_prefix(1);
        return first;
    }

    std::string_view bytes_;
};

/// A number that follows from a place and a seed.
inline std::uint64_t hashOf(const Vantor::Math::int3& at, int salt, std::uint64_t seed) {
    std::uint64_t hash = Vantor::Sample::randomHash(static_cast<std::uint32_t>(salt), seed);
    for (const int v : {at.x, at.y, at.z})
        hash = Vantor::Sample::randomHash(static_cast<std::uint32_t>(v), hash);
    return hash;
}

} // namespace Stratum::fuzz
