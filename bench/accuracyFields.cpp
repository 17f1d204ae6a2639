#include "accuracyVolume.h"

#include <cmath>
#include <numbers>

namespace Stratum::Accuracy {

namespace {

// A field of q = (p - origin) / unit.
template <class Value, class Gradient>
Field scaled(const std::string& name, const double3& origin, double unit, const Value& value,
             const Gradient& gradient) {
    const auto local = [=](const double3& p) {
        return double3{(p.x - origin.x) / unit, (p.y - origin.y) / unit, (p.z - origin.z) / unit};
    };
    return {name, [=](const double3& p) { return value(local(p)); },
            [=](const double3& p) { return gradient(local(p)); }};
}

} // namespace

Field constantField() {
    return {"constant", [](const double3&) { return 1.7; },
            [](const double3&) {
                return double3{0, 0, 0};
            }};
}

Field linearField(const double3& origin, double unit) {
    return scaled(
        "linear", origin, unit,
        [](const double3& q) { return 0.5 * q.x - 0.25 * q.y + 0.125 * q.z + 3; },
        [](const double3&) {
            return double3{0.5, -0.25, 0.125};
        });
}

Field quadraticField(const double3& origin, double unit) {
    return scaled(
        "quadratic", origin, unit,
        [](const double3& q) {
            return q.x * (0.1 * q.x + 0.04 * q.y + 0.5) - q.y * (0.05 * q.y + 0.02 * q.z + 0.25) +
                   q.z * (0.03 * q.z + 0.01 * q.x + 0.125) + 3;
        },
        [](const double3& q) {
            return double3{0.2 * q.x + 0.04 * q.y + 0.01 * q.z + 0.5,
                           0.04 * q.x - 0.1 * q.y - 0.02 * q.z - 0.25,
                           0.01 * q.x - 0.02 * q.y + 0.06 * q.z + 0.125};
        });
}

namespace {

constexpr double3 kPhases{0.3, 1.1, 0.7};

double3 waveNumbers(double wave) {
    return kSmoothNumbers * (2 * std::numbers::pi / wave);
}

} // namespace

double3 smoothFieldExtremum(double unit, double wave) {
    const double3 k = waveNumbers(wave);
    const auto along = [unit](double number, double phase) {
        return unit * (std::numbers::pi / 2 - phase) / number;
    };
    return {along(k.x, kPhases.x), along(k.y, kPhases.y), along(k.z, kPhases.z)};
}

Field smoothField(const double3& origin, double unit, double wave) {
    const double3 k = waveNumbers(wave);
    const auto phase = [=](const double3& q) {
        return double3{k.x * q.x + kPhases.x, k.y * q.y + kPhases.y, k.z * q.z + kPhases.z};
    };
    return scaled(
        "smooth", origin, unit,
        [=](const double3& q) {
            const double3 a = phase(q);
            return std::sin(a.x) * std::sin(a.y) * std::sin(a.z);
        },
        [=](const double3& q) {
            const double3 a = phase(q);
            return double3{k.x * std::cos(a.x) * std::sin(a.y) * std::sin(a.z),
                           k.y * std::sin(a.x) * std::cos(a.y) * std::sin(a.z),
                           k.z * std::sin(a.x) * std::sin(a.y) * std::cos(a.z)};
        });
}

} // namespace Stratum::Accuracy
