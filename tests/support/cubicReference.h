// Cubic interpolation worked out slowly, from the polynomials' definitions.
#pragma once

#include "support/reference.h"
#include "volume/cubicKernels.h"

namespace StratumTest {

/// The polynomial through the points (x[i], y[i]), i in first .. first + count - 1, at `at`.
inline double throughPoints(const std::array<double, 4>& x, const std::array<double, 4>& y,
                            std::size_t first, std::size_t count, double at) {
    double sum = 0;
    for (std::size_t i = first; i < first + count; ++i) {
        double basis = 1;
        for (std::size_t j = first; j < first + count; ++j)
            if (j != i)
                basis *= (at - x[j]) / (x[i] - x[j]);
        sum += basis * y[i];
    }
    return sum;
}

/// The derivative at x[i] of the parabola through the points i - 1, i, i + 1.
inline double parabolaSlope(const std::array<double, 4>& x, const std::array<double, 4>& y,
                            std::size_t i) {
    const double h = 1e-3 * (x[i + 1] - x[i - 1]);
    return (throughPoints(x, y, i - 1, 3, x[i] + h) - throughPoints(x, y, i - 1, 3, x[i] - h)) /
           (2 * h);
}

/// Four values on any spacing, at a place between the middle two. A parabola's slope at its middle
/// point is the tangent of the Hermite modes, on even spacing the central difference.
inline double interpolateSlowly(InterpolationMode mode, const std::array<double, 4>& x,
                                const std::array<double, 4>& y, double at) {
    if (mode == InterpolationMode::kQuadraticC0Averaged)
        return (throughPoints(x, y, 0, 3, at) + throughPoints(x, y, 1, 3, at)) / 2;
    if (mode == InterpolationMode::kCubicC0)
        return throughPoints(x, y, 0, 4, at);
    double m1 = parabolaSlope(x, y, 1), m2 = parabolaSlope(x, y, 2);
    if (mode == InterpolationMode::kCubicC1Monotonic) {
        const double rise = y[2] - y[1];
        m1 = m1 * rise > 0 ? m1 : 0;
        m2 = m2 * rise > 0 ? m2 : 0;
    }
    // Hermite as a Bezier curve.
    const double h = x[2] - x[1], t = (at - x[1]) / h, u = 1 - t;
    return u * u * u * y[1] + 3 * u * u * t * (y[1] + m1 * h / 3) +
           3 * u * t * t * (y[2] - m2 * h / 3) + t * t * t * y[2];
}

/// What a sampler with jumpPolicy 1 should find in a channel of doubles.
template <class Traits>
class CubicReference {
    static constexpr int W = Traits::kVoxelsPerAxis;
    using Voxel = typename Reference<Traits>::Voxel;

public:
    explicit CubicReference(const Plain<Traits, double>& channel)
        : channel_(channel),
          linear_(channel, Container<Traits>(channel.tree()), channel.tree()->offsetType()) {}

    bool lastWasCubic = false;

    /// `cell` is the cell's lower voxel at `depth` and `f` the fractions in it; `tile` is the tile
    /// that the position lies in, in units of that depth's tiles.
    double sample(InterpolationMode mode, bool clamp, int depth, const Voxel& cell,
                  const double3& f, const double3& p) {
        lastWasCubic = !hasJump(depth, cell);
        if (!lastWasCubic)
            return linear_.sample(p, depth);
        static constexpr std::array<double, 4> kNodes{-1, 0, 1, 2};
        std::array<double, 4> planes, rows, values;
        double low = INFINITY, high = -INFINITY;
        for (int z = 0; z < 4; ++z) {
            for (int y = 0; y < 4; ++y) {
                for (int x = 0; x < 4; ++x) {
                    values[x] = at(depth, {cell[0] + x - 1, cell[1] + y - 1, cell[2] + z - 1});
                    if (std::min({x, y, z}) >= 1 && std::max({x, y, z}) <= 2) {
                        low = std::min(low, values[x]);
                        high = std::max(high, values[x]);
                    }
                }
                rows[y] = interpolateSlowly(mode, kNodes, values, f.x);
            }
            planes[z] = interpolateSlowly(mode, kNodes, rows, f.y);
        }
        const double value = interpolateSlowly(mode, kNodes, planes, f.z);
        return clamp ? std::clamp(value, low, high) : value;
    }

private:
    // The tile of a depth that covers a voxel; invalid when that is of another depth.
    TreeIndex tileOf(int depth, const Voxel& voxel) const {
        typename Container<Traits>::ConstTileAccessor accessor(*channel_.tree());
        const std::int64_t w = Traits::voxelWidth(depth);
        return accessor.tileImpl(WideIndex{voxel[0] * w, voxel[1] * w, voxel[2] * w}, depth)
            .treeIndex();
    }

    double at(int depth, const Voxel& voxel) const {
        const TreeIndex index = tileOf(depth, voxel);
        const auto values = channel_.tileData(index);
        const auto local = [&](std::size_t a) {
            return static_cast<int>(voxel[a] - floorDiv(voxel[a], W) * W);
        };
        return index.depth == depth && values ? values(int3{local(0), local(1), local(2)})
                                              : channel_.defaultValue();
    }

    // Whether any of the 2^3 tiles from the one that holds the voxel below the cell is of another
    // depth and holds data, or is refined without.
    bool hasJump(int depth, const Voxel& cell) const {
        for (int corner = 0; corner < 8; ++corner) {
            const auto along = [&](std::size_t a) { return cell[a] - 1 + (corner >> a & 1) * W; };
            const TreeIndex index = tileOf(depth, {along(0), along(1), along(2)});
            if (!index.isValid())
                continue;
            const bool data = static_cast<bool>(channel_.tileData(index));
            const auto& tile = *channel_.tree()->tile(index);
            if (index.depth != depth ? data : !data && tile.hasChildren())
                return true;
        }
        return false;
    }

    const Plain<Traits, double>& channel_;
    Reference<Traits> linear_;
};

} // namespace StratumTest
