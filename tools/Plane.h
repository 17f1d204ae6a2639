// A plane through a volume, and how it cuts boxes.
#pragma once

#include "channels.h"

#include <array>
#include <optional>
#include <utility>
#include <vector>

namespace Stratum::tools {

using Vantor::Math::double3;

double dot(const double3& a, const double3& b);
double3 cross(const double3& a, const double3& b);

/// A point of the plane and two directions of length 1 at a right angle: `u` to the right, `v`
/// upward. For a plane across an axis the origin lies on that axis, so that distances along `u` and
/// `v` are world coordinates.
struct Plane {
    double3 origin{}, u{}, v{};
    std::optional<int> axis; ///< the axis that it is perpendicular to, when there is one

    double3 normal() const { return cross(u, v); }
    double3 at(double along, double upward) const {
        return {origin.x + u.x * along + v.x * upward, origin.y + u.y * along + v.y * upward,
                origin.z + u.z * along + v.z * upward};
    }
};

/// The plane across an axis at a world coordinate.
Plane planeAcross(int axis, double at);

/// The plane through a point that is perpendicular to `normal`; `u` is level, at a right angle to
/// the z axis. Throws std::runtime_error for a normal of no length.
Plane planeAlong(const double3& origin, const double3& normal);

/// The plane that two directions span; `v` is made perpendicular to `u`. Throws std::runtime_error
/// when they span none.
Plane planeOf(const double3& origin, const double3& u, const double3& v);

/// The corners, in order, of the polygon that a plane cuts out of a box, as distances along `u` and
/// `v`; none where it passes the box by.
std::vector<std::pair<double, double>> cut(const Plane& plane, const WorldBounds& box);

} // namespace Stratum::tools
