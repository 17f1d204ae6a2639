// A tube along a knot: its curve, and the field around it.
#pragma once

#include "common/Math.h"

#include <algorithm>
#include <vector>

namespace Stratum::io {

using Vantor::Math::double3;
using Vantor::Math::float3;

/// The (2, 3) torus knot: twice round the axis of a torus of radii 2 and 1, three times round its
/// core. Closed for t from 0 to 2 pi.
double3 knot(double t);

/// Of the tube along the knot.
inline constexpr double kTubeRadius = 0.42;

/// What is inside the tube, from the distance to the knot; the knot is taken as a polygon that
/// leaves it by less than 0.0002.
class Tube {
public:
    /// Beyond this distance from the surface, distance() is cut off.
    static constexpr double kBand = 0.125;

    Tube();

    /// Only the part of the knot that is nearest within a box: there the field has the very same
    /// values.
    Tube near(const double3& lower, const double3& upper) const;

    /// Signed distance to the surface, negative inside.
    double surfaceDistance(const double3& p) const { return nearest(p).distance - kTubeRadius; }

    /// The same, at most kBand.
    double distance(const double3& p) const { return std::min(surfaceDistance(p), kBand); }

    /// 1 on the knot, smoothly falling to 0 on the surface, 0 outside.
    double density(const double3& p) const;

    /// Of length 1 along the nearest part of the knot within the tube's band, 0 beyond.
    float3 velocity(const double3& p) const;

private:
    struct Segment {
        double3 begin, end;
    };
    struct Nearest {
        double distance; ///< from the knot
        const Segment* segment;
    };
    explicit Tube(std::vector<Segment> segments) : segments_(std::move(segments)) {}
    Nearest nearest(const double3& p) const;

    std::vector<Segment> segments_;
};

} // namespace Stratum::io
