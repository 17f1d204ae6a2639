#include "io/Sunflower.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Stratum::io {

namespace {

constexpr int kSeedCount = 220;
constexpr double kLargest = 0.19, kSmallest = 0.027, kRim = 0.95;

double squaredDistance(const double3& a, const double3& b) {
    const double x = a.x - b.x, y = a.y - b.y, z = a.z - b.z;
    return x * x + y * y + z * z;
}

} // namespace

// The spiral of H. Vogel, "A better way to construct the sunflower head" (1979), with spacings that
// shrink together with the seeds.
Sunflower::Sunflower() {
    const double goldenAngle = std::numbers::pi * (3 - std::sqrt(5.0));
    double area = 0;
    for (int i = 0; i < kSeedCount; ++i) {
        const double radius = kLargest * std::pow(kSmallest / kLargest, i / (kSeedCount - 1.0));
        area += radius * radius / 2;
        seeds_.push_back({{std::sqrt(area), goldenAngle * i, 0}, radius});
        area += radius * radius / 2;
    }
    const double scale = (kRim - kSmallest) / std::sqrt(area);
    for (int i = 0; i < kSeedCount; ++i) {
        Seed& seed = seeds_[static_cast<std::size_t>(i)];
        const double r = scale * seed.centre.x, angle = seed.centre.y;
        const double lift = (i % 2 == 0 ? 0.3 : -0.3) * seed.radius;
        seed.centre = {r * std::cos(angle), r * std::sin(angle), lift};
    }
}

double Sunflower::reach(const Seed& seed) {
    return std::max(seed.radius, seed.radius / 2 + kBand);
}

double distanceToBox(const double3& p, const double3& lower, const double3& upper) {
    const auto gap = [](double v, double lo, double hi) { return std::max({lo - v, v - hi, 0.0}); };
    return std::sqrt(squaredDistance(
        {gap(p.x, lower.x, upper.x), gap(p.y, lower.y, upper.y), gap(p.z, lower.z, upper.z)},
        {0, 0, 0}));
}

Sunflower Sunflower::near(const double3& lower, const double3& upper) const {
    std::vector<Seed> kept;
    for (const Seed& seed : seeds_)
        if (distanceToBox(seed.centre, lower, upper) <= reach(seed))
            kept.push_back(seed);
    return Sunflower(std::move(kept));
}

double Sunflower::density(const double3& p) const {
    double sum = 0;
    for (const Seed& seed : seeds_) {
        const double q = 1 - squaredDistance(p, seed.centre) / (seed.radius * seed.radius);
        if (q > 0)
            sum += q * q * q;
    }
    return sum;
}

double Sunflower::distance(const double3& p) const {
    double nearest = kBand;
    for (const Seed& seed : seeds_)
        nearest = std::min(nearest, std::sqrt(squaredDistance(p, seed.centre)) - seed.radius / 2);
    return nearest;
}

float3 Sunflower::velocity(const double3& p) {
    const double fade = std::exp(-2 * (p.x * p.x + p.y * p.y));
    return {static_cast<float>(-p.y * fade), static_cast<float>(p.x * fade),
            static_cast<float>(0.3 * std::cos(3 * p.z) * fade)};
}

} // namespace Stratum::io
