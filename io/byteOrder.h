// Numbers in the byte orders of files.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

namespace Stratum::io {

/// The number whose bytes begin at `bytes`, which needs no alignment.
template <class T>
T loadAs(const char* bytes, std::endian order) {
    std::array<std::byte, sizeof(T)> raw;
    std::memcpy(raw.data(), bytes, sizeof(T));
    if (order != std::endian::native)
        std::ranges::reverse(raw);
    return std::bit_cast<T>(raw);
}

/// Appends the bytes of a number.
template <class Text, class T>
void appendAs(Text& text, T value, std::endian order) {
    auto raw = std::bit_cast<std::array<char, sizeof(T)>>(value);
    if (order != std::endian::native)
        std::ranges::reverse(raw);
    text.append(raw.data(), raw.size());
}

} // namespace Stratum::io
