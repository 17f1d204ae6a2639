// What the fuzz targets share.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Stratum::fuzz {

/// Runs a target on one input; each target defines it. False for a file that was refused as it
/// should be. Whatever must not happen ends the process.
bool runInput(std::string_view bytes);

/// Ends the process, in a way that a fuzzer sees, unless `holds`.
inline void require(bool holds, const std::string& what) {
    if (holds)
        return;
    std::fprintf(stderr, "must not be: %s\n", what.c_str());
    std::abort();
}

/// Whether `read()` succeeds. It may throw std::runtime_error with one line that names the source.
template <class Read>
bool accepts(const std::string& source, const Read& read) {
    try {
        read();
        return true;
    } catch (const std::runtime_error& error) {
        const std::string text = error.what();
        require(text.find(source) != std::string::npos && text.find('\n') == std::string::npos &&
                    text.size() < 1000,
                "this message: " + text);
        return false;
    }
}

} // namespace Stratum::fuzz
