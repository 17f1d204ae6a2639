#include "commandLine.h"

#include <oneapi/tbb/version.h>

#include <algorithm>
#include <cctype>
#include <string_view>

namespace Stratum::tools {

namespace {

std::string shellWord(std::string_view word) {
    const auto isPlain = [](unsigned char c) {
        return std::isalnum(c) != 0 ||
               std::string_view("-_./:,=+%@").find(static_cast<char>(c)) != std::string_view::npos;
    };
    if (!word.empty() && std::ranges::all_of(word, isPlain))
        return std::string(word);
    std::string quoted = "'";
    for (const char c : word)
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    quoted += '\'';
    return quoted;
}

} // namespace

std::string versionText() {
#ifdef __clang__
    const std::string compiler = __VERSION__;
#else
    const std::string compiler = "GCC " __VERSION__;
#endif
    return std::string("stratum ") + kVersion + "\nTBB " + TBB_runtime_version() + "\n" + compiler;
}

std::string commandText(int argc, char** argv) {
    std::string text = "stratum";
    for (int i = 1; i < argc; ++i)
        (text += ' ') += shellWord(argv[i]);
    return text;
}

} // namespace Stratum::tools
