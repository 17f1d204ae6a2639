#include "io/niceSteps.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace Stratum::io {

double niceLength(double length) {
    const double power = std::pow(10, std::floor(std::log10(length)));
    const double leading = length / power;
    return power * (leading >= 5 ? 5 : leading >= 2 ? 2 : 1);
}

std::string numberLabel(double value, double step) {
    std::array<char, 64> text{};
    const double largest = std::max(std::abs(value), step);
    if (largest >= 1e6 || step < 1e-5) {
        std::snprintf(text.data(), text.size(), "%.4g", value);
    } else {
        const int digits = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
        std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    }
    return text.data();
}

std::vector<Step> niceSteps(double lower, double upper, int wanted) {
    if (!(upper > lower) || !std::isfinite(upper - lower))
        return {{lower, numberLabel(lower, std::max(std::abs(lower) / 100, 1e-5))}};
    const double step = niceLength(2 * (upper - lower) / wanted);
    std::vector<Step> steps;
    const double first = std::ceil(lower / step - 1e-9);
    const auto count = static_cast<int>(std::floor(upper / step + 1e-9) - first) + 1;
    for (int n = 0; n < count; ++n) {
        const double at = (first + n) * step == 0 ? 0 : (first + n) * step; // no negative zero
        steps.push_back({at, numberLabel(at, step)});
    }
    return steps;
}

} // namespace Stratum::io
