// Foreign text in messages.
#pragma once

#include <string>
#include <string_view>

namespace Stratum::io {

/// A text in single quotes, cut where it is long.
inline std::string quoted(std::string_view text) {
    constexpr std::size_t kLongest = 40;
    std::string result("'");
    result += text.substr(0, kLongest);
    result += text.size() > kLongest ? "...'" : "'";
    return result;
}

} // namespace Stratum::io
