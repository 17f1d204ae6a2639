// Foreign text in messages.
#pragma once

#include <string>
#include <string_view>

namespace Stratum::io {

/// A text without control characters, which become question marks.
inline std::string oneLine(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = '?';
    return text;
}

/// A text in single quotes and in one line, cut where it is long.
inline std::string quoted(std::string_view text) {
    constexpr std::size_t kLongest = 40;
    std::string result("'");
    result += oneLine(std::string(text.substr(0, kLongest)));
    result += text.size() > kLongest ? "...'" : "'";
    return result;
}

} // namespace Stratum::io
