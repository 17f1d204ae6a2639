// An analytic field to sample where no file is at hand.
#pragma once

#include "common/Math.h"

#include <vector>

namespace Stratum::io {

using Vantor::Math::double3;
using Vantor::Math::float3;

/// Soft balls arranged like the seeds of a sunflower in the plane z = 0, large in the middle and
/// ever smaller towards the rim: a field that needs fine voxels in some places only. All of it lies
/// in the cube from -1 to 1.
class Sunflower {
public:
    struct Seed {
        double3 centre;
        double radius;
    };

    /// Beyond this distance from the surface, distance() is cut off.
    static constexpr double kBand = 0.06;

    /// All seeds.
    Sunflower();

    /// Only the seeds that matter within a box: there the field has the very same values.
    Sunflower near(const double3& lower, const double3& upper) const;

    /// Sum over the seeds of (1 - (r / radius)^2)^3, 0 beyond the radius: twice continuously
    /// differentiable and exactly 0 away from the seeds.
    double density(const double3& p) const;

    /// Signed distance to the union of the balls of half the radius, exact outside of it; at most
    /// kBand.
    double distance(const double3& p) const;

    /// A whirl around the z axis.
    static float3 velocity(const double3& p);

    /// How far from its centre a seed has any influence.
    static double reach(const Seed& seed);

    const std::vector<Seed>& seeds() const { return seeds_; }

private:
    explicit Sunflower(std::vector<Seed> seeds) : seeds_(std::move(seeds)) {}

    std::vector<Seed> seeds_;
};

/// Distance from a point to a box, 0 inside.
double distanceToBox(const double3& p, const double3& lower, const double3& upper);

} // namespace Stratum::io
