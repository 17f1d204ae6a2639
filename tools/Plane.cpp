#include "Plane.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace Stratum::tools {

namespace {

double3 minus(const double3& a, const double3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

double3 unit(const double3& v, const char* what) {
    const double length = std::sqrt(dot(v, v));
    if (!(length > 0) || !std::isfinite(length))
        throw std::runtime_error(std::string(what) + " must be a direction, of a finite length "
                                                     "above 0");
    return v * (1 / length);
}

double3 cornerOf(const WorldBounds& box, int corner) {
    return {(corner & 1) != 0 ? box.upper.x : box.lower.x,
            (corner & 2) != 0 ? box.upper.y : box.lower.y,
            (corner & 4) != 0 ? box.upper.z : box.lower.z};
}

} // namespace

double dot(const double3& a, const double3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

double3 cross(const double3& a, const double3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Plane planeAcross(int axis, double at) {
    constexpr std::array<double3, 3> kAxes{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    const auto direction = [&](int a) { return kAxes[static_cast<std::size_t>(a)]; };
    return {direction(axis) * at, direction(axis == 0 ? 1 : 0), direction(axis == 2 ? 1 : 2), axis};
}

Plane planeAlong(const double3& origin, const double3& normal) {
    const double3 n = unit(normal, "--normal");
    const bool upright = std::abs(n.z) > 1 - 1e-12;
    const double3 u = upright ? double3{1, 0, 0} : unit({-n.y, n.x, 0}, "--normal");
    return {origin, u, cross(n, u), {}};
}

Plane planeOf(const double3& origin, const double3& u, const double3& v) {
    const double3 along = unit(u, "--u"), second = unit(v, "--v");
    const double3 rest = minus(second, along * dot(second, along));
    if (!(dot(rest, rest) > 1e-12))
        throw std::runtime_error("--u and --v must point in different directions");
    return {origin, along, unit(rest, "--v"), {}};
}

std::vector<std::pair<double, double>> cut(const Plane& plane, const WorldBounds& box) {
    const double3 normal = plane.normal();
    std::vector<std::pair<double, double>> points;
    const auto add = [&](const double3& p) {
        const double3 d = minus(p, plane.origin);
        points.emplace_back(dot(d, plane.u), dot(d, plane.v));
    };
    for (int from = 0; from < 8; ++from)
        for (const int bit : {1, 2, 4}) {
            if ((from & bit) != 0)
                continue;
            const double3 a = cornerOf(box, from), b = cornerOf(box, from | bit);
            const double da = dot(minus(a, plane.origin), normal),
                         db = dot(minus(b, plane.origin), normal);
            if ((da <= 0) == (db <= 0))
                continue;
            const double t = da / (da - db);
            add({a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.z + (b.z - a.z) * t});
        }
    if (points.size() < 3)
        return {};
    double x = 0, y = 0;
    for (const auto& [along, upward] : points) {
        x += along / static_cast<double>(points.size());
        y += upward / static_cast<double>(points.size());
    }
    std::ranges::sort(points, {},
                      [&](const auto& p) { return std::atan2(p.second - y, p.first - x); });
    return points;
}

} // namespace Stratum::tools
