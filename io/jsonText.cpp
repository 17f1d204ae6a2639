#include "io/jsonText.h"

#include <array>
#include <cstdio>

namespace Stratum::io {

namespace {

// The length of the UTF-8 sequence that a text begins with, 0 where there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto at = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const unsigned lead = at(0);
    const std::size_t length = lead < 0x80                    ? 1
                               : lead >= 0xC2 && lead <= 0xDF ? 2
                               : lead >= 0xE0 && lead <= 0xEF ? 3
                               : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                              : 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((at(i) & 0xC0U) != 0x80)
            return 0;
    const bool overlong = (lead == 0xE0 && at(1) < 0xA0) || (lead == 0xF0 && at(1) < 0x90);
    const bool beyond = (lead == 0xED && at(1) > 0x9F) || (lead == 0xF4 && at(1) > 0x8F);
    return overlong || beyond ? 0 : length;
}

} // namespace

std::string asUtf8(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        result += length == 0 ? "?" : text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return result;
}

std::string jsonText(std::string_view bytes) {
    const std::string text = asUtf8(bytes);
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result += {'\\', c};
        } else if (static_cast<unsigned char>(c) < 0x20) {
            std::array<char, 8> escaped{};
            std::snprintf(escaped.data(), escaped.size(), "\\u%04x", static_cast<unsigned>(c));
            result += escaped.data();
        } else {
            result += c;
        }
    }
    return result + '"';
}

} // namespace Stratum::io
