// Numbers in texts.
#pragma once

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace Stratum::io {

/// The number that the whole text is, as std::from_chars reads it or with a plus sign in front;
/// nothing where it is none or too large for T. What is too small for T counts as 0.
template <class T>
std::optional<T> parseNumber(std::string_view text) {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    T value{};
    const auto [stop, error] = std::from_chars(begin, end, value);
    if (stop != end || (error != std::errc() && error != std::errc::result_out_of_range))
        return {};
    if (error == std::errc())
        return value;
    if constexpr (std::is_floating_point_v<T>)
        if (std::abs(std::strtold(std::string(text).c_str(), nullptr)) < 1)
            return T{};
    return {};
}

} // namespace Stratum::io
