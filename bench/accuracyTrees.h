// Trees with changes of depth.
#pragma once

#include "accuracyVolume.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Stratum::Accuracy {

/// Where a tree changes depth by `jump` at once: beyond `origin` on the first `axes` axes (1: a
/// face, 2: an edge, 3: a corner) voxels are `fine` wide, and `coarse` wide elsewhere. All lengths
/// are in index units.
template <class Traits>
struct Border {
    Border(int jumpOfDepths, int axisCount)
        : jump(jumpOfDepths), axes(axisCount), coarseDepth(Traits::kFinestDepth - jump),
          coarse(Traits::voxelWidth(coarseDepth)),
          tile(Traits::tileExtent(coarseDepth)), origin{tile, -2 * tile, 3 * tile} {}

    std::string name() const { return axes == 1 ? "face" : axes == 2 ? "edge" : "corner"; }

    int jump, axes, coarseDepth, coarse, tile, fine = 1;
    std::array<int, 3> origin;
};

/// The tree of a border: finest tiles three deep along it and 1.6 coarse voxels to either side.
/// Further away in the fine part depths are in between.
template <class Traits>
Tree<Traits> borderTree(const Border<Traits>& border, VoxelOffsetType type) {
    const auto isFine = [=](const std::array<int, 3>& tijk, int extent) {
        const int side = border.coarse * 8 / 5,
                  layer = 3 * Traits::tileExtent(Traits::kFinestDepth);
        int beyond = border.tile;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const int from = tijk[axis] - border.origin[axis];
            if (from > side || from + extent < -side)
                return false;
            if (static_cast<int>(axis) < border.axes) {
                if (from < 0)
                    return false;
                beyond = std::min(beyond, from);
            }
        }
        return beyond < layer;
    };
    const auto corner = [&](int tiles) {
        return int3{border.origin[0] + tiles * border.tile, border.origin[1] + tiles * border.tile,
                    border.origin[2] + tiles * border.tile};
    };
    TreeBuilder<Traits> builder;
    builder.addRefined({corner(-3), corner(3)}, [=](const int3& tijk, int depth) {
        const bool refine = depth < border.coarseDepth ||
                            (depth < Traits::kFinestDepth &&
                             isFine({tijk.x, tijk.y, tijk.z}, Traits::tileExtent(depth)));
        return typename TreeBuilder<Traits>::Wish{!refine, refine};
    });
    return builder.build(1, type);
}

/// A cube about the origin whose tiles are refined by a rule, `levels` depths at most below its
/// coarsest ones.
template <class Traits>
struct RefinedCube {
    static constexpr bool two = Traits::kChildrenPerAxis == 2;
    static constexpr int levels = two ? 3 : 2;
    static constexpr int coarsestDepth = Traits::kFinestDepth - levels;
    static constexpr int coarse = Traits::voxelWidth(coarsestDepth);
    static constexpr int reach = two ? 96 : 250;
    /// Positions within do not see the cube's outside.
    static constexpr double inner = reach - 3 * coarse;

    /// `wants(centre, extent, tijk, depth)` tells whether a tile is refined.
    template <class Wants>
    static Tree<Traits> tree(VoxelOffsetType type, const Wants& wants) {
        TreeBuilder<Traits> builder;
        builder.addRefined({{-reach, -reach, -reach}, {reach - 1, reach - 1, reach - 1}},
                           [&](const int3& tijk, int depth) {
                               const bool refine =
                                   depth < coarsestDepth ||
                                   (depth < Traits::kFinestDepth && wants(tijk, depth));
                               return typename TreeBuilder<Traits>::Wish{!refine, refine};
                           });
        return builder.build(1, type);
    }

    /// Ever finer towards a sphere: depths change one at a time.
    static Tree<Traits> sphere(VoxelOffsetType type) {
        return tree(type, [](const int3& tijk, int depth) {
            const double extent = Traits::tileExtent(depth), half = extent / 2;
            const double fromCentre = std::hypot(tijk.x + half, tijk.y + half, tijk.z + half);
            return std::abs(fromCentre - radius) < (two ? 1.25 : 1) * extent;
        });
    }
    static constexpr double radius = two ? 50 : 70;

    /// Tiles refined at random: depths change by up to `levels`.
    static Tree<Traits> random(VoxelOffsetType type) {
        return tree(type, [](const int3& tijk, int depth) {
            const auto place = static_cast<std::uint64_t>(tijk.x + reach) +
                               1024 * (static_cast<std::uint64_t>(tijk.y + reach) +
                                       1024 * static_cast<std::uint64_t>(tijk.z + reach));
            const double chance = two ? 0.5 : depth == coarsestDepth ? 0.5 : 0.06;
            return draw(place, static_cast<std::uint64_t>(depth)) < chance;
        });
    }
};

} // namespace Stratum::Accuracy
