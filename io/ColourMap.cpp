#include "io/ColourMap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace Stratum::io {

namespace {

// The map "inferno" (S. van der Walt and N. Smith, 2015) by the polynomials that M. Zucker fitted
// to it (2019), coefficient by coefficient.
Colour sequential(double t) {
    static constexpr std::array<Colour, 7> kCoefficients{{
        {0.0002189403691192265, 0.001651004631001012, -0.01948089843709184},
        {0.1065134194856116, 0.5639564367884091, 3.932712388889277},
        {11.60249308247187, -3.972853965665698, -15.9423941062914},
        {-41.70399613139459, 17.43639888205313, 44.35414519872813},
        {77.162935699427, -33.40235894210092, -81.80730925738993},
        {-71.31942824499214, 32.62606426397723, 73.20951985803202},
        {25.13112622477341, -12.24266895238567, -23.07032500287172},
    }};
    Colour sum{0, 0, 0};
    for (auto c = kCoefficients.rbegin(); c != kCoefficients.rend(); ++c)
        sum = {sum.r * t + c->r, sum.g * t + c->g, sum.b * t + c->b};
    const auto clamp = [](double v) { return std::clamp(v, 0.0, 1.0); };
    return {clamp(sum.r), clamp(sum.g), clamp(sum.b)};
}

// CIELAB, white point D65, to sRGB.
Colour fromLab(double l, double a, double b) {
    const auto inverse = [](double v) {
        return v > 6.0 / 29 ? v * v * v : 3 * (6.0 / 29) * (6.0 / 29) * (v - 4.0 / 29);
    };
    const double fy = (l + 16) / 116;
    const double x = 0.95047 * inverse(fy + a / 500), y = inverse(fy),
                 z = 1.08883 * inverse(fy - b / 200);
    const auto encode = [](double v) {
        const double gamma = v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
        return std::clamp(gamma, 0.0, 1.0);
    };
    return {encode(3.2404542 * x - 1.5371385 * y - 0.4985314 * z),
            encode(-0.9692660 * x + 1.8760108 * y + 0.0415560 * z),
            encode(0.0556434 * x - 0.2040259 * y + 1.0572252 * z)};
}

// K. Moreland, "Diverging Color Maps for Scientific Visualization" (2009): straight lines in polar
// CIELAB (magnitude, saturation angle, hue angle) from blue to white and from white to red.
Colour diverging(double t) {
    struct Msh {
        double m, s, h;
    };
    constexpr Msh kBlue{80, 1.08, -1.1}, kRed{80, 1.08, 0.5};
    constexpr double kWhiteMagnitude = 88,
                     kSpin = 0.261; // hue that white takes on towards the ends
    const bool lower = t < 0.5;
    const Msh end = lower ? kBlue : kRed;
    const double whiteHue = lower ? end.h - kSpin : end.h + kSpin;
    const double toEnd = std::abs(2 * t - 1);
    const double m = kWhiteMagnitude + (end.m - kWhiteMagnitude) * toEnd;
    const double s = end.s * toEnd, h = whiteHue + (end.h - whiteHue) * toEnd;
    return fromLab(m * std::cos(s), m * std::sin(s) * std::cos(h), m * std::sin(s) * std::sin(h));
}

} // namespace

Colour colourOf(ColourMap map, double t) {
    if (std::isnan(t))
        return {0.5, 0.5, 0.5};
    t = std::clamp(t, 0.0, 1.0);
    return map == ColourMap::kSequential ? sequential(t) : diverging(t);
}

// Lightness goes with the value whatever the hue, so that values can be compared across categories;
// saturation is largest in the middle, where most of it can be shown.
Colour tintedColour(std::optional<int> category, double t) {
    if (std::isnan(t))
        return {0.5, 0.5, 0.5};
    t = std::clamp(t, 0.0, 1.0);
    const double lightness = 15 + 78 * t, chroma = category ? 22 + 30 * 4 * t * (1 - t) : 0;
    // Hues in CIELAB, in degrees; neighbours lie far apart.
    static constexpr std::array<double, 6> kHues{280, 65, 150, 335, 215, 100};
    const double hue = kHues[static_cast<std::size_t>(((category.value_or(0) % 6) + 6) % 6)] *
                       (std::numbers::pi / 180);
    return fromLab(lightness, chroma * std::cos(hue), chroma * std::sin(hue));
}

} // namespace Stratum::io
