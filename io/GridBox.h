// Boxes of a grid's voxels.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

namespace Stratum::io {

using GridIndex = std::array<int, 3>;

/// Both corners belong to the box; it is empty when any component of `min` exceeds that of `max`.
struct GridBox {
    GridIndex min, max;

    bool operator==(const GridBox&) const = default;
    bool empty() const { return min[0] > max[0] || min[1] > max[1] || min[2] > max[2]; }
    bool contains(const GridIndex& ijk) const {
        return ijk[0] >= min[0] && ijk[0] <= max[0] && ijk[1] >= min[1] && ijk[1] <= max[1] &&
               ijk[2] >= min[2] && ijk[2] <= max[2];
    }
    bool contains(const GridBox& other) const { return contains(other.min) && contains(other.max); }
    /// The same box counted from an origin.
    GridBox from(const GridIndex& origin) const {
        GridBox box = *this;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            box.min[axis] -= origin[axis];
            box.max[axis] -= origin[axis];
        }
        return box;
    }
    GridBox within(const GridBox& other) const {
        GridBox box = *this;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            box.min[axis] = std::max(box.min[axis], other.min[axis]);
            box.max[axis] = std::min(box.max[axis], other.max[axis]);
        }
        return box;
    }
};

} // namespace Stratum::io
