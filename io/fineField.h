// A uniform channel as the field that linear sampling makes of it.
#pragma once

#include "KDX/Channel.h"
#include "KDX/VoxelOffsetType.h"

#include <array>
#include <cmath>

namespace Stratum::io {

using KDX::TileTree3D::TileTree;
using KDX::TileTree3D::TreeIndex;
using KDX::TileTree3D::WideIndex;

/// Reads the finest voxels of a channel; what lies in a coarser tile has that tile's value, what
/// lies in none the channel's default. One reader serves one thread.
template <class Shape, class T>
class FineVoxels {
    static constexpr int W = Shape::kVoxelsPerAxis;
    using Plain = KDX::TileTree3D::Channel<Shape, T, W, 0, 0>;

public:
    explicit FineVoxels(const Plain& channel) : channel_(channel) {}

    T value(const WideIndex& ijk) {
        if (!known_ || !isInside(ijk))
            find(ijk);
        if (values_ == nullptr)
            return channel_.defaultValue();
        const auto local = [&](std::int64_t v, int origin) { return (v - origin) / width_; };
        return values_[local(ijk.x, origin_.x) +
                       W * (local(ijk.y, origin_.y) + W * local(ijk.z, origin_.z))];
    }

private:
    bool isInside(const WideIndex& ijk) const {
        const auto within = [&](std::int64_t v, int origin) {
            return v >= origin && v - origin < std::int64_t{W} * width_;
        };
        return within(ijk.x, origin_.x) && within(ijk.y, origin_.y) && within(ijk.z, origin_.z);
    }

    void find(const WideIndex& ijk) {
        const auto found = channel_.tree()->find(ijk, Shape::kFinestDepth, cursor_);
        const auto view = channel_.tileData(found.treeIndex());
        values_ = view ? view.data() : nullptr;
        // Space without a tile of its own, as a child cell of a refined tile is, is not remembered.
        known_ = static_cast<bool>(view);
        if (known_) {
            origin_ = found.tijk();
            width_ = Shape::voxelWidth(found.depth());
        }
    }

    const Plain& channel_;
    typename TileTree<Shape>::Cursor cursor_;
    const T* values_ = nullptr;
    KDX::TileTree3D::int3 origin_{};
    int width_ = 1;
    bool known_ = false;
};

/// Where a point lies on one axis of a lattice: between samples n and n + 1, at fraction f.
struct LatticePoint {
    std::int64_t n;
    double f;
};

/// The place among samples `width` apart, the first at `offset` of a width, of a point that is
/// given in half index units.
inline LatticePoint latticePoint(std::int64_t halves, std::int64_t width, bool centred) {
    const std::int64_t fromFirst = halves - (centred ? width : 0);
    const std::int64_t n = KDX::TileTree3D::floorDiv(fromFirst, 2 * width);
    return {n, static_cast<double>(fromFirst - 2 * width * n) / static_cast<double>(2 * width)};
}

/// Which axes have their samples in the middle of a voxel.
inline std::array<bool, 3> centredAxes(KDX::TileTree3D::VoxelOffsetType type) {
    const auto offset = KDX::TileTree3D::voxelOffset(type);
    return {offset.x != 0, offset.y != 0, offset.z != 0};
}

/// The field at a point, given in half index units.
template <class Shape, class T>
Vantor::Math::Components<T> fieldAt(FineVoxels<Shape, T>& voxels,
                                    const std::array<bool, 3>& centred,
                                    const std::array<std::int64_t, 3>& halves) {
    std::array<LatticePoint, 3> at{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        at[axis] = latticePoint(halves[axis], 1, centred[axis]);
    std::array<double, Vantor::Math::kComponentCount<T>> sum{};
    for (int corner = 0; corner < 8; ++corner) {
        double weight = 1;
        std::array<std::int64_t, 3> ijk{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const bool upper = (corner >> axis & 1) != 0;
            ijk[axis] = at[axis].n + upper;
            weight *= upper ? at[axis].f : 1 - at[axis].f;
        }
        if (weight == 0)
            continue;
        const auto value = Vantor::Math::toComponents(voxels.value({ijk[0], ijk[1], ijk[2]}));
        for (std::size_t c = 0; c < sum.size(); ++c)
            sum[c] += weight * double{value[c]};
    }
    Vantor::Math::Components<T> result{};
    for (std::size_t c = 0; c < sum.size(); ++c)
        result[c] = static_cast<Vantor::Math::ScalarOf<T>>(sum[c]);
    return result;
}

} // namespace Stratum::io
