// Letters without regard to case.
#pragma once

#include <string>

namespace Stratum::io {

/// With the letters A to Z in lower case and all else as it is, whatever the locale.
inline std::string lowerCase(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

} // namespace Stratum::io
