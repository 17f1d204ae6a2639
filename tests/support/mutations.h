// Damaged files: a good one, changed at random.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <string>

namespace Stratum::test {

/// Changes bytes the way that broken disks, cut transfers and bad intentions do. The same seed
/// gives the same damage everywhere: only the generator's raw numbers are used.
class Mutator {
public:
    explicit Mutator(std::uint32_t seed) : random_(seed) {}

    std::string damaged(std::string bytes) {
        for (std::uint32_t times = 1 + below(4); times > 0 && !bytes.empty(); --times)
            damage(bytes);
        return bytes;
    }

    std::uint32_t below(std::size_t n) {
        return n == 0 ? 0 : static_cast<std::uint32_t>(random_() % n);
    }

private:
    void damage(std::string& bytes) {
        // Every other time near the start, where counts and sizes are.
        const std::size_t reach =
            below(2) == 0 ? std::min<std::size_t>(bytes.size(), 300) : bytes.size();
        const std::size_t at = below(reach), length = 1 + below(below(8) == 0 ? 200 : 8);
        switch (below(8)) {
        case 0:
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
            break;
        case 1:
            bytes[at] = static_cast<char>(below(256));
            break;
        case 2: { // a count that is too large, negative or nothing
            static constexpr std::array<unsigned char, 6> kBytes{0x00, 0x01, 0x3F,
                                                                 0x7F, 0x80, 0xFF};
            const auto value = static_cast<char>(kBytes[below(kBytes.size())]);
            for (std::size_t i = at; i < std::min(at + length, bytes.size()); ++i)
                bytes[i] = value;
            break;
        }
        case 3:
            bytes.resize(at);
            break;
        case 4:
            bytes.erase(at, length);
            break;
        case 5:
            bytes.insert(at, bytes.substr(below(bytes.size()), length));
            break;
        case 6: { // words that readers of text stumble over
            static constexpr std::array<const char*, 12> kWords{
                "-1", "99999999999999999999", "nan", "1e999", "\n", " ", "'", "\"", ",",
                "(",  "2147483648",           "\xff"};
            bytes.insert(at, kWords[below(kWords.size())]);
            break;
        }
        default: { // a digit for a digit keeps headers readable
            const auto digit = bytes.find_first_of("0123456789", at);
            if (digit != std::string::npos)
                bytes[digit] = static_cast<char>('0' + below(10));
        }
        }
    }

    std::mt19937 random_;
};

} // namespace Stratum::test
