// Round numbers for axes.
#pragma once

#include <string>
#include <vector>

namespace Stratum::io {

struct Step {
    double at;
    std::string label;
};

/// The largest of 1, 2 and 5 times a power of ten that does not exceed `length` (above 0).
double niceLength(double length);

/// Round numbers from `lower` to `upper`, about `wanted` of them; one where both are equal.
std::vector<Step> niceSteps(double lower, double upper, int wanted);

/// A number as text, with the digits that tell neighbours `step` apart.
std::string numberLabel(double value, double step);

} // namespace Stratum::io
