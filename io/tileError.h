// How far a coarse tile's interpolation is from the field that it stands for.
#pragma once

#include "io/fineField.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace Stratum::io {

/// A cube of numbers, x fastest, resampled along each axis in turn.
class Lattice {
public:
    /// `edge` samples an axis; the first has the index `first`.
    Lattice(int edge, int first)
        : edge_(edge), first_(first), values(static_cast<std::size_t>(edge) * edge * edge) {}

    using Points = std::array<std::vector<LatticePoint>, 3>;

    /// The trilinear interpolation at all combinations of the axes' points, x fastest.
    std::vector<double> at(const Points& points) const {
        std::vector<double> from = values;
        std::size_t before = 1, after = static_cast<std::size_t>(edge_) * edge_;
        for (const auto& axis : points) {
            from = along(from, axis, before, after);
            before *= axis.size();
            after /= static_cast<std::size_t>(edge_);
        }
        return from;
    }

private:
    std::vector<double> along(const std::vector<double>& from,
                              const std::vector<LatticePoint>& points, std::size_t before,
                              std::size_t after) const {
        std::vector<double> to(before * points.size() * after);
        const auto edge = static_cast<std::size_t>(edge_);
        for (std::size_t outer = 0; outer < after; ++outer)
            for (std::size_t p = 0; p < points.size(); ++p) {
                const auto n = static_cast<std::size_t>(points[p].n - first_);
                const double f = points[p].f;
                const double* a = from.data() + (outer * edge + n) * before;
                const double* b = f == 0 ? a : a + before;
                double* out = to.data() + (outer * points.size() + p) * before;
                for (std::size_t inner = 0; inner < before; ++inner)
                    out[inner] = a[inner] + (b[inner] - a[inner]) * f;
            }
        return to;
    }

    int edge_, first_;

public:
    std::vector<double> values;
};

/// Both interpolations are multilinear between the planes through their samples, and so is their
/// difference in every box that the planes of both cut out of a tile: in each box it is largest at
/// a corner. The corners of all boxes are the combinations of the points below.
template <class Shape>
class TilePoints {
public:
    TilePoints(int depth, const std::array<bool, 3>& centred) {
        constexpr int W = Shape::kVoxelsPerAxis;
        const std::int64_t width = Shape::voxelWidth(depth), end = 2 * W * width;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            std::vector<std::int64_t> halves{0, end};
            for (std::int64_t h = centred[axis] ? 1 : 0; h < end; h += 2)
                halves.push_back(h);
            for (std::int64_t h = centred[axis] ? width : 0; h < end; h += 2 * width)
                halves.push_back(h);
            std::ranges::sort(halves);
            halves.erase(std::unique(halves.begin(), halves.end()), halves.end());
            for (const auto h : halves) {
                fine[axis].push_back(latticePoint(h, 1, centred[axis]));
                coarse[axis].push_back(latticePoint(h, width, centred[axis]));
            }
        }
    }

    Lattice::Points fine, coarse;
};

/// Whether two values are the same or differ by no more than `tolerance`; NaN equals NaN only.
inline bool isWithin(double a, double b, double tolerance) {
    return std::abs(a - b) <= tolerance || a == b || (std::isnan(a) && std::isnan(b));
}

/// Whether the interpolation of a tile's values and of those one voxel around it, indices -1 to W,
/// x fastest, stays within `tolerance` of the field in the whole tile.
template <class Shape, class T>
bool tileFits(FineVoxels<Shape, T>& voxels, const KDX::TileTree3D::int3& tijk, int depth,
              const TilePoints<Shape>& points, const std::vector<T>& values, double tolerance) {
    constexpr int W = Shape::kVoxelsPerAxis;
    const int extent = Shape::tileExtent(depth);
    std::vector<T> block;
    block.reserve(static_cast<std::size_t>(extent + 2) * (extent + 2) * (extent + 2));
    for (std::int64_t k = -1; k <= extent; ++k)
        for (std::int64_t j = -1; j <= extent; ++j)
            for (std::int64_t i = -1; i <= extent; ++i)
                block.push_back(voxels.value({tijk.x + i, tijk.y + j, tijk.z + k}));
    Lattice fine(extent + 2, -1), coarse(W + 2, -1);
    for (std::size_t c = 0; c < Vantor::Math::kComponentCount<T>; ++c) {
        const auto component = [c](const T& value) {
            return double{Vantor::Math::toComponents(value)[c]};
        };
        std::ranges::transform(block, fine.values.begin(), component);
        std::ranges::transform(values, coarse.values.begin(), component);
        const auto wanted = fine.at(points.fine), given = coarse.at(points.coarse);
        if (!std::ranges::equal(wanted, given, [tolerance](double a, double b) {
                return isWithin(a, b, tolerance);
            }))
            return false;
    }
    return true;
}

} // namespace Stratum::io
