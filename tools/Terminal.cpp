#include "Terminal.h"

#include "io/quoted.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string_view>

namespace Stratum::tools {

namespace {

constexpr int kBarWidth = 24;

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool isDumb() {
    const char* type = std::getenv("TERM");
    return type == nullptr || std::string_view(type) == "dumb";
}

} // namespace

bool hasColour() {
    return ::isatty(STDERR_FILENO) == 1 && !isSet("NO_COLOR") && !isDumb();
}

std::string emphasized(const std::string& text, int colour) {
    return hasColour() ? "\x1b[1;" + std::to_string(colour) + "m" + text + "\x1b[0m" : text;
}

void warn(const std::string& text) {
    constexpr int kYellow = 33;
    std::cerr << "stratum: " << emphasized("warning:", kYellow) << ' ' << io::oneLine(text) << '\n';
}

Progress::Progress(const CommonOptions& options, int stepCount)
    : steps_(stepCount), shown_(::isatty(STDERR_FILENO) == 1 && !isDumb() && !options.quiet &&
                                !options.json && options.verbosity == 0) {}

Progress::~Progress() {
    finish();
}

void Progress::finish() {
    if (shown_ && done_ > 0)
        std::cerr << "\r\x1b[K" << std::flush;
    shown_ = false;
}

void Progress::step(const std::string& name) {
    if (!shown_)
        return;
    const int filled = kBarWidth * done_ / steps_;
    std::cerr << "\r\x1b[K[" << std::string(static_cast<std::size_t>(filled), '=')
              << std::string(static_cast<std::size_t>(kBarWidth - filled), ' ') << "] " << name
              << std::flush;
    done_ = std::min(done_ + 1, steps_);
}

} // namespace Stratum::tools
