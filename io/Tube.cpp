#include "io/Tube.h"

#include "io/Sunflower.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace Stratum::io {

namespace {

constexpr int kSegments = 720;

double3 minus(const double3& a, const double3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
double dot(const double3& a, const double3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

} // namespace

double3 knot(double t) {
    const double r = 2 + std::cos(3 * t);
    return {r * std::cos(2 * t), r * std::sin(2 * t), -std::sin(3 * t)};
}

Tube::Tube() {
    const auto corner = [](int i) { return knot(2 * std::numbers::pi * i / kSegments); };
    for (int i = 0; i < kSegments; ++i)
        segments_.push_back({corner(i), corner((i + 1) % kSegments)});
}

Tube Tube::near(const double3& lower, const double3& upper) const {
    const double3 diagonal = minus(upper, lower);
    double least = std::numeric_limits<double>::infinity();
    for (const Segment& segment : segments_)
        least = std::min(least, distanceToBox(segment.begin, lower, upper));
    // The nearest beginning of a segment is no farther from any place in the box; what else may be
    // nearest ends there at most a segment later.
    constexpr double kLongest = 0.06;
    const double enough = least + std::sqrt(dot(diagonal, diagonal)) + kLongest;
    std::vector<Segment> some;
    for (const Segment& segment : segments_)
        if (distanceToBox(segment.begin, lower, upper) <= enough)
            some.push_back(segment);
    return Tube(std::move(some));
}

Tube::Nearest Tube::nearest(const double3& p) const {
    double least = std::numeric_limits<double>::infinity();
    const Segment* found = nullptr;
    for (const Segment& segment : segments_) {
        const double3 along = minus(segment.end, segment.begin), to = minus(p, segment.begin);
        const double t = std::clamp(dot(to, along) / dot(along, along), 0.0, 1.0);
        const double3 rest = minus(to, {t * along.x, t * along.y, t * along.z});
        const double square = dot(rest, rest);
        if (square < least) {
            least = square;
            found = &segment;
        }
    }
    return {std::sqrt(least), found};
}

double Tube::density(const double3& p) const {
    const double share = nearest(p).distance / kTubeRadius, rest = 1 - share * share;
    return rest > 0 ? rest * rest : 0;
}

float3 Tube::velocity(const double3& p) const {
    const Nearest found = nearest(p);
    if (!found.segment || found.distance > kTubeRadius + kBand)
        return {0, 0, 0};
    const double3 along = minus(found.segment->end, found.segment->begin);
    const double length = std::sqrt(dot(along, along));
    return {static_cast<float>(along.x / length), static_cast<float>(along.y / length),
            static_cast<float>(along.z / length)};
}

} // namespace Stratum::io
